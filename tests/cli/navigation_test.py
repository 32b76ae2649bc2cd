"""Navigation files of kvx convert: which there are, what is in them, what the summary says.

Usage: navigation_test.py KVX [unittest arguments]
"""

import json
import subprocess
import sys
import tempfile
import unittest
import zlib
from collections import Counter
from pathlib import Path

sys.path.append(str(Path(__file__).parent.parent / "support"))
from navigation_reader import read_navigation  # noqa: E402

KVX = sys.argv.pop(1)
DONE, FAILED, USAGE, DAMAGED = range(4)
HEADER, CRC = 28, 4
ION_UTC, SBAS = 8, 601
EPHEMERIDES = {7, 41, 601, 723, 1047, 1122, 1309, 1336, 1696}
LEAP_SECONDS = 96  # offset in the body of message 8


def kvx(*args):
    return subprocess.run([KVX, *map(str, args)], capture_output=True, text=True, timeout=300, stdin=subprocess.DEVNULL)


def frames(log):
    """(message, frame) of a log without damage."""
    at = 0
    while at < len(log):
        size = HEADER + int.from_bytes(log[at + 8 : at + 10], "little") + CRC
        yield int.from_bytes(log[at + 4 : at + 6], "little"), log[at : at + size]
        at += size


def changed(frame, offset, value):
    """The frame with other bytes in its body and the checksum that goes with them."""
    at = HEADER + offset
    data = frame[:at] + value + frame[at + len(value) : -CRC]
    return data + (zlib.crc32(data, 0xFFFFFFFF) ^ 0xFFFFFFFF).to_bytes(CRC, "little")


