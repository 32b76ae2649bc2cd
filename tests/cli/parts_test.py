"""`kvx convert` of sessions in several logs, into several files, and of a log that is being written. The law behind all of these: what comes out
is what comes of the whole log at once."""

import os
import pathlib
import re
import signal
import subprocess
import tempfile
import time
import unittest

import logs

KVX = os.environ["KVX"].split()
DONE, USAGE, DAMAGED, TERMINATED = 0, 2, 3, 128 + signal.SIGTERM
DATE = b"PGM / RUN BY / DATE"


def kvx(*args, code=DONE):
    run = subprocess.run([*KVX, *map(str, args)], capture_output=True, text=True, timeout=300)
    assert run.returncode == code, (args, run.returncode, run.stdout, run.stderr)
    return run


def contents(folder):
    """Files without the line that tells when they were made."""
    return {f.name: b"\n".join(line for line in f.read_bytes().splitlines() if not line.endswith(DATE))
            for f in sorted(folder.iterdir()) if not f.name.startswith(".")}


def epochs(path):
    """Records behind the header by time, each value under the name of its type."""
    head, body = re.split("END OF HEADER *\n", path.read_text(), maxsplit=1)
    types = {}
    for line in re.findall(r"^(.{60})SYS / # / OBS TYPES", head, re.M):
        system = line[0] if line[0] != " " else system
        types.setdefault(system, []).extend(line[6:].split())
    out, events = [], []
    for record in re.split(r"^> ", body, flags=re.M)[1:]:
        first, *rows = record.splitlines()
        if first[29] != "0":
            events.append(record)
            continue
        out.append((first, {row[:3]: {t: row[3 + 16 * i : 19 + 16 * i].ljust(16) for i, t in enumerate(types[row[0]])
                                      if row[3 + 16 * i : 19 + 16 * i].strip()} for row in rows}))
    return out, events


