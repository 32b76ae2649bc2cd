"""Runs of kvx as a user makes them: what is written, what is said, and the exit codes."""

import gzip
import json
import os
import pathlib
import re
import resource
import signal
import subprocess
import tempfile
import unittest

KVX = os.environ["KVX"]
# Logs that are converted at once are forked processes, which spin under qemu-user.
forks = unittest.skipIf(os.environ.get("KVX_EMULATED"), "forked processes spin under qemu-user")
HOST = os.environ["EXAMPLE"]
EXAMPLE = pathlib.Path(__file__).parents[2] / "examples" / "convert_log.cpp"
README = pathlib.Path(__file__).parents[2] / "README.md"
CHECK = pathlib.Path(__file__).parent.parent / "support" / "rinex_check.py"

DONE, FAILED, USAGE, DAMAGED = 0, 1, 2, 3


def kvx(*args, prefix=(), **options):
    """Runs kvx; stdin is empty unless told otherwise."""
    options.setdefault("stdin", subprocess.DEVNULL)
    return subprocess.run([*prefix, KVX, *map(str, args)], stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=300, **options)


def without_date(text):
    return b"".join(l for l in text.splitlines(True) if b"PGM / RUN BY / DATE" not in l)


class Convert(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.kept = tempfile.TemporaryDirectory()
        cls.log = pathlib.Path(cls.kept.name) / "survey.log"
        cls.log140 = pathlib.Path(cls.kept.name) / "compressed.log"
        assert kvx("simulate", "-o", cls.log, "--duration", 600).returncode == DONE
        assert kvx("simulate", "-o", cls.log140, "--duration", 600, "--range", 140).returncode == DONE

    @classmethod
    def tearDownClass(cls):
        cls.kept.cleanup()

    def setUp(self):
        self.scratch = tempfile.TemporaryDirectory()
        self.dir = pathlib.Path(self.scratch.name)
        self.out = self.dir / "out"

    def tearDown(self):
        self.scratch.cleanup()

    def write(self, name, data):
        path = self.dir / name
        path.write_bytes(data)
        return path

    def observations(self, folder=None):
        files = list((folder or self.out).glob("*_MO.rnx"))
        self.assertEqual(1, len(files), files)
        return files[0]

    def test_summary_and_files(self):
        run = kvx("convert", self.log, "-o", self.out, "--marker", "Base", "--json")
        self.assertEqual((DONE, b""), (run.returncode, run.stderr))
        summary = json.loads(run.stdout)
        self.assertEqual(600, summary["epochs"])
        self.assertEqual(1.0, summary["interval"])
        self.assertEqual({"GPS", "GLONASS", "Galileo", "BeiDou", "QZSS", "SBAS"}, set(summary["satellites_by_system"]))
        self.assertEqual(0, sum(summary["lost"].values()))
        self.assertTrue(all(pathlib.Path(f).exists() for f in summary["files"]))
        self.assertRegex(self.observations().name, r"^BASE00XXX_R_\d{11}_10M_01S_MO\.rnx$")
        self.assertEqual([], list(self.out.glob(".*")), "nothing temporary stays")

    def test_same_log_same_file_whatever_its_form(self):
        kvx("convert", self.log, "-o", self.out, "--marker", "Base")
        expected = without_date(self.observations().read_bytes())
        packed = self.write("survey.log.gz", gzip.compress(self.log.read_bytes()))
        kvx("convert", packed, "-o", self.dir / "gz", "--marker", "Base")
        with open(self.log, "rb") as log:
            kvx("convert", "-", "-o", self.dir / "pipe", "--marker", "Base", stdin=log)
        for folder in ("gz", "pipe"):
            self.assertEqual(expected, without_date(self.observations(self.dir / folder).read_bytes()), folder)

    def test_example_writes_the_same_epochs(self):
        text = EXAMPLE.read_text()
        snippet = README.read_text().split("```cpp\n")[1].split("```")[0]
        self.assertTrue(all(line.strip() in text for line in snippet.splitlines()))

        def epochs(path):   # those with data: the example leaves events to its reader
            records = re.split(r"^> ", path.read_text().split("END OF HEADER")[1], flags=re.M)[1:]
            return [r for r in records if r[27:30] == "  0"]

        for name, *options in (("fast", "--rate", 5), ("odd", "--start", "2024-03-10 12:00:00.5"), ("140", "--range", 140)):
            log, file = self.dir / name, self.dir / (name + ".rnx")
            kvx("simulate", "-o", log, "--duration", 60, *options)
            kvx("convert", log, "-o", self.dir / (name + "_out"), "--plain-header")
            subprocess.run([HOST, log, file], check=True, stdout=subprocess.DEVNULL)
            expected = self.observations(self.dir / (name + "_out"))
            self.assertEqual(300 if name == "fast" else 60, len(epochs(file)))
            self.assertEqual(epochs(expected), epochs(file))
            for label in ("INTERVAL", "TIME OF LAST OBS"):
                self.assertEqual(*(re.findall(f"^.*{label}", p.read_text(), re.M) for p in (expected, file)))

    def test_strict_check_finds_nothing(self):
        # What stands above the lines that the tool adds is the library's and fixed: its date form (the
        # published one follows further down), untrimmed texts, C1I for B1 up to 3.03 and BeiDou in 2.11.
        allowed = {"2.11": ",satellite-system", "3.02": "", "3.03": ",obs-code", "3.04": ""}
        for log in (self.log, self.log140):
            for version, more in allowed.items():
                folder = self.dir / (log.name + version)
                run = kvx("convert", log, "-o", folder, "--rinex", version, "--agency", "A", "--observer", "O")
                self.assertEqual(DONE, run.returncode, run.stderr)
                check = subprocess.run(
                    ["python3", "-B", CHECK, self.observations(folder), "--allow", "pgm-date,label-twice,short-line" + more],
                    stdout=subprocess.PIPE, timeout=300)
                self.assertEqual(0, check.returncode, check.stdout.decode()[-2000:])

    def test_header_options(self):
        kvx("convert", self.log, "-o", self.out, "--marker", "P7", "--marker-number", "12", "--observer", "Ada",
            "--agency", "Office", "--antenna-type", "TYPE", "--antenna-number", "A1", "--antenna-delta", "1.5,0.25,-0.125",
            "--receiver-number", "R9", "--receiver-version", "2.0", "--run-by", "me", "--marker-type", "GEODYNAMIC")
        text = self.observations().read_text()
        for line in ("P7" + " " * 58 + "MARKER NAME", "Ada                 Office",
                     "R9                  KV4A0               2.0                 REC",
                     "A1                  TYPE            NONE                    ANT",
                     "        1.5000        0.2500       -0.1250 ", "GEODYNAMIC", "     1.000"):
            self.assertTrue("\n" + line in text, line)
        plain = kvx("convert", self.log, "-o", self.dir / "plain", "--plain-header")
        self.assertEqual(DONE, plain.returncode)
        self.assertFalse("MARKER TYPE" in self.observations(self.dir / "plain").read_text())

    def epochs(self, *args):
        folder = self.dir / str(len(list(self.dir.iterdir())))
        self.assertEqual(DONE, kvx("convert", self.log, "-o", folder, *args).returncode)
        text = self.observations(folder).read_text()
        return text, [l for l in text.splitlines() if re.match(r"> .* 0[ \d]{3} *$", l)]

    def test_selection(self):
        text, epochs = self.epochs("--interval", 30)
        self.assertEqual(20, len(epochs))
        self.assertTrue("\n    30.000" in text)
        at = "%s-%s-%s %s:%s:" % tuple(epochs[0].split()[1:6])
        _, some = self.epochs("--start", at + "30", "--end", at + "39.5")
        self.assertEqual(10, len(some))
        text, _ = self.epochs("--systems", "RJ")
        self.assertEqual({"R", "J", ">"}, {l[0] for l in text.split("END OF HEADER")[1].splitlines()[1:] if l[0] in "GRECJS>"})

    def test_events_keep_their_place(self):
        text, _ = self.epochs()
        self.assertTrue("KINEMATIC DATA" in text)
        self.assertTrue("START OF A NEW SITE" in text)
        marks = re.findall(r"^> (.{19,29})  5  1 +\nManual Event # (\d+)", text, re.M)
        self.assertTrue(marks)
        self.assertEqual([str(i + 1) for i in range(len(marks))], [m[1] for m in marks])

    def test_position_listing(self):
        kvx("convert", self.log, "-o", self.out, "--xyz")
        listing = next(self.out.glob("*.xyz")).read_text().splitlines()
        self.assertTrue(listing)
        for line in listing:
            self.assertEqual(11, len(line.split()))

    def test_damage_is_told_and_costs_little(self):
        data = bytearray(self.log.read_bytes())
        at = len(data) // 2
        data[at] ^= 1
        damaged = self.write("damaged.log", bytes(data[:at + 5000]) + b"rubbish" + bytes(data[at + 5000:-3]))
        run = kvx("convert", damaged, "-o", self.out, "--json")
        self.assertEqual(DAMAGED, run.returncode, run.stderr)
        summary = json.loads(run.stdout)
        frames = sum(m["bytes"] for m in summary["messages"])
        lost = summary["lost"]
        self.assertGreaterEqual(summary["epochs"], 590)
        self.assertGreater(lost["bad_checksum"], 0)
        self.assertGreater(lost["torn_bytes"], 0)
        self.assertLess(frames, summary["bytes"])
        self.assertEqual(DAMAGED, kvx("info", damaged).returncode)

    def test_inputs_that_give_no_file(self):
        unreadable = self.write("unreadable.log", b"x")
        unreadable.chmod(0)
        cases = {
            "missing": (self.dir / "missing.log", "No such file"),
            "folder": (self.dir, "is a directory"),
            "empty": (self.write("empty.log", b""), "no frame"),
            "garbage": (self.write("garbage.log", bytes(range(256)) * 100), "no frame"),
            "other file": ("/proc/self/mem", "rror"),
            "broken gzip": (self.write("x.gz", gzip.compress(self.log.read_bytes())[:30]), "no "),
            "unreadable": (unreadable, "ermission denied"),
        }

        # Permissions count for the superuser too once these capabilities are gone.
        mortal = ["setpriv", "--bounding-set", "-dac_override,-dac_read_search"] if os.geteuid() == 0 else []
        for why, (path, text) in cases.items():
            run = kvx("convert", path, "-o", self.out, prefix=mortal)
            self.assertEqual(FAILED, run.returncode, why)
            self.assertTrue(run.stderr.startswith(b"kvx: error: "), run.stderr)
            self.assertIn(text, run.stderr.decode(), why)
            self.assertEqual([], list(self.out.iterdir()), why)

    @forks
    def test_one_bad_log_among_good_ones(self):
        run = kvx("convert", self.log, self.dir / "none.log", self.log140, "-j", 2, "-o", self.out, "--json")
        self.assertEqual(FAILED, run.returncode)
        self.assertIn(b"none.log", run.stderr)
        self.assertEqual(2, len(run.stdout.splitlines()))
        self.assertEqual(2, len(list(self.out.glob("*_MO.rnx"))))

    @forks
    def test_two_logs_never_share_a_file(self):
        run = kvx("convert", self.log, self.log140, "-o", self.out, "--marker", "Same")
        self.assertEqual(FAILED, run.returncode)
        self.assertIn(b"another log of this run", run.stderr)
        self.assertEqual(1, len(list(self.out.glob("*_MO.rnx"))))
        self.assertEqual([], list(self.out.glob(".*")))

    def test_the_same_again_replaces_the_files(self):
        for _ in range(3):
            self.assertEqual(DONE, kvx("convert", self.log, "-o", self.out).returncode)
            for file in self.out.iterdir():
                os.utime(file, (2e9, 2e9))   # files of a board whose clock was ahead
        self.assertEqual(2, len(list(self.out.iterdir())))

    def test_time_running_back_is_told(self):
        twice = self.write("twice.log", self.log.read_bytes() * 2)
        run = kvx("convert", twice, "-o", self.out, "--json")
        summary = json.loads(run.stdout)
        self.assertEqual((DAMAGED, 600, 600),
                         (run.returncode, summary["epochs_written"], summary["epochs_out_of_order"]))

    def test_damaged_compressed_log_keeps_what_was_good(self):
        packed = bytearray(gzip.compress(self.log.read_bytes()))
        packed[len(packed) // 2] ^= 0x55
        run = kvx("convert", self.write("bad.log.gz", bytes(packed)), "-o", self.out, "--json")
        self.assertEqual(DAMAGED, run.returncode, run.stderr)
        self.assertGreater(json.loads(run.stdout)["epochs_written"], 250)

    def test_full_disk(self):
        def small_files(limit):
            resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit))
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)

        kvx("convert", self.log, "-o", self.dir / "plain", "--plain-header", "--nav", "none")
        patched = self.observations(self.dir / "plain").stat().st_size
        for limit in (500000, patched + 100):   # in the middle of the epochs; while the header is completed
            run = kvx("convert", self.log, "-o", self.out, preexec_fn=lambda: small_files(limit))
            self.assertEqual(FAILED, run.returncode, limit)
            self.assertIn(b"writing", run.stderr)
            self.assertEqual([], list(self.out.iterdir()), limit)

    def test_rinex_2_says_what_it_leaves_out(self):
        run = kvx("convert", self.log, "-o", self.out, "--rinex", "2.11", "--json")
        self.assertGreater(json.loads(run.stdout)["observations_left_out"], 600)
        epochs = self.observations().read_text().split("END OF HEADER")[1].splitlines()
        listed = {e[32] for e in epochs if re.match(r"( \d\d){5}.{15}[ \d]\d[A-Z]", e)}
        self.assertTrue(listed and listed <= {"G", "R", "C"}, listed)

    def test_interrupted_work_is_kept_as_partial(self):
        run = subprocess.Popen([KVX, "convert", "-", "-o", self.out], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                               stderr=subprocess.PIPE)
        log = self.log.read_bytes()
        run.stdin.write(log[:len(log) // 2])   # more than the buffers on the way hold
        run.stdin.flush()
        while not (self.out.exists() and any(f.stat().st_size > 0 for f in self.out.glob(".kvx-*"))):
            self.assertIsNone(run.poll())
        run.send_signal(signal.SIGINT)
        _, errors = run.communicate(timeout=60)
        self.assertEqual(FAILED, run.returncode)
        self.assertIn(b"interrupted", errors)
        partial = list(self.out.glob("*_MO.rnx.partial"))
        self.assertEqual(1, len(partial))
        self.assertTrue("TIME OF LAST OBS" in partial[0].read_text())
        self.assertEqual([], list(self.out.glob(".*")))

    def test_wrong_usage(self):
        for args in ([], ["convert"], ["convert", "x", "--rinex", "3.05"], ["convert", "x", "--systems", "GX"],
                     ["convert", "x", "--start", "yesterday"], ["convert", "x", "y", "--name", "z"], ["nonsense"],
                     ["convert", "x", "--antenna-delta", "1,2"], ["convert", "x", "--interval", "nan"],
                     ["convert", "x", "--start", "2024-02-30"]):
            self.assertEqual(USAGE, kvx(*args).returncode, args)
        self.assertEqual(DONE, kvx("--help").returncode)
        self.assertEqual(DONE, kvx("--version").returncode)
        warned = kvx("convert", self.log, "-o", self.out, "--receiver-type", "other")
        self.assertIn(b"warning", warned.stderr)

    @forks
    def test_results_that_cannot_be_printed(self):
        with open("/dev/full", "wb") as full:
            for command in (["info", self.log], ["convert", self.log, self.log140, "-o", self.out]):
                run = subprocess.run([KVX, *map(str, command)], stdout=full, stderr=subprocess.PIPE, timeout=60)
                self.assertEqual(FAILED, run.returncode)
                self.assertIn(b"standard output", run.stderr)


if __name__ == "__main__":
    unittest.main()
