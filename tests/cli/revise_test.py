"""`kvx convert` of RINEX files: laws that hold between what goes in and what comes out, on the files of a simulated log and on recordings."""

import collections
import gzip
import json
import os
import pathlib
import re
import subprocess
import tempfile
import unittest

KVX = os.environ["KVX"].split()
RECORDINGS = os.environ.get("RTK_UTILS_RECORDINGS", "")
DONE, FAILED, USAGE, DAMAGED = 0, 1, 2, 3
VERSIONS = ("2.11", "3.04", "3.05", "4.02")


def kvx(*args, code=DONE):
    run = subprocess.run([*KVX, *map(str, args)], capture_output=True, text=True, timeout=300)
    assert run.returncode == code, (args, run.returncode, run.stdout, run.stderr)
    return run


def text_of(path):
    data = path.read_bytes()
    return (gzip.decompress(data) if path.suffix == ".gz" else data).decode("latin-1")


def lines_of(path, *without):
    """All but who made the file, when, and from what."""
    return [line.rstrip() for line in text_of(path).splitlines()
            if not any(line[60:].startswith(label) for label in ("PGM / RUN", "COMMENT", *without))]


def halves(path):
    """Header and data."""
    head, end, body = re.split(r"(END OF HEADER *\n)", text_of(path), maxsplit=1)
    return head + end, body


def fields(path):
    """Values of an observation file of version 3 or 4, as text: (epoch, satellite, type) -> 16 columns."""
    head, body = halves(path)
    types = collections.defaultdict(list)
    for line in head.splitlines():
        if line[60:].startswith("SYS / # / OBS"):
            system = line[0] if line[0] != " " else system
            types[system] += line[6:60].split()
    values, epoch, event = {}, None, 0
    for line in body.splitlines():
        if line[0] == ">":
            epoch, event = line[2:29], int(line[32:35]) if line[31] in "2345" else 0
        elif event > 0:
            event -= 1
        else:
            for i, name in enumerate(types[line[0]]):
                field = line[3 + 16 * i:19 + 16 * i].ljust(16)
                if field.strip():
                    values[epoch, line[:3], name] = field
    assert values, path
    return values


