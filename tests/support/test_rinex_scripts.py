"""Tests of the RINEX scripts: small files, whole and broken, written by hand from the published formats."""

import contextlib
import gzip
import io
import json
import os
import subprocess
import sys
import tempfile
import unittest

import compare_recordings
import rinex_check
import rinex_compare
from rinex_reader import RinexError, Value


def header(*records):
    return "".join(f"{text:60}{label:20}\n" for text, label in records)


def fields(*values):
    """Observation fields: a text may bring its loss-of-lock and strength digits behind a '|'."""
    parts = [(value.split("|") + [""])[:2] for value in values]
    return "".join(f"{number:>14}{digits:2}" for number, digits in parts)


COMMON = [("TEST", "MARKER NAME"), ("SOMEBODY            SOMEWHERE", "OBSERVER / AGENCY"),
          ("1                   RECEIVER            1.0", "REC # / TYPE / VERS"),
          ("2                   ANTENNA         NONE", "ANT # / TYPE"),
          ("  3582105.2910   532589.7313  5232754.8054", "APPROX POSITION XYZ"),
          ("        0.0000        0.0000        0.0000", "ANTENNA: DELTA H/E/N"),
          ("     1.000", "INTERVAL"),
          ("  2020     6    25    10    45   58.0000000     GPS", "TIME OF FIRST OBS"),
          ("  2020     6    25    10    46    0.0000000     GPS", "TIME OF LAST OBS"), ("    18", "LEAP SECONDS")]
OBS3 = header(("     3.04           OBSERVATION DATA    M (MIXED)", "RINEX VERSION / TYPE"),
              ("KVX                 US                  20200625 104500 UTC", "PGM / RUN BY / DATE"),
              ("GEODETIC", "MARKER TYPE"), *COMMON,
              ("G   14 C1C L1C D1C S1C C2W L2W D2W S2W C5Q L5Q D5Q S5Q C1L", "SYS / # / OBS TYPES"),
              ("       L1L", "SYS / # / OBS TYPES"), ("R    4 C1C L1C D1C S1C", "SYS / # / OBS TYPES"),
              ("G L1C  0.00000", "SYS / PHASE SHIFT"), ("  1 R01  1", "GLONASS SLOT / FRQ #"),
              (4 * " C1C    0.000", "GLONASS COD/PHS/BIS"), ("", "END OF HEADER")) + (
    "> 2020 06 25 10 45 58.0000000  0  2\n"
    "G05" + fields("20000000.125", "105100000.250|17", "-1234.500", "45.000", "20000001.125") + "\n"
    "R01" + fields("21000000.500", "", "0.000", "38.000") + "\n"
    ">                              4  1\n" + header(("A TRUCK PASSED", "COMMENT")) +
    "> 2020 06 25 10 45 59.0000000  0  1\nG05" + fields("20000002.125", "105100002.250") + "\n"
    "> 2020 06 25 10 46  0.0000000  0  1      -0.123456789012\nG05" + fields("20000003.125", "105100003.250") + "\n")

MANY = [f"G{prn:02}" for prn in range(1, 14)]
OBS2 = header(("     2.11           OBSERVATION DATA    M (MIXED)", "RINEX VERSION / TYPE"),
              ("KVX                 US                  25-JUN-20 10:45", "PGM / RUN BY / DATE"), *COMMON,
              ("     1     1", "WAVELENGTH FACT L1/2"),
              ("    10    C1    L1    D1    S1    C2    L2    D2    S2    C5", "# / TYPES OF OBSERV"),
              ("          P2", "# / TYPES OF OBSERV"), ("", "END OF HEADER")) + (
    " 20 06 25 10 45 58.0000000  0 13" + "".join(MANY[:12]) + "\n" + 32 * " " + MANY[12] + "\n"
    + "".join(fields(f"200000{prn:02}.125", "", "", "40.000") + "\n" + fields("", "", "", "", "77.000") + "\n"
              for prn in range(1, 14))
    + " 20 06 25 10 45 60.0000000  0  1G05\n" + fields("20000003.125", "105100003.250") + "\n\n")
OBS2 = OBS2.replace("     1.000 ", "     2.000 ")