class Parts(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.dir = pathlib.Path(folder.name)
        cls.log = cls.dir / "whole.log"
        kvx("simulate", "-o", cls.log, "--duration", 1500, "--slips", 10, "--start", "2024-03-10 11:50:00")
        cls.bytes = cls.log.read_bytes()
        kvx("convert", cls.log, "-o", cls.dir / "whole", "--marker", "TEST", "--xyz")
        cls.whole = contents(cls.dir / "whole")

    def pieces(self, *shares):
        paths = []
        for begin, end in shares:
            paths.append(self.dir / f"{begin}-{end}.log")
            paths[-1].write_bytes(self.bytes[int(begin * len(self.bytes)) : int(end * len(self.bytes))])
        return paths

    def join(self, name, *logs, code=DONE):
        out = self.dir / name
        told = kvx("convert", "--join", *logs, "-o", out, "--marker", "TEST", "--xyz", "--verify", code=code).stdout
        self.assert_same(contents(out), self.whole)
        return told

    def assert_same(self, some, others):
        self.assertEqual(some.keys(), others.keys())
        for name in some:   # unittest would look for the differences of megabytes
            self.assertTrue(some[name] == others[name], name)

    def test_cut_anywhere_and_joined_is_the_whole(self):
        told = self.join("cut", *reversed(self.pieces((0, 0.2), (0.2, 0.50001), (0.50001, 0.9), (0.9, 1))))
        self.assertIn(f"nothing lost: good frames make up all {len(self.bytes)} bytes", told)

    def test_what_several_logs_have_stands_once(self):
        told = self.join("common", *self.pieces((0.3, 1), (0, 0.6), (0.4, 0.45)), code=DAMAGED)   # cut within frames
        self.assertRegex(told, r"in several logs, taken once: \d+ epochs")
        kvx("verify", "--join", *self.pieces((0.3, 1), (0, 0.6)), *self.dir.glob("common/*.rnx"))

    def test_each_log_fills_the_holes_of_the_other(self):
        frames = list(logs.frames(self.bytes))
        ranges = [i for i, (message, _) in enumerate(frames) if message == logs.RANGE]
        paths = []
        for odd in 0, 1:
            gone = {i for n, i in enumerate(ranges) if n // 100 % 2 == odd}
            paths.append(self.dir / f"holes{odd}.log")
            paths[-1].write_bytes(b"".join(frame for i, (_, frame) in enumerate(frames) if i not in gone))
        self.join("holes", *paths)

    def test_gaps_are_told(self):
        first, second = self.pieces((0, 0.4), (0.6, 1))
        told = kvx("convert", "--join", second, first, "-o", self.dir / "gap", "--verify", code=DAMAGED).stdout
        self.assertRegex(told, r"gap from 2024-03-10 12:00:\S+ to 2024-03-10 12:05:\S+: \d{3}\.00 s")

    def test_parts_are_cut_at_units_and_stand_alone(self):
        out = self.dir / "parts"
        kvx("convert", self.log, "-o", out, "--marker", "TEST", "--xyz", "--split", "15m", "--verify")
        names = [f"TEST00XXX_R_2024070{hour}_15M" for hour in ("1145", "1200")]
        self.assertEqual({n + e for n in names for e in ("_01S_MO.rnx", "_MN.rnx", "_01S.xyz")}, set(contents(out)))
        parts = [epochs(out / f"{name}_01S_MO.rnx") for name in names]
        self.assertEqual(parts[1][0][0][0][:16], "2024 03 10 12 00")
        self.assertTrue(tuple(map(sum, zip(*parts), ([], []))) == epochs(next(self.dir.glob("whole/*_MO.rnx"))))
        self.assertEqual(b"".join(f.read_bytes() for f in sorted(out.glob("*.xyz"))),
                         next(self.dir.glob("whole/*.xyz")).read_bytes())
        kvx("check", "--strict", *out.glob("*.rnx"))
        for name in names:   # satellites observed have an ephemeris each, if the log has told it by then
            observed = {s for _, satellites in epochs(out / f"{name}_01S_MO.rnx")[0] for s in satellites}
            told = set(re.findall(r"^([GRECJS]\d\d) ", (out / f"{name}_MN.rnx").read_text(), re.M))
            known = set(re.findall(rb"^([GRECJS]\d\d) ", next(v for k, v in self.whole.items() if "MN" in k), re.M))
            self.assertEqual({s for s in observed if s.encode() in known} - told, set(), name)

    def test_events_stand_in_their_unit(self):
        out = self.dir / "minutes"
        kvx("convert", self.log, "-o", out, "--marker", "TEST", "--split", "1m", "--nav", "none")
        told = [(f.name, event) for f in out.iterdir() for event in epochs(f)[1]]
        self.assertEqual(sorted(e for _, e in told), sorted(epochs(next(self.dir.glob("whole/*_MO.rnx")))[1]))
        for name, event in told:
            self.assertEqual(event[11:16].replace(" ", ""), name[19:23])

    def test_a_clock_set_back_into_another_unit_ends_the_part(self):
        log = self.dir / "back.log"   # the second file of the first run lies behind those of the second run
        log.write_bytes(b"".join(piece.read_bytes() for piece in self.pieces((0, 0.19), (0.61, 0.79), (0, 0.59))))
        kvx("convert", log, "-o", self.dir / "back", "--name", "b", "--split", "5m", "--verify", code=DAMAGED)
        begins = {f.name: epochs(f)[0][0][0][11:16] for f in self.dir.glob("back/*_MO.rnx")}
        self.assertEqual(begins, {"b_MO.rnx": "11 50", "b_2_MO.rnx": "12 05", "b_3_MO.rnx": "11 50",
                                  "b_4_MO.rnx": "11 55", "b_5_MO.rnx": "12 00"})

    def test_wrong_options_are_named(self):
        for options in (["--split", "7m"], ["--split", "2d"], ["--split", "0h"], ["--join", "-"], ["--join", "--follow"],
                        ["--as-host", "--split", "1h"], ["--follow", "--verify"]):
            self.assertIn(f"error: {options[0]}: ", kvx("convert", self.log, *options, code=USAGE).stderr)

    moment = 8 if os.environ.get("KVX_EMULATED") else 1.5   # s, in which a follower has read what there is

    def wait_for(self, what, follower, seconds=60):
        end = time.monotonic() + seconds
        while not what():
            self.assertIsNone(follower.poll(), "it has ended")
            self.assertLess(time.monotonic(), end)
            time.sleep(0.02)

    def test_a_log_that_grows_is_followed(self):
        out, log = self.dir / "followed", self.dir / "growing.log"
        part = lambda begin, end: self.bytes[int(len(self.bytes) * begin) : int(len(self.bytes) * end)]
        log.write_bytes(part(0, 0.1))
        command = [*KVX, "convert", "--follow", str(log), "-o", str(out), "--marker", "TEST", "--split", "5m"]
        follower = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        parts = lambda: len(list(out.glob("TEST*_MO.rnx")))
        with log.open("ab") as file:
            for tenth in range(1, 5):
                file.write(part(tenth / 10, (tenth + 1) / 10))
                file.flush()
            self.wait_for(lambda: parts() == 2, follower)   # while the third fills
            log.rename(self.dir / "growing.log.1")
            file.write(part(0.5, 0.6))   # its writer has not heard of it
        log.write_bytes(part(0.6, 0.78))
        self.wait_for(lambda: parts() == 3, follower)
        time.sleep(self.moment)
        log.write_bytes(part(0.78, 0.88))   # cut, and written anew
        self.wait_for(lambda: parts() == 4, follower)
        with log.open("ab") as file:
            file.write(part(0.88, 1))
        time.sleep(self.moment)
        follower.send_signal(signal.SIGTERM)
        told, errors = follower.communicate(timeout=60)
        self.assertEqual(follower.returncode, TERMINATED, errors)
        self.assertIn("is another file now", errors)
        self.assertIn("was cut from", errors)
        self.assertIn(f"nothing lost: good frames make up all {len(self.bytes)} bytes", told)
        kvx("verify", self.log, *sorted(out.glob("*.rnx")))

        # Started anew it finds names taken, and takes others.
        before = contents(out)
        self.feed_and_end([*KVX, "convert", "-", *command[len(KVX) + 3 :]], self.bytes)
        after = contents(out)
        self.assert_same(before, {name: after[name] for name in before})
        self.assertEqual(len(after), 2 * len(before))
        self.assertIn("TEST00XXX_R_20240701200_05M_01S_2_MO.rnx", after)

    def feed_and_end(self, command, data):
        """A pipe that would go on."""
        reader = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        reader.stdin.write(data)
        reader.stdin.flush()
        time.sleep(self.moment)
        reader.send_signal(signal.SIGTERM)
        _, errors = reader.communicate(timeout=60)
        self.assertEqual(reader.returncode, TERMINATED, errors)


if __name__ == "__main__":
    unittest.main()
