"""What a session at the command line does not show: other programs beside kvx, full disks, signals, work in parallel."""

import collections
import contextlib
import ctypes
import fcntl
import gzip
import itertools
import json
import math
import mmap
import os
import pathlib
import pty
import random
import re
import resource
import select
import shutil
import signal
import statistics
import struct
import subprocess
import tempfile
import termios
import time
import unittest
import zlib

import logs

KVX, HOST = os.environ["KVX"], os.environ["EXAMPLE"]
# Logs that are converted at once are forked processes, which spin under qemu-user.
forks = unittest.skipIf(os.environ.get("KVX_EMULATED"), "forked processes spin under qemu-user")
DONE, FAILED, USAGE, DAMAGED = range(4)
READER_GONE = 141
Record = collections.namedtuple("Record", "prn channel pseudorange deviation phase phase_deviation doppler cn0 lock status")


def kvx(*args, **options):
    options = {"stdin": subprocess.DEVNULL, "stdout": subprocess.PIPE, "stderr": subprocess.PIPE, **options}
    return subprocess.run([KVX, *map(str, args)], timeout=300, **options)


class Scratch(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.dir = pathlib.Path(scratch.name)
        self.out = self.dir / "out"

    def observations(self, folder):
        file, = folder.glob("*_MO.rnx")
        return file


class Convert(Scratch):
    @classmethod
    def setUpClass(cls):
        cls.kept = tempfile.TemporaryDirectory()
        cls.log, cls.log140 = (pathlib.Path(cls.kept.name) / name for name in ("survey.log", "compressed.log"))
        assert kvx("simulate", "-o", cls.log, "--duration", 300).returncode == DONE
        assert kvx("simulate", "-o", cls.log140, "--duration", 300, "--range", 140,
                   "--start", "2024-03-10 13:00:00").returncode == DONE
        cls.addClassCleanup(cls.kept.cleanup)

    def test_example_writes_the_same_epochs(self):
        def epochs(path):   # those with data: the example leaves events to its reader
            records = re.split(r"^> ", path.read_text().split("END OF HEADER")[1], flags=re.M)[1:]
            return [r for r in records if r[27:30] == "  0"]

        for name, *options in (("fast", "--rate", 5), ("odd", "--start", "2024-03-10 12:00:00.5"), ("split",)):
            log, file = self.dir / name, self.dir / (name + ".rnx")
            kvx("simulate", "-o", log, "--duration", 60, *options)
            if name == "split":
                log.write_bytes(logs.split_epochs(log.read_bytes()))
            kvx("convert", log, "-o", self.dir / (name + "_out"), "--as-host")
            subprocess.run([*HOST.split(), log, file], check=True, stdout=subprocess.DEVNULL)
            expected = self.observations(self.dir / (name + "_out"))
            self.assertEqual(300 if name == "fast" else 60, len(epochs(file)))
            self.assertEqual(epochs(expected), epochs(file))
            for label in ("INTERVAL", "TIME OF LAST OBS"):
                self.assertEqual(*(re.findall(f"^.*{label}", p.read_text(), re.M) for p in (expected, file)))

        written = file.read_bytes()
        for arguments in ((self.dir / "none", file), (log, "/dev/full")):   # full: it has no end when headers are looked for
            done = subprocess.run([*HOST.split(), *arguments], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=60)
            self.assertEqual(1, done.returncode)
        self.assertEqual(written, file.read_bytes())

    def test_strict_check_finds_nothing(self):
        # In what a host gets lines are missing, and some stand in other columns or forms than the published ones.
        host = ("pgm-date", "missing-marker-type", "missing-sys-phase-shift", "missing-glonass-slot-frq",
                "format-leap-seconds", "satellite-system", "type-unused", "obs-code")
        every = self.dir / "every.log"
        kvx("simulate", "-o", every, "--every-signal", "--range", "both", "--duration", 120)
        for log in (self.log, self.log140, every):
            for version in ("2.11", "3.04", "3.05", "4.02"):
                self.check_clean(log, "--rinex", version, *(["--crx", "--gz"] if version == "3.04" else []))
        for version in ("2.11", "3.02", "3.03", "3.04"):
            self.check_clean(self.log, "--as-host", "--rinex", version, allowed=host)

    def check_clean(self, log, *options, allowed=()):
        kvx("convert", log, "-o", self.out, "--agency", "A", "--observer", "O", *options)
        files = [f for f in self.out.iterdir() if not allowed or f.match("*_MO.rnx")]
        check = kvx("check", "--strict", *files, *(["--allow", ",".join(allowed)] if allowed else []))
        self.assertEqual((DONE, len(files)), (check.returncode, len(check.stdout.splitlines())), check.stdout)
        for file in self.out.iterdir():
            file.unlink()

    def convert(self, log, *options):
        """Exit code, summary, and the observation files by name without their dates."""
        file = self.dir / "changed.log"
        file.write_bytes(log)
        with tempfile.TemporaryDirectory(dir=self.dir) as out:
            run = kvx("convert", file, "-o", out, "--marker", "A", "--json", *options)
            files = sorted(pathlib.Path(out).iterdir())
            verified = "--as-host" in options or kvx("verify", file, *files).returncode == DONE
            texts = {f.name: re.sub(r"\d{8} \d{6} (?=UTC PGM)", "20240310 120000 ", f.read_text()) for f in files if "_MN" not in f.name}
            return run.returncode, verified and json.loads(run.stdout), texts

    def test_a_wrong_time_costs_its_epoch_alone(self):
        log = b"".join(frame for _, frame in itertools.islice(logs.frames(self.log.read_bytes()), 200))
        last = [message for message, _ in logs.frames(log)].count(logs.RANGE) - 1
        hour, week = 3600000, 1024
        for host in ((), ("--as-host",)):
            for epoch, weeks, ms in ((0, week, 0), (1, 0, hour), (1, 0, -hour), (9, week, 0), (9, 0, -hour),
                                     (last, 0, -hour)):
                _, _, expected = self.convert(logs.at_other_time(log, [epoch]), *host)
                code, summary, files = self.convert(logs.at_other_time(log, [epoch], weeks, ms), *host)
                self.assertEqual((DAMAGED, expected), (code, files), (epoch, weeks, ms))
                place, = summary["first_out_of_order"]
                before = [message for message, _ in logs.frames(log[: place["byte"]])]
                self.assertEqual(epoch, before.count(logs.RANGE))
            self.assertEqual(DONE, self.convert(logs.at_other_time(log, range(9, last + 1), 0, hour), *host)[0])   # a gap

    def test_a_clock_set_back_begins_a_new_file(self):
        late, early = (self.dir / name for name in ("late.log", "early.log"))
        for start in ("2024-03-10 11:00:00", "2024-03-10 12:00:10", "2024-03-10 12:00:00"):
            kvx("simulate", "-o", late, "--duration", 30)
            kvx("simulate", "-o", early, "--duration", 20, "--start", start)
            for options in ((), ("--as-host",), ("--name", "X")):
                parts = [list(self.convert(log.read_bytes(), *options)[2].values())[0] for log in (late, early)]
                both = late.read_bytes() + early.read_bytes()
                code, summary, files = self.convert(both, *options)
                self.assertEqual((DONE, sorted(parts)), (code, sorted(files.values())), options)
                before = [message for message, _ in logs.frames(both[: summary["first_steps_back"][0]["byte"]])]
                self.assertEqual(30, before.count(logs.RANGE))
                if options[:1] == ("--name",):
                    self.assertEqual(["X_2_MO.rnx", "X_MO.rnx"], sorted(files))

    def test_headers_are_completed_in_their_place_or_copied(self):
        def comments(source, *parts):
            joined = self.dir / "joined.log"
            joined.unlink(missing_ok=True)
            for n, (letters, seconds) in enumerate(parts):
                part = self.dir / f"{n}.log"
                kvx("simulate", "-o", part, "--force", "--duration", seconds, "--every-signal", "--systems", letters,
                    "--start", f"2024-03-10 1{n}:00:00")
                joined.write_bytes((joined.read_bytes() if n else b"") + part.read_bytes())
            run = kvx("convert", source or joined, "-o", self.out, "--force", stdin=None, input=joined.read_bytes())
            self.assertEqual(DONE, run.returncode)
            file = self.observations(self.out)
            self.assertEqual(DONE, kvx("check", "--strict", file).returncode)
            self.assertEqual(DONE, kvx("verify", joined, file).returncode)
            header, _, epochs = file.read_bytes().partition(b"END OF HEADER")
            self.assertGreater(len(epochs), 1 << 20)
            file.unlink()
            return header.count(b" COMMENT")

        live = "-"   # what comes cannot be looked at before
        kept, used = comments(live, ("GRECJS", 300)), comments(live, ("GREC", 300), ("GRECJS", 300))
        self.assertGreater(kept, used)
        self.assertGreater(used, 0)
        self.assertEqual(0, comments(live, ("R", 300), ("GRECJS", 300)), "lines of new systems do not fit")
        self.assertIn(comments(None, ("R", 300), ("GRECJS", 300)), range(1, used), "all signals foreseen")
        self.assertEqual(0, comments(None, ("GR", 600), ("GRECJS", 10)), "too short to be foreseen")

    def test_what_has_no_number_or_no_clock_is_no_damage(self):
        every = self.dir / "every.log"
        kvx("simulate", "-o", every, "--every-signal", "--duration", 120)
        code, host, _ = self.convert(every.read_bytes(), "--as-host")
        self.assertEqual(DONE, code)
        self.assertEqual({"C60", "J08", "R25", "S48"}, set(host["satellites_without_number"]))
        self.assertEqual({"J08 as S20", "R25 as E01"}, set(host["under_other_number"]))
        code, own, _ = self.convert(logs.changed(every.read_bytes(), logs.MARK, 36, b"\2"))
        self.assertEqual((DONE, 1, False), (code, own["messages_before_clock"], "satellites_without_number" in own))

    def test_values_without_room_are_blank_and_told(self):
        log = self.log.read_bytes()
        for offset, value in ((4, struct.pack("<d", 1e12)), (28, struct.pack("<f", 1e30)),
                              (32, struct.pack("<f", math.nan))):
            code, summary, files = self.convert(logs.changed(log, logs.RANGE, 4 + offset, value))
            self.assertEqual((DONE, 300), (code, sum(s.get("values_left_blank", 0) for s in summary["signals"])))
            rinex = self.dir / "blank.rnx"
            rinex.write_text("".join(files.values()))
            self.assertEqual(DONE, kvx("check", rinex).returncode)
        tgd = struct.pack("<d", 1e130)
        code, summary, _ = self.convert(logs.changed(log, 7, 172, tgd))
        self.assertGreater(summary["navigation"]["blank_numbers"], 0)

    @forks
    def test_logs_in_parallel(self):
        run = kvx("convert", self.log, self.dir / "none.log", self.log140, "-j", 2, "-o", self.out, "--json")
        self.assertEqual(FAILED, run.returncode)
        told = b"No such file or directory (opening)\n"
        self.assertTrue(run.stderr.endswith(b"kvx: 1 of 3 logs is not well:\n  %s: failed: " % str(self.dir / "none.log").encode() + told))
        self.assertEqual(2, len(run.stdout.splitlines()))
        self.assertEqual(2, len(list(self.out.glob("*_MO.rnx"))))

    def test_full_disk(self):
        def small_files(limit):
            resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit))

        kvx("convert", self.log, "-o", self.dir / "plain", "--nav", "none")
        os.utime(self.observations(self.dir / "plain"), (2e9, 2e9))   # written by a board whose clock was ahead
        plain = kvx("convert", self.log, "-o", self.dir / "plain", "--nav", "none", "--force")
        self.assertEqual(DONE, plain.returncode)
        whole = self.observations(self.dir / "plain").stat().st_size
        for limit, *options in ((500000,), (whole - 100,),   # in the middle of the epochs, and at their end
                                (20000, "--interval", 300), (500000, "--as-host")):
            run = kvx("convert", self.log, "-o", self.out, *options, preexec_fn=lambda: small_files(limit))
            self.assertEqual(FAILED, run.returncode, limit)
            self.assertIn(b"writing", run.stderr)
            self.assertEqual([], list(self.out.iterdir()), limit)

    def test_expand_keeps_what_is_there_and_what_was_good(self):
        kvx("convert", self.log, "-o", self.out)
        rinex = self.observations(self.out)
        packed = rinex.with_name(rinex.name + ".gz")
        packed.write_bytes(gzip.compress(rinex.read_bytes()))
        text = rinex.read_text()
        rinex.write_text("mine")
        self.assertEqual(FAILED, kvx("expand", packed).returncode)
        self.assertEqual("mine", rinex.read_text())
        self.assertEqual(DONE, kvx("expand", "--force", packed).returncode)
        self.assertEqual(text, rinex.read_text())

        packed.write_bytes(packed.read_bytes()[:-20000])
        run = kvx("expand", packed, "-o", self.dir / "torn")
        self.assertEqual(DAMAGED, run.returncode)
        partial, = (self.dir / "torn").iterdir()
        self.assertEqual(f"wrote {partial}\n".encode(), run.stdout)
        self.assertTrue(partial.name == rinex.name + ".partial" and text.startswith(partial.read_text()))

    def test_progress_on_a_terminal(self):
        terminal, side_of_kvx = pty.openpty()
        run = subprocess.Popen([KVX, "info", "-"], stdin=subprocess.PIPE, stdout=subprocess.DEVNULL, stderr=side_of_kvx,
                               env={**os.environ, "TERM": "xterm"})
        log = self.log.read_bytes()
        run.stdin.write(log)
        while not select.select([terminal], [], [], 0.1)[0]:
            run.stdin.write(log)
        run.communicate(timeout=60)
        shown = b""
        while not shown.endswith(b"\r\x1b[K") and select.select([terminal], [], [], 10)[0]:
            shown += os.read(terminal, 1000)
        self.assertRegex(shown, rb"^(\r[\d.]+ [kMG]B, [\d.]+ [kMG]B/s, 0:\d\d, standard input\x1b\[K)+\r\x1b\[K$")

    def in_slices(self, *options, term="xterm", columns=50, slices=100):
        """What a terminal gets while logs are converted that, stopped again and again, take long."""
        terminal, side_of_kvx = pty.openpty()
        fcntl.ioctl(side_of_kvx, termios.TIOCSWINSZ, struct.pack("4H", 24, columns, 0, 0))
        run = subprocess.Popen([KVX, "convert", self.dir / "torn.log", self.log140, "--gz", "--verify", "--marker", "A", "--force", "-o", self.out,
                                *options], stdin=subprocess.DEVNULL, stdout=side_of_kvx, stderr=side_of_kvx,
                               start_new_session=True, env={**os.environ, "TERM": term})
        os.close(side_of_kvx)
        shown = b""
        with contextlib.suppress(OSError):   # at the end of all processes
            for stop in itertools.chain([1.1], itertools.repeat(0.21, slices)):
                time.sleep(0.015)
                os.killpg(run.pid, signal.SIGSTOP)
                time.sleep(stop)
                os.killpg(run.pid, signal.SIGCONT)
                while select.select([terminal], [], [], 0)[0]:
                    shown += os.read(terminal, 10000)
            while True:
                shown += os.read(terminal, 10000)
        run.wait(60)
        os.close(terminal)
        return shown

    @forks
    def test_progress_of_a_batch(self):
        torn = self.dir / "torn.log"
        torn.write_bytes(self.log.read_bytes()[:-100])
        shown = self.in_slices("-j", "2")
        drawn = rb"\r([^\r\n]+)\x1b\[K"
        self.assertRegex(shown, rb"^((" + drawn + rb")*\r\x1b\[K|[^\r\x1b]+\r\n)+$")   # wiped before anything else
        lines = [line.decode() for line in re.findall(drawn, shown)]
        self.assertLess(max(map(len, lines)), 50)
        percents = [int(re.match(r" *(\d+) %, [012] of 2 files, [\d.]+ [kM]B of [\d.]+ MB", line)[1]) for line in lines]
        self.assertEqual(sorted(percents), percents)
        self.assertGreater(len(set(percents)), 2)
        first = re.search(r"of ([\d.]+) MB", lines[0])[1]
        self.assertGreater(float(first), 4e-6 * sum(log.stat().st_size for log in (torn, self.log140)) - 0.5)
        self.assertTrue(shown.endswith(b"kvx: 1 of 2 logs is not well:\r\n  %s: damaged: 6800 byte(s) of a frame that the end "
                                       b"of the log cuts off\r\n" % str(torn).encode()), shown)
        for options, term in (((), "dumb"), (("-q",), "xterm")):
            other = self.in_slices("-j", "2", *options, term=term, slices=0)
            self.assertNotIn(b"\x1b", other)
            self.assertEqual("-q" in options, other.startswith(b"kvx: 1 of 2"), other)

    def contents(self, folder, date=rb"\d{8} \d{6} UTC"):
        return {f.name: re.sub(date, b"", f.read_bytes()) for f in folder.iterdir()}

    def test_names_that_are_taken(self):
        for n, options in enumerate((["--xyz"], ["--xyz", "--as-host", "--nav", "split"])):
            folder = self.dir / str(n)
            command = ["convert", self.log, "-o", folder, "--name", "x", *options]
            self.assertEqual(DONE, kvx(*command).returncode)
            before = self.contents(folder)
            for name in before:   # one of them is enough
                for other in before.keys() - {name}:
                    (folder / other).unlink()
                run = kvx(*command)
                self.assertEqual((FAILED, b""), (run.returncode, run.stdout))
                self.assertIn(f"error: {folder / name}: exists already (--force replaces it)\n".encode(), run.stderr)
                self.assertEqual({name: before[name]}, self.contents(folder))
                self.assertEqual(DONE, kvx(*command, "--force").returncode)
                self.assertEqual(before.keys(), self.contents(folder).keys())
                before = self.contents(folder)

    @forks
    def test_inputs_and_files_of_the_run_are_never_replaced(self):
        inputs = self.dir / "a_MO.rnx", self.dir / "b_MN.rnx", self.dir / "c"
        for path in inputs:
            path.write_bytes(self.log.read_bytes())
        before = self.contents(self.dir)
        os.link(inputs[2], self.dir / "c_MO.rnx")
        for path in inputs:
            for log in (path, "-"):
                with path.open() as stdin:
                    run = kvx("convert", log, "-o", self.dir, "--name", path.name[0], "--force", stdin=stdin)
                self.assertEqual(FAILED, run.returncode)
                self.assertIn(b"is an input of this run", run.stderr)
        (self.dir / "c_MO.rnx").unlink()
        pack = kvx("frame", "pack", "--id", 1, "-o", self.dir / "c", self.dir / "c", "--force")
        self.assertEqual(FAILED, pack.returncode)
        self.assertEqual(before, self.contents(self.dir))
        run = kvx("convert", self.log, self.log, self.log, "-o", self.out, "--force", "-j", 3)
        told = [line for line in run.stderr.splitlines() if line.startswith(b"kvx: error:")]
        self.assertEqual((FAILED, 2), (run.returncode, sum(b"another log of this run has made this file" in t for t in told)))

    def test_what_killed_runs_leave_goes(self):
        self.out.mkdir()
        dead, held, short, odd, link, folder = (self.out / f".kvx-{end}" for end in (
            "aZ09bY", "locked", "abcde", "abc-ef", "linked", "folder"))
        for path in (dead, held, short, odd):
            path.touch()
        link.symlink_to(self.log)
        folder.mkdir()
        with held.open() as lock:
            fcntl.flock(lock, fcntl.LOCK_EX)
            run = subprocess.Popen([KVX, "convert", "-", "-o", self.out], stdin=subprocess.PIPE,
                                   stderr=subprocess.DEVNULL)
            run.stdin.write(self.log.read_bytes())
            run.stdin.flush()
            others = {held, short, odd, link, folder}
            while not (alive := set(self.out.iterdir()) - others) or dead in alive:
                self.assertIsNone(run.poll())
            self.assertEqual(DONE, kvx("convert", self.log, "-o", self.out, "--name", "x").returncode)
            self.assertLessEqual(others | alive, set(self.out.iterdir()))
            run.kill()
            run.communicate()
            self.assertEqual(DONE, kvx("convert", self.log, "-o", self.out, "--name", "y").returncode)
        self.assertEqual(others, set(self.out.glob(".*")))

    @forks
    def test_killed_process_of_a_log(self):
        run = subprocess.Popen([KVX, "convert", "-", self.log, "-j", "2", "-o", self.out, "--marker", "A"],
                               stdin=subprocess.PIPE, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        while not (children := pathlib.Path(f"/proc/{run.pid}/task/{run.pid}/children").read_text().split()):
            self.assertIsNone(run.poll())
        os.kill(int(children[0]), signal.SIGKILL)
        told = b"killed by signal 9 (Killed)\n"
        self.assertEqual((None, b"kvx: error: standard input: " + told + b"kvx: 1 of 2 logs is not well:\n"
                          b"  standard input: failed: " + told), run.communicate(timeout=60))
        self.assertEqual((FAILED, 2), (run.returncode, len(list(self.out.iterdir()))))

    @forks
    def test_results_that_cannot_be_printed(self):
        dump, packed = self.dir / "dump", self.dir / "log.gz"
        dump.write_bytes(logs.DUMP * 100)
        packed.write_bytes(gzip.compress(self.log.read_bytes(), 1))
        convert = ["convert", self.log, self.log140, "--marker", "A", "--force", "-o"]
        kvx(*convert, self.out)
        whole = self.contents(self.out)
        commands = [["info", self.log], ["--help"], ["check", *self.out.iterdir()], ["dump", "cat", dump],
                    ["expand", "--stdout", packed], ["simulate", "-o", "-"], [*convert, self.dir / "new"],
                    [*convert, self.dir / "new", "-j", 2]]
        reader, pipe = os.pipe()
        os.close(reader)
        with open("/dev/full", "wb") as full:
            for command in commands:
                for code, options in ((FAILED, {"stdout": full}), (FAILED, {"preexec_fn": lambda: os.close(1)}),
                                      (READER_GONE, {"stdout": pipe})):
                    run = kvx(*command, **options)
                    self.assertEqual(code, run.returncode, command)
                    self.assertEqual(code == FAILED, b"kvx: error: standard output: " in run.stderr, command)
                    self.assertTrue(code == FAILED or not run.stderr, run.stderr)
                    self.assertEqual(whole.keys(), {f.name for f in (self.dir / "new").glob("*")} or whole.keys())
        # Not after a century; and what is closed is not the next file that is opened.
        self.assertEqual(READER_GONE, kvx("simulate", "-o", "-", "--duration", 366 * 86400, stdout=pipe).returncode)
        os.close(pipe)
        for fd in range(3):
            kvx(*convert, self.out, preexec_fn=lambda: os.close(fd))
            self.assertEqual(whole, self.contents(self.out))


class Simulate(Scratch):
    """What is put into a log is all that differs from the same log without it."""

    def simulate(self, *options):
        """Ranges by epoch (s), of each the records by satellite and signal; bodies of the other messages by epoch."""
        run = kvx("simulate", "-o", self.out, "--force", *options)
        self.assertEqual(DONE, run.returncode, run.stderr)
        ranges, others = collections.defaultdict(dict), collections.defaultdict(dict)
        for message, frame in logs.frames(self.out.read_bytes()):
            time, body = int.from_bytes(frame[16:20], "little") / 1000, frame[logs.HEADER : -logs.CRC]
            if message != logs.RANGE:
                others[message][time] = body
                continue
            for at in range(4, len(body), logs.RECORD_BYTES):
                r = Record._make(struct.unpack_from("<HHdfdffffI", body, at))
                ranges[time][r.prn, r.status >> 16 & 7, r.status >> 21 & 31] = r._replace(phase=-r.phase)
        return ranges, others, run.stderr.decode().splitlines()

    def test_slips_are_the_ones_listed(self):
        names = {0: "1C", 5: "2P", 9: "2W", 17: "2S", 14: "5Q", 16: "1L"}
        options = "--systems", "G", "--duration", 1800
        plain, found, last = self.simulate(*options)[0], [], {}
        slipped, _, listed = self.simulate(*options, "--slips", 60)
        whole = {}
        for time, epoch in slipped.items():
            self.assertEqual(plain[time].keys(), epoch.keys())
            before, whole = whole, {}
            for key, r in epoch.items():
                was = plain[time][key]
                self.assertEqual(was, r._replace(phase=was.phase))
                whole[key] = round(r.phase - was.phase)
                self.assertAlmostEqual(whole[key], r.phase - was.phase, 6)
                if whole[key] == before.get(key, 0):
                    continue
                step, second = whole[key] - before[key], int(time) - 43200
                found.append(f"slip of {step} cycles at 2024-03-10 12:{second // 60:02}:{second % 60:02}.00: "
                             f"G{r.prn:02} L{names[key[2]]}")
                self.assertTrue(1 <= abs(step) <= 50 and 10 < r.lock and second < 1790, found[-1])
                self.assertGreaterEqual(second - last.get(r.prn, -20), 20)
                last[r.prn] = second
        self.assertEqual((listed, 60), (found, len(found)))
        self.assertEqual(4 + 1, len(self.simulate("--duration", 25, "--slips", 9)[2]))   # no more fit

    def test_multipath_has_its_rms(self):
        options = "--duration", 1800, "--rate", 0.1
        plain, waves = self.simulate(*options)[0], collections.defaultdict(list)
        for time, epoch in self.simulate(*options, "--multipath", 2.5)[0].items():
            for key, r in epoch.items():
                self.assertEqual(plain[time][key], r._replace(pseudorange=plain[time][key].pseudorange))
                waves[key].append(r.pseudorange - plain[time][key].pseudorange)
        waves = [w for w in waves.values() if len(w) == 180]
        self.assertGreater(len(waves), 60)
        for w in waves:
            self.assertAlmostEqual(0, statistics.fmean(w), 3)
            self.assertAlmostEqual(2.5, statistics.pstdev(w), 3)
        together = statistics.pstdev(map(statistics.fmean, zip(*waves)))   # they do not go up and down with each other
        self.assertLess(together, 2 * 2.5 / math.sqrt(len(waves)))

    def test_obstructions_hide_what_is_behind_them(self):
        def seen(others):
            return {time: {struct.unpack_from("<I4xdd", body, at) for at in range(16, len(body), 40)}
                    for time, body in others[1043].items()}

        options = "--systems", "G", "--duration", 36000, "--rate", 0.01
        _, others, _ = self.simulate(*options)
        ranges, behind, _ = self.simulate(*options, "--obstruction", "330,40,50", "--obstruction", "120,150,90")
        hidden = 0
        for time, all_of_them in seen(others).items():
            expected = {s for s in all_of_them
                        if not (s[1] < 50 and (s[2] % 360 >= 330 or s[2] % 360 <= 40) or 120 <= s[2] % 360 <= 150)}
            hidden += len(all_of_them - expected)
            self.assertEqual(expected, seen(behind)[time])
            self.assertEqual({s[0] for s in expected}, {prn for prn, *_ in ranges[time]})
            self.assertEqual(len(expected), behind[42][time][64])
        self.assertGreater(hidden, 100)

    def test_a_moving_antenna_is_where_its_messages_and_ranges_say(self):
        options = "--systems", "G", "--duration", 97, "--rate", 10
        resting, _, _ = self.simulate(*options)
        ranges, others, _ = self.simulate(*options, "--moving")
        times, home = sorted(ranges), [math.radians(31.2), math.radians(121.5), 30]
        ecef = {t: struct.unpack_from("<ddd", others[241][t], 8) for t in times}
        for old, t in itertools.pairwise(times):
            self.assertAlmostEqual(1.0, math.dist(ecef[old], ecef[t]), 3)   # m in 0.1 s
            for key, r in ranges[t].items():
                if was := ranges[old].get(key):
                    self.assertAlmostEqual(was.phase - 0.05 * (was.doppler + r.doppler), r.phase, delta=0.1)
        for again in (48, 96):
            self.assertLess(math.dist(ecef[43200], ecef[43200 + again]), 1e-6)
        self.assertAlmostEqual(305.6, max(math.dist(ecef[a], ecef[a + 48]) for a in times if a < 43248), 1)

        lat, lon, height = struct.unpack_from("<ddd", others[42][43260], 8)
        north = (math.radians(lat) - home[0]) * 6352580   # radii at home: of the meridian, of the parallel
        east = (math.radians(lon) - home[1]) * 5460563
        self.assertAlmostEqual(math.hypot(north, east), math.dist(ecef[43200], ecef[43260]), 2)
        self.assertAlmostEqual(30, height + 10, 6)
        body = others[1043][43260]
        for at in range(16, len(body), 40):
            prn, elevation, azimuth = struct.unpack_from("<I4xdd", body, at)
            a, e = math.radians(azimuth), math.radians(elevation)
            nearer = math.cos(e) * (math.sin(a) * east + math.cos(a) * north)
            for key, r in ranges[43260].items():
                if key[0] == prn:
                    self.assertAlmostEqual(nearer, resting[43260][key].pseudorange - r.pseudorange, delta=0.05)


class Input(Scratch):
    """What comes in pieces, late, damaged or not at all."""

    @classmethod
    def setUpClass(cls):
        kept = tempfile.TemporaryDirectory()
        cls.addClassCleanup(kept.cleanup)
        cls.log = pathlib.Path(kept.name) / "survey.log"
        kvx("simulate", "-o", cls.log, "--duration", 20)

    def start(self, *options):
        return subprocess.Popen([KVX, "convert", *map(str, options), "-o", self.out, "--json"], stdin=subprocess.PIPE,
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE, bufsize=0)

    def wait_for_epochs(self, run, n):
        def there():
            return any(f.read_text().count("\n> ") >= n for f in self.out.glob(".kvx-*"))
        deadline = time.monotonic() + 60
        while not there():
            self.assertTrue(run.poll() is None and time.monotonic() < deadline, n)
            time.sleep(0.001)

    def test_live_epochs_are_written_when_the_next_has_come(self):
        for ending, packed, options in ((signal.SIGINT, False, ()), (signal.SIGTERM, True, ()),
                                        (signal.SIGHUP, False, ("--as-host",))):
            run = self.start("-", *options)
            sender, epochs = zlib.compressobj(wbits=31), 0
            for message, frame in logs.frames(self.log.read_bytes()):
                run.stdin.write(sender.compress(frame) + sender.flush(zlib.Z_SYNC_FLUSH) if packed else frame)
                epochs += message == logs.RANGE
                if message == logs.RANGE and epochs > 1:
                    self.wait_for_epochs(run, epochs - 1)
            run.send_signal(ending)
            text, errors = run.communicate(timeout=60)
            self.assertEqual(128 + ending, run.returncode, errors)
            self.assertNotIn(b"error", errors)
            summary = json.loads(text)
            self.assertTrue(summary["ended_by_signal"])
            self.assertEqual((20, 20), (summary["epochs_written"], epochs))
            self.assertEqual({f.name for f in self.out.iterdir()}, {pathlib.Path(f).name for f in summary["files"]})
            self.assertEqual(20, self.observations(self.out).read_text().count("\n> "))
            shutil.rmtree(self.out)

    def test_interrupted_files_are_partial(self):
        card = self.dir / "card"   # preallocated, with nothing behind the log
        card.write_bytes(self.log.read_bytes())
        os.truncate(card, 1 << 40)
        run = self.start(card)
        while not any(self.out.glob(".kvx-*")):
            self.assertIsNone(run.poll())
        run.send_signal(signal.SIGTERM)
        text, errors = run.communicate(timeout=60)
        self.assertEqual(128 + signal.SIGTERM, run.returncode)
        self.assertIn(b"card: interrupted (what was read is in ", errors)
        files = [pathlib.Path(f) for f in json.loads(text)["files"]]
        self.assertEqual({".partial"}, {f.suffix for f in files})
        self.assertEqual(set(files), set(self.out.iterdir()))

        if os.environ.get("KVX_EMULATED"):   # an emulator catches signals before the program does
            return
        run = self.start("-")
        while not int(re.search(r"SigCgt:\t(\w+)", pathlib.Path(f"/proc/{run.pid}/status").read_text())[1], 16) & 2:
            self.assertIsNone(run.poll())
        run.send_signal(signal.SIGINT)   # which it catches by now
        self.assertIn(b"interrupted (before any epoch)", run.communicate(timeout=60)[1].splitlines()[-1])
        self.assertEqual((128 + signal.SIGINT, set(files)), (run.returncode, set(self.out.iterdir())))

    def test_bytes_behind_compressed_data(self):
        log, packed = self.log.read_bytes(), gzip.compress(self.log.read_bytes())
        wrong_sum = packed[:-8] + bytes(4) + packed[-4:]
        for data, times, told in ((packed + b"junk\0", 1, "5 bytes behind the compressed data were not read"),
                                  (packed + b"\x1f\x8b\x09" + packed, 1, f"{len(packed) + 3} bytes behind .*"),
                                  (packed + bytes(70000), 1, None), (packed + packed, 2, None),
                                  (packed + packed[:-7], 2, "the compressed file ends too early"),
                                  (wrong_sum, 1, f"the compressed data are damaged at byte {len(packed) - 4}")):
            run = kvx("info", "--json", "-", stdin=None, input=data)
            summary = json.loads(run.stdout)
            self.assertEqual((DAMAGED if told else DONE, times * len(log)), (run.returncode, summary["good_bytes"]))
            self.assertRegex(summary["lost"].get("source", ""), f"^{told or ''}$")
        run = kvx("dump", "verify", "-", stdin=None, input=gzip.compress(logs.DUMP) + b"x")
        self.assertEqual(DAMAGED, run.returncode)
        self.assertIn(b"1 bytes behind", run.stderr)

    def test_read_errors_end_the_data(self):
        # Memory, read as a file: where it maps a page that the mapped file has lost there is an error.
        def with_error_behind(data):
            pages = -(-len(data) // mmap.PAGESIZE) * mmap.PAGESIZE
            path = self.dir / "mapped"
            path.write_bytes(bytes(pages - len(data)) + data + bytes(mmap.PAGESIZE))
            with open(path, "r+b") as file:
                memory = mmap.mmap(file.fileno(), 0)
                file.truncate(pages)
            self.addCleanup(memory.close)
            path.unlink()
            opened = open("/proc/self/mem", "rb", buffering=0)
            self.addCleanup(opened.close)
            opened.seek(ctypes.addressof(ctypes.c_char.from_buffer(memory)) + pages - len(data))
            return opened

        log, told = self.log.read_bytes(), "read error at byte {}: Input/output error"
        for data in (log, gzip.compress(log)):
            for command in (["info", "-", "--json"], ["convert", "-", "--json", "--force", "-o", self.out]):
                run = kvx(*command, stdin=with_error_behind(data))
                summary = json.loads(run.stdout)
                self.assertEqual((DAMAGED, 20, told.format(len(data))),
                                 (run.returncode, summary["epochs"], summary["lost"]["source"]))
        rinex = self.observations(self.out).read_bytes()
        for command, data, code in (("dump verify", logs.DUMP, DAMAGED), ("dump cat", logs.DUMP, DAMAGED),
                                    ("check", rinex, FAILED), ("expand", gzip.compress(rinex), DAMAGED),
                                    ("frame parse", logs.frame(1, b"x"), DAMAGED)):
            run = kvx(*command.split(), "-", stdin=with_error_behind(data))
            self.assertEqual(code, run.returncode, command)
            self.assertIn(told.format(len(data)).encode(), run.stderr)
        run = kvx("info", "-", stdin=with_error_behind(b""))
        self.assertEqual((FAILED, b"kvx: error: standard input: Input/output error (reading)\n"),
                         (run.returncode, run.stderr))

    def test_every_byte_has_its_place_in_the_account(self):
        log = self.log.read_bytes()
        spoilt = log[:5000] + bytes([log[5000] ^ 1]) + log[5001:]
        wild = b"??" + spoilt + log[:3] + b"\x1c" + bytes(4) + b"\xff\xff" + log[:-1]
        lost = self.account(wild)
        self.assertTrue(all(lost.values()), lost)
        generator = random.Random(4)
        for _ in range(20):
            self.account(bytes(b ^ (generator.random() < 1e-4) for b in wild[: generator.randrange(200000)]))

    def account(self, log):
        summary = json.loads(kvx("info", "--json", "-", stdin=None, input=log).stdout)
        lost = {name: n for name, n in summary["lost"].items() if name.endswith("bytes")}
        self.assertEqual((len(log), len(log)), (summary["bytes"], summary["good_bytes"] + sum(lost.values())))
        return lost

    def test_closed_standard_streams(self):
        for stream, args in ((0, ["info", "-"]), (1, ["info", self.log]), (1, ["convert", self.log, "-o", self.out])):
            run = kvx(*args, preexec_fn=lambda: os.close(stream))
            self.assertEqual(FAILED, run.returncode, args)
            self.assertIn(b"kvx: error: standard ", run.stderr)


class Verify(unittest.TestCase):
    """What kvx convert writes is proven, and every way to spoil it is noticed at its place."""

    @classmethod
    def setUpClass(cls):
        kept = tempfile.TemporaryDirectory()
        cls.addClassCleanup(kept.cleanup)
        cls.dir = pathlib.Path(kept.name)
        cls.log, cls.other = cls.dir / "sky.log", cls.dir / "other.log"
        for log, seed in ((cls.log, 1), (cls.other, 2)):
            kvx("simulate", "-o", log, "--every-signal", "--range", "both", "--duration", 120, "--seed", seed)
        for version in ("2.11", "3.04", "3.05", "4.02"):
            assert kvx("convert", cls.log, "-o", cls.dir / version, "--rinex", version).returncode == DONE

    def verify(self, log, *files_and_options):
        run = kvx("verify", log, *files_and_options)
        return run.returncode, run.stdout.decode().splitlines()

    def test_conversions_are_proven(self):
        for version in ("2.11", "3.04", "3.05", "4.02"):
            code, lines = self.verify(self.log, *(self.dir / version).iterdir())
            self.assertEqual(DONE, code, lines)
            self.assertRegex("\n".join(lines), r"120 compared, \d{5,} (?s:.*)ephemerides: .* [1-9]\d* found")
        for options in (("--interval", 30), ("--interval", 7, "--anchor", "first", "--systems", "GE"),
                        ("--satellites", "G*,C1*", "--signals", "1C,C*", "--signal", "G:17=2L"),
                        ("--start", "2024-03-10 12:00:10", "--end", "2024-03-10 12:01:00")):
            out = self.dir / "_".join(map(str, options)).replace("*", "")
            kvx("convert", self.log, "-o", out, *options)
            self.assertEqual(DONE, self.verify(self.log, *out.iterdir(), *options)[0], options)
            self.assertEqual(DAMAGED, self.verify(self.log, *out.iterdir())[0], options)   # others are missing
            self.assertEqual(DAMAGED, self.verify(self.log, *(self.dir / "3.05").iterdir(), *options)[0], options)

    def test_faults_are_named_with_their_place(self):
        observations, = (self.dir / "3.05").glob("*_MO.rnx")
        navigation, = (self.dir / "3.05").glob("*_MN.rnx")
        text, orbits = (path.read_text().splitlines(True) for path in (observations, navigation))
        first, second, third = [n for n, line in enumerate(text) if line.startswith(">") and line[31] == "0"][50:53]
        moved = text[second][:22] + "5" + text[second][23:]
        fewer = text[first][:32] + f"{int(text[first][32:35]) - 1:3}" + text[first][35:]
        digit = text[first + 1][:16] + str((int(text[first + 1][16]) + 1) % 10) + text[first + 1][17:]
        crs = next(n for n, line in enumerate(orbits) if re.match(r"G\d\d ", line)) + 1
        number = orbits[crs][:37] + str((int(orbits[crs][37]) + 1) % 10) + orbits[crs][38:]
        name = text[first + 3][:3]
        for source, change, place, what in (
                (text, {first + 1: [digit]}, first + 1, text[first + 1][:3] + " C1C: .*, the log has"),
                (text, {first: [fewer], first + 3: []}, first, name + " is missing in epoch"),
                (text, {third: [moved, *text[second + 1 : third + 1]]}, third, "no epoch of the log"),
                (orbits, {crs: [number]}, crs, "column 24: .*, the log has")):
            spoilt = self.dir / "spoilt.rnx"
            spoilt.write_text("".join(line for n, old in enumerate(source) for line in change.get(n, [old])))
            code, lines = self.verify(self.log, spoilt, navigation if source is text else observations)
            self.assertEqual(DAMAGED, code, what)
            self.assertRegex(lines[0], f"^{spoilt}:{place + 1}: .*{what}")
        code, lines = self.verify(self.other, observations)
        self.assertEqual(DAMAGED, code)
        self.assertRegex(lines[20], r"^and \d+ more$")
        self.assertEqual(FAILED, self.verify(self.log, self.dir / "no.rnx")[0])
        self.assertEqual(USAGE, self.verify(self.log, self.other)[0])


if __name__ == "__main__":
    unittest.main()