NUMBER = " 0.123456789012D+01"
NAV3 = header(("     3.04           NAVIGATION DATA     M (MIXED)", "RINEX VERSION / TYPE"),
              ("KVX                 US                  20200625 104500 UTC", "PGM / RUN BY / DATE"),
              ("GPSA    .1118D-07   .7451D-08  -.5960D-07  -.5960D-07", "IONOSPHERIC CORR"),
              ("GAUT -9.3132257462E-10 0.000000000E+00 345600 2111", "TIME SYSTEM CORR"), ("", "END OF HEADER")) + (
    "R01 2020 06 25 10 45 00" + 3 * NUMBER + "\n" + 3 * ("    " + 4 * NUMBER + "\n")
    + "C05 2020 06 25 10 45 00" + 3 * NUMBER + "\n" + 6 * ("    " + 4 * NUMBER + "\n") + "    " + 2 * NUMBER + "\n")
NAV2 = header(("     2.11           N: GPS NAV DATA", "RINEX VERSION / TYPE"),
              ("KVX                 US                  25-JUN-20 10:45", "PGM / RUN BY / DATE"),
              ("     .1118D-07   .7451D-08  -.5960D-07  -.5960D-07", "ION ALPHA"), ("", "END OF HEADER")) + (
    " 5 20 06 25 10 45  0.0" + 3 * NUMBER + "\n" + 7 * ("   " + 4 * NUMBER + "\n"))

# file, what to replace (first occurrence) by what, the finding that must come
BROKEN = [
    (OBS3, "     3.04", "     4.00", "version"), (OBS3, "END OF HEADER", "END OF HEADEr", "no-end-of-header"),
    (OBS3, "MARKER NAME", "MARKER NAMS", "label"), (OBS3, "20200625 104500 UTC", "2020-06-25 10:45", "pgm-date"),
    (OBS3, f"{'GEODETIC':60}MARKER TYPE         \n", "", "missing-marker-type"),
    (OBS3, "GLONASS COD/PHS/BIS ", "COMMENT             ", "missing-glonass-cod-phs-bis"),
    (OBS3, "GLONASS SLOT / FRQ #", "COMMENT             ", "missing-glonass-slot-frq"),
    (OBS3, "LEAP SECONDS        ", "LEAP SECONDS", "short-line"),
    (OBS3, "END OF HEADER", "END OF HEADER  ", "line-length"), (OBS3, "    18", "     18", "format-leap-seconds"),
    (OBS3, f"{'':60}END OF HEADER", f"{'':58}END OF HEADER", "label-column"),
    (OBS3, "  3582105.2910", " 3582105.2910 ", "format-approx-position-xyz"), (OBS3, "G   14", "G   13", "type-count"),
    (OBS3, "C2W", "C7W", "obs-code"), (OBS3, "C2W", "C1C", "type-twice"),
    (OBS3, "> 2020 06", "> 2020  6", "epoch-format"),
    (OBS3, "10 45 58.0000000  0  2", "10 45 58.0000000  0  3", "satellite-count"),
    (OBS3, "10 45 58.0000000  0  2", "10 45 58.0000000  0  1", "epoch-line"),
    (OBS3, "10 45 58.0000000  0  2", "10 45 58.0000000  7  2", "epoch-flag"),
    (OBS3, "> 2020 06 25 10 45 59", "> 2020 06 25 10 45 58", "epoch-order"),
    (OBS3, "25 10 46", "31 10 46", "epoch-time"),
    (OBS3, "45   58.0", "45   57.0", "time-of-first-obs"), (OBS3, "46    0.0", "47    0.0", "time-of-last-obs"),
    (OBS3, "     1.000", "     0.400", "interval"), (OBS3, "\nR01", "\nG05", "satellite-twice"),
    (OBS3, "\nR01", "\nR25", "satellite-id"), (OBS3, "\nG05", "\nG 5", "satellite-id"),
    (OBS3, "M (MIXED)", "G (GPS)  ", "satellite-system"), (OBS3, " 20000000.125 ", " 20000000.12  ", "value-format"),
    (OBS3, ".25017", ".25087", "value-digits"), (OBS3, "38.000", "38.000" + 12 * " " + "1.000", "value-count"),
    (OBS3, "COMMENT", "REMARK ", "label"), (OBS3, ">" + 30 * " " + "4", ">" + 30 * " " + "3", "event-site"),
    (OBS3, ">" + 30 * " " + "4", ">" + 30 * " " + "5", "event-time"),
    (OBS3, "G05" + fields("20000003.125", "105100003.250") + "\n", "", "truncated"),
    (OBS2, "    D1    S1", "    D1    X1", "obs-code"), (OBS2, "    D1    S1", "   D1     S1", "format-obs-types"),
    (OBS2, "G02", "C02", "satellite-system"), (OBS2, "  0 13G01", "  0 12G01", "epoch-line"),
    (OBS2, "WAVELENGTH FACT L1/2", "COMMENT             ", "missing-wavelength-fact-l1-2"),
    (OBS2, fields("", "", "", "", "77.000"), fields("", "", "", "", "77.000") + " 1", "line-length"),
    (NAV3, "GPSA", "BD2A", "correction-type"), (NAV3, " 2111", "2111 ", "format-time-system-corr"),
    (NAV3, "R01", "R25", "satellite-id"), (NAV3, "C05", "X05", "satellite-system"),
    (NAV3, "C05", "R05", "record-lines"),
    (NAV3, "10 45 00", "10 60 00", "navigation-epoch"), (NAV3, NUMBER, NUMBER + "0", "navigation-field"),
    (NAV3, 4 * NUMBER, 3 * NUMBER, "navigation-field"), (NAV3, 4 * NUMBER, 4 * NUMBER + " 1", "line-length"),
    (NAV2, "  0.0", " 60.0", "navigation-epoch"), (NAV2, "   " + 4 * NUMBER + "\n", "", "record-lines"),
    (NAV2, "   " + 4 * NUMBER, "    " + 4 * NUMBER, "navigation-field"), (NAV2, "N: GPS", "X: GPS", "kind"),
    (NAV2, "GPS NAV DATA", "GPS NAV DATA ", "label-column"),
]


