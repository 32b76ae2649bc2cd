"""Tests of the RINEX scripts: small files, whole and broken, written by hand from the published formats."""

import contextlib
import io
import os
import sys
import tempfile
import unittest
import unittest.mock

import compare_recordings
import rinex_check
import rinex_compare


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
]


class Scripts(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def call(self, main, *arguments):
        output = io.StringIO()
        with contextlib.redirect_stdout(output), contextlib.redirect_stderr(output):
            return main(arguments), output.getvalue()

    def write(self, text, name="a.rnx"):
        path = os.path.join(self.folder, name)
        with open(path, "w", encoding="ascii") as stream:
            stream.write(text)
        return path

    def compare(self, a, b, *options):
        return self.call(rinex_compare.main, self.write(a, "a.rnx"), self.write(b, "b.rnx"), *options)

    def test_checker_has_no_findings_in_whole_files(self):
        for text in (OBS3, OBS2):
            code, output = self.call(rinex_check.main, self.write(text))
            self.assertEqual((0, f"{self.folder}/a.rnx: 0 findings; tolerated: none\n"), (code, output))

    def test_checker_finds_each_fault_and_can_tolerate_it(self):
        for text, old, new, name in BROKEN:
            with self.subTest(name=name, old=old, new=new):
                self.assertIn(old, text)
                path = self.write(text.replace(old, new, 1))
                code, output = self.call(rinex_check.main, path)
                self.assertEqual(code, 1)
                self.assertRegex(output, rf"(?m)^{path}:\d+: {name}: ")
                self.assertNotIn(f": {name}: ", self.call(rinex_check.main, "--allow", f"x,{name}", path)[1])

    def test_equal_files_are_equal(self):
        for text, figures in ((OBS3, r"G +C1C +3 +3 "), (OBS2, r"G +P2 +13 +13 ")):
            code, output = self.compare(text, text, "--lli")
            self.assertEqual(code, 0)
            self.assertRegex(output, figures)

    def test_differences_decide_the_exit_code(self):
        digit = ("20000000.125", "20000000.126")
        cases = [(digit, 1), (digit, 0, "--pseudorange-tol", "0.001"), (digit, 1, "--phase-tol", "0.001"),
                 (digit, 0, "--systems", "R"), (("R01", "R02"), 1), (("38.000", "      "), 1),
                 (("45 59.0", "45 59.5"), 1), (("45 59.0", "45 58.0"), 1), (("10 46  0.0", "10 45 60.0"), 0),
                 ((".25017", ".25007"), 0), ((".25017", ".25007"), 1, "--lli"), ((".25017", ".25057"), 0, "--lli"),
                 (("0.000", "     "), 0), (("20000002.125", "2000 002.125"), 2), (("\nR01", "\nG05"), 2)]
        for (old, new), wanted, *options in cases:
            with self.subTest(old=old, new=new, options=options):
                place = OBS3.index(old, OBS3.index("END OF HEADER"))
                code, output = self.compare(OBS3, OBS3[:place] + new + OBS3[place + len(old):], *options)
                self.assertEqual(code, wanted, output)
        other = OBS2.replace("77.000", "77.001")
        self.assertEqual(self.compare(OBS2, other)[0], 1)
        self.assertEqual(self.compare(OBS2, other, "--pseudorange-tol", "0.001")[0], 0, "P codes are pseudoranges")
        self.assertEqual(self.call(rinex_compare.main, self.folder + "/none", self.write(OBS3))[0], 2)

    def test_types_that_a_cannot_carry_are_no_mismatch_but_nothing_in_common_is(self):
        fewer = OBS3.replace("R    4 C1C L1C D1C S1C", "R    3 C1C L1C D1C    ").replace("38.000", "")
        self.assertEqual(self.compare(fewer, OBS3, "--systems", "R")[0], 0)
        self.assertEqual(self.compare(OBS3, fewer, "--systems", "R")[0], 1)
        self.assertEqual(self.compare(OBS3, OBS3, "--systems", "E")[0], 1)

    def test_what_a_may_have_alone(self):
        a, b = self.write(OBS3, "a"), self.write(OBS3.replace("38.000", ""), "b")
        for extra, mismatches in ((("R", "S*"), 0), (("*", "S1C"), 0), (("R", "D*"), 1)):
            for ours, theirs, wanted in ((a, b, mismatches), (b, a, 1)):
                report = rinex_compare.compare(rinex_compare.load(ours), rinex_compare.load(theirs),
                                               rinex_compare.Options(extra={extra: "not sent"}))
                self.assertEqual(report.mismatches, wanted, (extra, ours))

    def test_without_recordings_it_is_skipped(self):
        arguments = ["", "--kvx=none", "--workdir=none", f"--recordings={self.folder}"]
        with unittest.mock.patch.object(sys, "argv", arguments):
            self.assertEqual(self.call(lambda _: compare_recordings.main())[0], compare_recordings.SKIPPED)


if __name__ == "__main__":
    unittest.main()