class Revise(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.top = pathlib.Path(folder.name)
        cls.log = cls.top / "sky.log"
        kvx("simulate", "-o", cls.log, "--duration", 5400, "--rate", 0.2, "--every-signal", "--start", "2024-03-10 11:30:00")
        cls.files = {}
        for version in VERSIONS:
            kvx("convert", cls.log, "-o", cls.top / version, "--rinex", version, "--marker", "BASE", "--country", "DNK")
            cls.files[version] = sorted((cls.top / version).iterdir())
        cls.observations, = cls.top.glob("3.05/*_MO.rnx")
        cls.navigation, = cls.top.glob("3.05/*_MN.rnx")

    def setUp(self):
        self.dir = self.top / self.id().rpartition(".")[2]
        self.count = 0

    def convert(self, *args, code=DONE, clean=True):
        """@return files, without a fault that `kvx check` would find, and the summary"""
        self.count += 1
        folder = self.dir / str(self.count)
        run = kvx("convert", *args, "-o", folder, "--json", code=code)
        files = sorted(folder.iterdir()) if folder.exists() else []
        if clean and files:
            kvx("check", "--strict", *files)
        return files, json.loads(run.stdout) if run.stdout else run.stderr

    def test_a_file_of_which_nothing_is_asked_stays(self):
        inputs = [path for files in self.files.values() for path in files]
        if RECORDINGS:
            inputs += [p for p in pathlib.Path(RECORDINGS).glob("*/*.2[01][OPq]")]
        for path in inputs:
            (file,), told = self.convert(path, clean=path.is_relative_to(self.top))
            was, now = (text_of(p).splitlines() for p in (path, file))
            maker = next(i for i, line in enumerate(was) if "PGM / RUN BY" in line)
            self.assertEqual(now.pop(maker + 1), was[maker][:60] + "COMMENT")
            self.assertEqual(now.pop(maker)[60:], was.pop(maker)[60:].rstrip())
            self.assertEqual(now, was, path)
            if path.name.endswith("rnx"):
                self.assertEqual(file.name, path.name)

    def test_parts_join_to_the_whole(self):
        for unit, names in (("15m", "15M"), ("1h", "01H"), ("1d", "01D")):
            parts, told = self.convert(self.observations, self.navigation, "--join", "--split", unit, "--gz")
            self.assertTrue(all(f"_{names}_" in part.name for part in parts), parts)
            joined, told = self.convert(*reversed(parts), "--join", "--interval", 5)
            for file, whole in zip(joined, (self.observations, self.navigation)):
                self.assertTrue(lines_of(file) == lines_of(whole), (unit, file))
        parts, _ = self.convert(self.files["4.02"][0], self.files["4.02"][1], "--split", "1h", "--join")
        offsets = [("> STO G" in text_of(p), "> EPH" in text_of(p)) for p in parts if "_MN" in p.name]
        self.assertEqual(set(offsets[offsets.index((True, True)):]), {(True, True)})   # each part has the latest
        late, _ = self.convert(self.observations, "--start", "2024-03-10 12:00:00")
        early, _ = self.convert(self.observations, "--end", "2024-03-10 12:10:00", "--systems", "GR")
        (file,), told = self.convert(*early, *late, "--join")
        self.assertEqual((told["observations"]["left_out"]["overlaps"], told["observations"]["epochs"]), (121, 1080))
        twice, _ = self.convert(*late, self.observations, "--join")
        self.assertEqual(lines_of(twice[0]), lines_of(self.observations))
        values = fields(self.observations)
        self.assertEqual(fields(file), {k: v for k, v in values.items() if k[1][0] in "GR" or k[0] >= "2024 03 10 12 00"})
        head, body = halves(self.observations)
        shifted = self.top / "shifted.rnx"   # corrections of phases that only one part has
        shifted.write_text(re.sub(r"(?m)^([GE] L..) {9}(?=.*PHASE SHIFT)", r"\1  0.25000", head) + body)
        parts = [self.convert(shifted, *asked)[0][0] for asked in
                 (("--systems", "RC", "--end", "2024-03-10 12:00:00"), ("--systems", "GE", "--start", "2024-03-10 12:01:00"))]
        told = [line for line in halves(self.convert(*parts, "--join")[0][0])[0].splitlines() if "PHASE SHIFT" in line]
        self.assertEqual(sorted(told), sorted(line for part in parts for line in halves(part)[0].splitlines() if "PHASE SHIFT" in line))
        self.assertTrue(any("0.25000" in line for line in told))
        early, _ = self.convert(self.observations, "--end", "2024-03-10 11:50:00")
        gaps = self.convert(*early, *late, "--join")[1]["observations"]["gaps"]
        self.assertEqual(gaps, {"count": 1, "longest": 600.0, "longest_from": "2024-03-10 11:50:00.00"})

    def test_a_selection_is_that_of_the_log(self):
        for asked in (("--interval", 30), ("--interval", 60, "--anchor", "first"), ("--signals", "1C,2W,E5Q"),
                      ("--systems", "GE"), ("--satellites", "G*,C1*"), ("--rinex", "4.02"), ("--rinex", "2.11"),
                      ("--rinex", "2.11", "--interval", 30), ("--rinex", "3.04", "--crx", "--gz")):
            (file,), _ = self.convert(self.observations, *asked)
            (own,), _ = self.convert(self.log, "--marker", "BASE", "--country", "DNK", "--nav", "none", *asked)
            loose = ("GLONASS", "WAVELENGTH", "CRINEX")   # what a header need not have, or has elsewhere
            self.assertEqual((file.name, lines_of(file, *loose)), (own.name, lines_of(own, *loose)), asked)
        window = ("--start", "2024-03-10 12:00:00", "--end", "2024-03-10 12:30:00")
        (file,), told = self.convert(self.observations, *window)
        (own,), _ = self.convert(self.log, "--marker", "BASE", "--nav", "none", *window)
        self.assertEqual({k: v[:14] for k, v in fields(file).items()}, {k: v[:14] for k, v in fields(own).items()})
        self.assertEqual(told["observations"]["left_out"]["outside_window"], 360 + 359)

    def test_there_and_back_through_another_version(self):
        values = fields(self.observations)
        for version in ("3.04", "4.02"):
            files, _ = self.convert(self.observations, self.navigation, "--join", "--rinex", version)
            back, _ = self.convert(*files, "--join", "--rinex", "3.05")
            corrections = ("IONOSPHERIC", "TIME SYSTEM") if version == "4.02" else ()
            loose = ("SYS / PHASE", "GLONASS COD", *corrections)
            self.assertTrue(lines_of(back[0], *loose) == lines_of(self.observations, *loose), version)
            flags = re.compile(r"^ {23}.*$|^.{4}[ \d.E+-]{19} \.9{12}E\+09.*$", re.MULTILINE)   # of GLONASS; 3.04 has none
            plain = [flags.sub("", "\n".join(lines_of(f, *loose))) for f in (back[1], self.navigation)]
            self.assertTrue(plain[0] == plain[1], version)
        # what 2.11 tells for certain
        (some,), _ = self.convert(self.observations, "--signals", "G1C,G2W,R1C,R2P,S1C", "--systems", "GRS")
        (old,), told = self.convert(some, "--rinex", "2.11")
        self.assertEqual(told["observations"]["not_carried"]["values"], {})
        glonass = next(p for p in self.files["2.11"] if p.name.endswith("g"))
        files, told = self.convert(old, glonass, "--join", "--rinex", "3.05")
        self.assertEqual(fields(next(f for f in files if "_MO" in f.name)), fields(some))
        self.assertEqual(told["observations"]["types"]["G L2"], "L2W")
        _, told = self.convert(self.observations, "--rinex", "2.11")
        lost = told["observations"]["not_carried"]["values"]
        for name in ("CC2I", "JL1C", "EC1B"):
            self.assertEqual(lost[name], sum(key[1][0] + key[2] == name for key in values), name)

    def test_navigation_of_another_version_is_that_of_the_log(self):
        for old, new in (("3.05", "2.11"), ("4.02", "3.05"), ("3.05", "3.04"), ("3.04", "4.02")):
            source = [p for p in self.files[old] if re.search(r"N\.rnx$", p.name)]
            files, told = self.convert(*source, "--rinex", new)
            own = {p.name[-3:]: p for p in self.files[new] if not p.name.endswith(("o", "MO.rnx"))}
            for file in files:
                if file.name[-3:] in own:
                    body = [lines_of(p)[lines_of(p).index(" " * 60 + "END OF HEADER") + 1:] for p in (file, own[file.name[-3:]])]
                    records = [[l for l in lines if not l.startswith("> ION") or l] for lines in body]
                    same = set(records[0]) <= set(records[1]) | {" " * 25 + ".999999999999E+09 1.500000000000E+01"}
                    self.assertTrue(same, (old, new, list(set(records[0]) - set(records[1]))[:4]))
            expected = {"2.11": {"E INAV", "C D1", "C D2", "J LNAV"}, "3.05": {"G ION LNAV", "G STO LNAV"}}.get(new, set())
            self.assertLessEqual(expected, set(told["navigation"]["not_carried"]["records"]), (old, new))

        glonass, gps, _ = self.files["2.11"]
        files, _ = self.convert(glonass, gps, "--join")
        self.assertEqual([lines_of(p) for p in files], [lines_of(p) for p in (glonass, gps)])
        (file,), _ = self.convert(glonass, gps, "--join", "--rinex", "3.05")
        self.assertIn("GPSA", text_of(file))

    def test_header_lines_that_are_given(self):
        given = {"MARKER NAME": "NEW", "ANTENNA: DELTA X/Y/Z": "0 0 1.5", "LEAP SECONDS": "19", "COMMENT": "hello"}
        (file,), _ = self.convert(self.observations, "--agency", "Office", *(a for k, v in given.items() for a in ("--set", f"{k}={v}")))
        head = {line[60:].rstrip(): line[:60].rstrip() for line in halves(file)[0].splitlines()}
        self.assertEqual((head["MARKER NAME"], head["COMMENT"], head["LEAP SECONDS"]), ("NEW", "hello", "    19"))
        self.assertEqual(head["ANTENNA: DELTA X/Y/Z"], "        0.0000        0.0000        1.5000")
        self.assertEqual(head["OBSERVER / AGENCY"], " " * 20 + "Office")
        for text, says in (("MARKR NAME=X", "did you mean 'MARKER NAME'"), ("INTERVAL=1", "the data decide"), ("END OF HEADER=", "every header"),
                           ("MARKER NUMBER=" + "1" * 21, "20 columns"), ("APPROX POSITION XYZ=here", "is no F14.4"), ("X", "is not like")):
            self.assertIn(says, kvx("convert", self.observations, "--set", text, "-o", self.dir, code=USAGE).stderr)
        _, told = self.convert(self.observations, "--rinex", "3.05", "--set", "ION ALPHA=" + "  " + "  1.0000D-08" * 4, code=FAILED)
        self.assertIn("no label of this RINEX version", told)

    def test_types_that_an_event_changes(self):
        head, body = halves(self.observations)
        epochs = ["> " + e for e in ("\n" + body).split("\n> ")[1:]]
        first = next(l for l in head.splitlines() if l[0] == "S" and "OBS TYPES" in l)[6:10]
        types = ("S    1" + first).ljust(60) + "SYS / # / OBS TYPES"
        antenna = ("        2.5000" + "        0.0000" * 2).ljust(60) + "ANTENNA: DELTA H/E/N"
        change = "> " + " " * 29 + "4  2\n" + types + "\n" + antenna
        cut = [re.sub(r"(?m)^(S..)(.{16}).*$", r"\1\2", e) for e in epochs[600:]]
        changed = self.top / "changed.rnx"
        changed.write_text(head + "\n".join(epochs[:600] + [change] + cut), encoding="latin-1")
        (file,), _ = self.convert(changed, clean=False)
        self.assertEqual(halves(file)[1].rstrip("\n"), halves(changed)[1].rstrip("\n"))
        files, _ = self.convert(changed, "--split", "15m", clean=False)
        self.assertEqual([(types in halves(f)[0], antenna in halves(f)[0]) for f in (files[0], files[-1])], [(False, False), (True, True)])
        for asked in (("--systems", "G"), ("--rinex", "2.11")):
            files, told = self.convert(changed, *asked, code=FAILED)
            self.assertIn("its observation types change at line", told)
            self.assertEqual(files, [])

    def test_what_only_a_version_has(self):
        head = [("     4.02           OBSERVATION DATA    G", "RINEX VERSION / TYPE"), ("x".ljust(40) + "20200101 000000 UTC", "PGM / RUN BY / DATE"),
                ("A", "MARKER NAME"), ("GEODETIC", "MARKER TYPE"), ("", "OBSERVER / AGENCY"), ("", "REC # / TYPE / VERS"), ("", "ANT # / TYPE"),
                ("        1.0000" * 3, "APPROX POSITION XYZ"), ("        1.0000" * 3, "ANTENNA: DELTA H/E/N"), ("G    3 C1C L1C C2W", "SYS / # / OBS TYPES"),
                ("  2020     1     1     0     0    0.0000000     GPS", "TIME OF FIRST OBS"), ("     2", "# OF SATELLITES"),
                ("   G01     2     1     1", "PRN / # OF OBS"), ("   G02     1     0     0", "PRN / # OF OBS"), ("me", "DOI"), ("", "END OF HEADER")]
        file = self.top / "abcd0010.20o"
        file.write_text("".join(text.ljust(60) + label + "\n" for text, label in head) +
                        "> 2020 01 01 00 00  0.0000000  0  2      -0.000123456789 00012\nG01  20000000.123 6 100000000.12316  20000000.123\n"
                        "G02  20000000.123\n> 2020 01 01 00 00  1.0000000  0  2       0.000123456000\nG01    200000.123\nG02\n")
        (old,), told = self.convert(file, "--rinex", "2.11")
        lost = told["observations"]["not_carried"]
        self.assertEqual((lost["picoseconds"], lost["clock_offsets"], lost["values"]), (1, 1, {}))
        self.assertEqual(text_of(old).splitlines()[-6:], [
            " 20  1  1  0  0  0.0000000  0  2G01G02                              -0.000123457", "  20000000.123 6 100000000.12316  20000000.123",
            "  20000000.123", " 20  1  1  0  0  1.0000000  0  2G01G02                               0.000123456", "    200000.123", ""])
        self.assertIn("me".ljust(60) + "COMMENT", text_of(old))
        (file,), _ = self.convert(file, "--satellites", "G02")
        self.assertIn("   G02     1".ljust(60) + "PRN / # OF OBS", text_of(file))
        self.assertEqual(file.name, "A00000XXX_R_20200010000_01M_01S_MO.rnx")

    def test_faults_are_told_and_the_rest_is_kept(self):
        text = text_of(self.observations)
        at = [m.start() for m in re.finditer("\n>", text)]
        damaged = self.top / "damaged.rnx"
        damaged.write_text(text[:at[10] + 1] + "no epoch\n" + text[at[10] + 1:at[19] + 50] + "x" + text[at[19] + 51:at[30] + 300], encoding="latin-1")
        (file,), told = self.convert(damaged, code=DAMAGED)
        self.assertIn(f"damaged.rnx:{text[:at[10]].count(chr(10)) + 2}:", told["faults"]["first"][0])
        self.assertGreaterEqual(told["faults"]["count"], 3)
        whole = fields(self.observations)
        kept = fields(file)
        self.assertLessEqual(set(kept.items()), set(whole.items()))
        before = set(re.findall(r"\n> (.{27})  0", text[:at[30]]))
        self.assertGreaterEqual(len(kept), sum(key[0] in before for key in whole) - 1)   # that of the x
        both, told = self.convert(self.log, damaged, "--join", code=FAILED)
        self.assertEqual((both, "are not joined" in told), ([], True))
        for option in ("--verify", "--xyz", "--follow"):
            self.assertIn("is a RINEX file", self.convert(damaged, option, code=FAILED)[1])


if __name__ == "__main__":
    unittest.main()
