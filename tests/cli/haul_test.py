"""haul_test.py: logs over the instants at which clocks and calendars jump; with --day instead, memory over a whole day."""

import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

KVX = os.environ["KVX"]
DAY = "--day" in sys.argv
CROSSINGS = {   # two minutes on either side, GPS time
    "week 2047 to 2048": "2019-04-06 23:58:00",
    "leap second, day and year": "2016-12-31 23:58:00",
    "leap second in GPS time": "2016-12-31 23:58:17",
    "29 February": "2024-02-28 23:58:00",
    "year that ends in a week": "2023-12-30 23:58:00",
}
EPOCH = re.compile(r"^> (\d{4} \d\d \d\d) (\d\d) (\d\d) ([ \d]\d)\.0{7}  0", re.M)
ROOM = 2 << 20   # bytes that a day may take beyond an hour: a summary grows by satellites and ephemerides, not by epochs


def kvx(*args):
    """(exit code, standard output, greatest memory in bytes)"""
    with tempfile.NamedTemporaryFile("r") as memory:
        # The greatest memory of a child counts that of the parent it was forked from: here one that has next to none.
        timed = ["/usr/bin/time", "-q", "-f", "%M", "-o", memory.name] if DAY else []
        run = subprocess.run([*timed, KVX, *map(str, args)], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, text=True)
        return run.returncode, run.stdout, int(memory.read() or 0) * 1024


class Haul(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.dir = pathlib.Path(scratch.name)

    def run_kvx(self, *args):
        code, printed, memory = kvx(*args)
        self.assertEqual(0, code, printed)
        return memory

    def simulated(self, start, seconds):
        log = self.dir / (re.sub(r"\W", "", start) + f"_{seconds}.log")
        self.run_kvx("simulate", "-o", log, "--start", start, "--duration", seconds)
        return log

    def proven(self, log, version):
        """Converts, checks, proves; the greatest memory of conversion and proof, and the observation file."""
        out = self.dir / (log.stem + version)
        converting = self.run_kvx("convert", log, "-o", out, "--rinex", version, "--marker", "HAUL", "--agency", "A", "--observer", "O")
        self.run_kvx("check", "--strict", *out.iterdir())
        proving = self.run_kvx("verify", log, *out.iterdir())
        file, = out.glob("*_MO.rnx")
        return converting, proving, file

    @unittest.skipIf(DAY, "the day alone")
    def test_crossings(self):
        for name, start in CROSSINGS.items():
            log = self.simulated(start, 240)
            for version in ("3.04", "4.02"):
                with self.subTest(name, version=version):
                    *_, file = self.proven(log, version)
                    epochs = EPOCH.findall(file.read_text())
                    of_day = [int(h) * 3600 + int(m) * 60 + int(s) for _, h, m, s in epochs]
                    self.assertEqual([(of_day[0] + k) % 86400 for k in range(240)], of_day)
                    self.assertEqual(2, len({day for day, *_ in epochs}))

    @unittest.skipUnless(DAY, "takes minutes: ./dev haul")
    def test_memory_of_a_day_is_that_of_an_hour(self):
        hour, day = (self.proven(self.simulated("2024-03-10 00:00:00", seconds), "3.04") for seconds in (3600, 86400))
        with day[2].open() as lines:
            self.assertEqual(86400, sum(1 for line in lines if EPOCH.match(line)))
        for what, small, large in zip(("convert", "verify"), hour, day):
            print(f"kvx {what}: {small / 1e6:.1f} MB for an hour, {large / 1e6:.1f} MB for a day")
        self.assertLess(0, hour[0])
        self.assertLessEqual(day[0], hour[0] + ROOM)


if __name__ == "__main__":
    unittest.main(argv=[argument for argument in sys.argv if argument != "--day"])