class Navigation(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.kept = tempfile.TemporaryDirectory()
        folder = Path(cls.kept.name)
        for name, start in (("first", "2024-03-10 12:00:00"), ("later", "2024-03-10 15:00:00")):
            args = ["--start", start, "--duration", 900, "--rate", 0.1, "--position", "31.2,134,30"]
            assert kvx("simulate", "-o", folder / name, *args).returncode == DONE
        cls.first, cls.later = (folder / "first").read_bytes(), (folder / "later").read_bytes()

    @classmethod
    def tearDownClass(cls):
        cls.kept.cleanup()

    def setUp(self):
        self.scratch = tempfile.TemporaryDirectory()
        self.runs = 0

    def tearDown(self):
        self.scratch.cleanup()

    def convert(self, log, *options):
        """Converts; the navigation files by the two letters that end their names, and the summary."""
        self.runs += 1
        out = Path(self.scratch.name) / str(self.runs)
        path = Path(self.scratch.name) / "site.log"
        path.write_bytes(log)
        result = kvx("convert", path, "-o", out, "--json", *options)
        summary = json.loads(result.stdout)
        self.assertEqual(DAMAGED if "epochs_out_of_order" in summary else DONE, result.returncode, result.stderr)
        self.assertEqual(sorted(summary["files"]), sorted(str(p) for p in out.iterdir()))
        files = {p.name[-6:-4]: p for p in out.iterdir() if not p.name.endswith("_MO.rnx")}
        return files, summary

    def records(self, log, *options):
        files, summary = self.convert(log, *options)
        records = read_navigation(files["MN"]).records
        self.assertEqual(summary["navigation"]["written"], len(records))
        return records

    def test_files_of_every_version(self):
        names = {"split": ["CN", "EN", "GN", "JN", "RN"], "mixed": ["MN"], "none": []}
        for version in ("3.02", "3.03", "3.04"):
            for kind, wanted in names.items():
                files, summary = self.convert(self.first, "--rinex", version, "--nav", kind)
                self.assertEqual(wanted, sorted(files))
                self.assertEqual(kind != "none", "navigation" in summary)
                for end, path in files.items():
                    file = read_navigation(path)
                    letters = {record.satellite[0] for record in file.records}
                    self.assertEqual(set("GRECJS") if end == "MN" else {end[0]}, letters)
                    self.assertEqual(round(float(version) * 100), file.version)
        self.assertEqual(["MN"], sorted(self.convert(self.first)[0]))
        files, _ = self.convert(self.first, "--rinex", "2.11")
        self.assertEqual(["CN", "GN", "JN", "RN"], sorted(files))
        for end, path in files.items():
            self.assertEqual(211, read_navigation(path, end[0], 4 if end == "JN" else 3).version)
        result = kvx("convert", "x.log", "--rinex", "2.11", "--nav", "mixed")
        self.assertEqual(USAGE, result.returncode)
        self.assertIn("no mixed navigation files", result.stderr)

    def test_names_follow_the_convention(self):
        files, _ = self.convert(self.first, "--marker", "KANA", "--nav", "split")
        self.assertEqual("KANA00XXX_R_20240701200_15M_GN.rnx", files["GN"].name)
        files, _ = self.convert(self.first, "--name", "survey")
        self.assertEqual("survey_MN.rnx", files["MN"].name)

    def test_each_ephemeris_is_written_once(self):
        sent = Counter(message for message, _ in frames(self.first))
        count = sum(sent[message] for message in EPHEMERIDES)
        once = self.records(self.first)
        self.assertLess(len(once), count)
        self.assertEqual(count, len(self.records(self.first, "--nav-repeats")))
        # The sets of the first part come back after those of the later one.
        both = self.records(self.first + self.later)
        self.assertEqual([str(r[1:]) for r in both], [str(r[1:]) for r in self.records(self.first + self.later + self.first)])
        self.assertGreater(len(both), len(once))
        self.assertEqual([str(r[1:]) for r in once], [str(r[1:]) for r in both[: len(once)]])
        self.assertEqual(len(both), len({str(r[1:]) for r in both}))

    def test_the_summary_counts_new_ephemerides_as_info_does(self):
        path = Path(self.scratch.name) / "site.log"
        _, summary = self.convert(self.first)
        info = json.loads(kvx("info", path, "--json").stdout)
        self.assertEqual(info["messages"], summary["messages"])

    def test_systems(self):
        records = self.records(self.first, "--systems", "GRS")
        self.assertEqual(set("GRS"), {record.satellite[0] for record in records})

    def test_a_log_without_ephemerides(self):
        log = b"".join(frame for message, frame in frames(self.first) if message not in EPHEMERIDES)
        files, summary = self.convert(log)
        self.assertEqual({}, files)
        self.assertEqual({"ephemerides": 0, "written": 0}, summary["navigation"])
        out = kvx("convert", Path(self.scratch.name) / "site.log", "-o", self.scratch.name)
        self.assertIn("no ephemerides in the log, no navigation file", out.stdout)
        files, _ = self.convert(self.first, "--systems", "GC", "--rinex", "2.11", "--nav", "split")
        self.assertEqual(["CN", "GN"], sorted(files))

    def test_an_sbas_message_without_a_satellite_writes_nothing(self):
        # Its satellite number is that of QZSS J07, which the log has, too.
        log = b"".join(changed(frame, 0, b"\0") if message == SBAS else frame for message, frame in frames(self.first))
        for options in ([], ["--nav-repeats"]):
            wanted = [str(r[1:]) for r in self.records(self.first, *options) if r.satellite[0] != "S"]
            self.assertEqual(wanted, [str(r[1:]) for r in self.records(log, *options)])
            self.assertTrue(any("J07" in text for text in wanted))

    def test_headers_have_what_the_log_has_told(self):
        log = b"".join(changed(frame, LEAP_SECONDS, b"\x10\0") if message == ION_UTC else frame
                       for message, frame in frames(self.first))
        for options in (["--nav", "mixed"], ["--nav", "split"], ["--rinex", "2.11"]):
            for end, path in self.convert(log, *options)[0].items():
                lines = path.read_text().split("END OF HEADER")[0].split("\n")
                labels = [line[60:].strip() for line in lines if line.strip()]
                self.assertEqual(end in ("GN", "MN"), any("ION" in label.split()[0] for label in labels[1:]), labels)
                for line in lines:
                    if line[60:].startswith("LEAP"):
                        self.assertEqual("    16", line[:60].rstrip())
                    if line[60:].startswith("ION ALPHA"):
                        self.assertEqual("  ", line[:2])
                        self.assertRegex(line[2:14], r" 0\.\d{4}E[+-]\d\d")

    def test_plain_headers_are_the_librarys(self):
        files, _ = self.convert(self.first, "--plain-header", "--nav", "split")
        lines = files["GN"].read_text().split("\n")
        self.assertTrue(lines[1].startswith("KORVEX "))
        self.assertEqual(58, lines[4].find("END OF HEADER"))
        self.assertEqual("     18", files["RN"].read_text().split("\n")[2][:60].rstrip())


if __name__ == "__main__":
    unittest.main()