class Files(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def write(self, text, name="a.rnx"):
        path = os.path.join(self.folder, name)
        with gzip.open(path, "wt") if name.endswith(".gz") else open(path, "w", encoding="ascii") as stream:
            stream.write(text)
        return path

    def call(self, main, *arguments):
        output = io.StringIO()
        with contextlib.redirect_stdout(output), contextlib.redirect_stderr(output):
            code = main(arguments)
        return code, output.getvalue()


class Checker(Files):
    def test_whole_files_have_no_findings(self):
        paths = [self.write(text, f"{i}.rnx") for i, text in enumerate((OBS3, OBS2, NAV3, NAV2))]
        self.assertEqual(self.call(rinex_check.main, *paths),
                         (0, "4 files, 0 findings; tolerated: none\n"))

    def test_each_fault_is_found_and_can_be_tolerated(self):
        for text, old, new, name in BROKEN:
            with self.subTest(name=name, old=old, new=new):
                self.assertIn(old, text)
                path = self.write(text.replace(old, new, 1))
                code, output = self.call(rinex_check.main, path)
                self.assertEqual(code, 1)
                self.assertRegex(output, rf"(?m)^{path}:\d+: {name}: ")
                self.assertNotIn(f": {name}: ", self.call(rinex_check.main, "--allow", f"x,{name}", path)[1])


class Compare(Files):
    def compare(self, a, b, *options):
        return self.call(rinex_compare.main, self.write(a, "a.rnx"), self.write(b, "b.rnx.gz"), *options)

    def test_equal_files_are_equal(self):
        for text in (OBS3, OBS2):
            code, output = self.compare(text, text, "--json", "--lli")
            self.assertEqual(code, 0, output)
        self.assertEqual(json.loads(output)["epochs"], {"a": 2, "b": 2, "both": 2})
        self.assertEqual(sum(row["equal"] for row in json.loads(output)["rows"]), 13 * 3 + 2)

    def test_differences_decide_the_exit_code(self):
        digit = ("20000000.125", "20000000.126")
        cases = [(digit, 1), (digit, 0, "--pseudorange-tol", "0.001"), (digit, 1, "--phase-tol", "0.001"),
                 (digit, 0, "--systems", "R"), (("R01", "R02"), 1), (("38.000", "      "), 1),
                 (("38.000", "      "), 1, "--ignore-missing", "R:S1C=not sent"),
                 (("38.000", "      "), 0, "--ignore-extra", "R:S*=not sent"), (("45 59.0", "45 59.5"), 1),
                 ((".25017", ".25007"), 0), ((".25017", ".25007"), 1, "--lli"), ((".25017", ".25057"), 0, "--lli"),
                 (("45 59.0", "45 58.0"), 1), (("10 46  0.0", "10 45 60.0"), 0), (("0.000", "     "), 0)]
        for (old, new), wanted, *options in cases:
            with self.subTest(old=old, new=new, options=options):
                place = OBS3.index(old, OBS3.index("END OF HEADER"))
                code, output = self.compare(OBS3, OBS3[:place] + new + OBS3[place + len(old):], *options)
                self.assertEqual(code, wanted, output)

    def test_pseudorange_tolerance_holds_for_p_codes(self):
        other = OBS2.replace("77.000", "77.001")
        self.assertEqual(self.compare(OBS2, other)[0], 1)
        self.assertEqual(self.compare(OBS2, other, "--pseudorange-tol", "0.001")[0], 0)

    def test_types_that_a_cannot_carry_are_no_mismatch_but_nothing_in_common_is(self):
        fewer = OBS3.replace("R    4 C1C L1C D1C S1C", "R    3 C1C L1C D1C    ").replace("38.000", "")
        self.assertEqual(self.compare(fewer, OBS3, "--systems", "R")[0], 0)
        self.assertEqual(self.compare(OBS3, fewer, "--systems", "R")[0], 1)
        self.assertEqual(self.compare(OBS3, OBS3, "--systems", "E")[0], 1)

    def test_codes_can_be_mapped_between_versions(self):
        two = header(("     2.11           OBSERVATION DATA    M", "RINEX VERSION / TYPE"),
                     ("     2    C1    L1", "# / TYPES OF OBSERV"), ("", "END OF HEADER")) + (
            " 20 06 25 10 45 59.0000000  0  1G 5\n" + fields("20000002.125", "105100002.250") + "\n")
        first, second, third = (OBS3.index(f"> 2020 06 25 10 {at}") for at in ("45 58", "45 59", "46"))
        three = OBS3[:first] + OBS3[second:third]
        self.assertEqual(self.compare(two, three, "--map", self.write("G:C1=C1C,L1=L1C # codes", "map"))[0], 0)
        self.assertEqual(self.compare(two, three, "--map", "G:C1=C1C")[0], 1)

    def test_what_is_no_number_or_no_file_is_an_error(self):
        self.assertEqual(self.compare(OBS3, OBS3.replace("20000002.125", "2000 002.125"))[0], 2)
        self.assertEqual(self.call(rinex_compare.main, self.folder + "/none", self.write(OBS3))[0], 2)


class Recordings(Files):
    def expected(self, name, values, unknown=(), version="3.04"):
        found = {code: Value(text, " ", " ") for code, text in values.items()}
        result = compare_recordings.expected_satellite(
            name, found, version, compare_recordings.RECORDINGS["japan_1hz"], unknown, self.lost)
        return {code: value.text for code, value in result.items()}

    def test_columns_of_source_values(self):
        self.lost = compare_recordings.Counter()
        self.assertEqual(self.expected("G01", {"C2L": "2.000", "C2W": "1.000", "L2W": "9.000"}), {"C2W": "2.000"})
        self.assertEqual(self.expected("C30", {"C7I": "1.000", "L7I": "3.000"}, ["7I"]), {"C5D": "1.000"})
        self.assertEqual(self.expected("S23", {"C5I": "1.000"}), {})
        self.assertEqual(self.expected("R01", {"C2P": "1.000", "L2P": "2.000", "C1C": "3.000"}, version="2.11"),
                         {"P2": "1.000", "L2": "2.000"})
        self.assertEqual(self.lost, {"2.11": 1, "shared": 2, "parity": 1, ("S", "5I"): 1})
        with self.assertRaisesRegex(RinexError, "no-column"):
            self.expected("E01", {"C1X": "1.000"})
        strengths = [compare_recordings.strength(text, rule)[:2] for text, rule in (
            ("45.9", "truncated"), ("44.5", "held"), ("45.5", "held"), ("12.0", "held"), ("56.25", "held"))]
        self.assertEqual(strengths, ["45", "44", "46", "20", "51"])

    def test_without_recordings_it_is_skipped(self):
        script = os.path.join(os.path.dirname(os.path.abspath(__file__)), "compare_recordings.py")
        result = subprocess.run([sys.executable, "-B", script, "--kvx", "none", "--recordings", self.folder],
                                capture_output=True, check=False)
        self.assertEqual(result.returncode, compare_recordings.SKIPPED)


if __name__ == "__main__":
    unittest.main()
