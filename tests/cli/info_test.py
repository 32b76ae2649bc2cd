"""What `kvx info` and `kvx positions` tell of logs whose faults are known: those of the simulator, which lists what it put in, and recordings
of antennas whose places are known."""

import csv
import functools
import json
import math
import os
import pathlib
import re
import subprocess
import tempfile
import threading
import unittest
import xml.etree.ElementTree

KVX = os.environ["KVX"].split()
RECORDINGS = os.environ.get("RTK_UTILS_RECORDINGS", "")
DONE, FAILED, DAMAGED = 0, 1, 3
# They passed there once; a day takes minutes.
day_long = unittest.skipIf(os.environ.get("KVX_EMULATED"), "an emulator takes minutes for it")


def kvx(*args, code=DONE):
    run = subprocess.run([*KVX, *map(str, args)], capture_output=True, text=True, timeout=300)
    assert run.returncode == code, (args, run.returncode, run.stderr)
    return run


def info(*args, **options):
    return [json.loads(line) for line in kvx("info", "--json", *args, **options).stdout.splitlines()]


def by(rows, key):
    return {row[key]: row for row in rows}


class Info(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.dir = pathlib.Path(folder.name)
        cls.day = ("--duration", 86400, "--rate", 1 / 30)

    def simulate(self, name, *options):
        log = self.dir / name
        return log, kvx("simulate", "-o", log, *options).stderr

    @day_long
    def test_slips_are_found_and_no_others(self):
        log, told = self.simulate("slips", *self.day, "--slips", 40, "--seed", 3)
        put_in = {(m[2], m[3]): (int(m[1]), m[4])
                  for m in re.finditer(r"slip of (-?\d+) cycles at (\S+ \S+): (\S+) L(\S+)", told)}
        self.assertEqual(len(put_in), 40)
        slips = info(log)[0]["slips"]
        found = {(s["time"], s["satellite"]): s for s in slips["list"]}
        self.assertGreaterEqual(len(put_in.keys() & found.keys()), 38)
        self.assertLessEqual(len(found.keys() - put_in.keys()), 2)
        for place in put_in.keys() & found.keys():   # signal and size, where it says them
            cycles, signal = put_in[place]
            self.assertIn(signal, found[place]["signals"])
            if "cycles" in found[place] and found[place]["signals"] == [signal]:
                self.assertAlmostEqual(found[place]["cycles"], cycles, delta=0.5)

    @day_long
    def test_a_day_without_faults(self):
        log, _ = self.simulate("day", *self.day)
        result = info(log)[0]
        self.assertEqual((result["slips"]["count"], result["clock_jumps"]["count"], result["gaps"]), (0, 0, 0))
        for signal in result["signals"]:   # the noise that the simulator has
            self.assertEqual((signal["above_10"], signal["half_cycles"]), (signal["observations"], 0), signal)
            self.assertLessEqual(signal["possible"] - signal["above_10"], 0.005 * signal["possible"], signal)
            if signal["signal"][0] != "S":
                self.assertAlmostEqual(signal["multipath"]["rms"], 0.3, delta=0.03, msg=signal)
        computed, receiver = result["positions"]["computed"], result["positions"]["receiver"]
        self.assertEqual(computed["positions"], 2880)
        self.assertLess(computed["within_95"], 3.0)
        self.assertLess(math.dist(computed["mean"], receiver["mean"]), 0.1)
        self.assertLess(max(computed["scatter"]), 1.5)

    @day_long
    def test_multipath_and_obstruction_are_as_they_were_put_in(self):
        log, _ = self.simulate("shaded", *self.day, "--multipath", 1, "--obstruction", "0,120,50")
        result = info(log)[0]
        for signal in result["signals"]:
            if signal["signal"][0] != "S":
                self.assertAlmostEqual(signal["multipath"]["rms"], 1.0, delta=0.15, msg=signal)
        missing = sum(s["possible"] - s["above_10"] for s in result["satellites"])
        self.assertGreater(missing, 0.05 * sum(s["possible"] for s in result["satellites"]))

    def test_a_log_and_its_files_are_told_alike(self):
        log, _ = self.simulate("both", "--duration", 3600, "--rate", 0.2, "--every-signal", "--slips", 5)
        kvx("convert", log, "-o", self.dir / "rinex", "--marker", "SITE", "--crx", "--zst")
        observations, = (self.dir / "rinex").glob("*O.crx.zst")
        navigation, = (self.dir / "rinex").glob("*N.rnx.zst")
        told, files = info(log)[0], info(observations, navigation)
        self.assertEqual((len(files), files[0]["kind"], files[0]["errors"]), (1, "observations", 0))
        of_files = by(files[0]["signals"], "signal")
        for signal in told["signals"]:
            same = of_files.pop(signal["signal"])
            for count in ("satellites", "observations", "phases", "half_cycles", "slips"):
                self.assertEqual(same[count], signal[count], signal["signal"] + " " + count)
            if "multipath" in signal:
                self.assertAlmostEqual(same["multipath"]["rms"], signal["multipath"]["rms"], delta=0.002)
            self.assertAlmostEqual(same["cn0"]["median"], signal["cn0"]["median"], delta=0.5)
        self.assertEqual(of_files, {})
        places = [r["positions"]["computed"]["mean"] for r in (told, files[0])]
        self.assertLess(math.dist(*places), 0.2)
        alone = by(info(navigation)[0]["satellites"], "satellite")
        self.assertTrue(all(alone[s["satellite"]]["ephemerides"] >= 1 for s in told["satellites"] if s["ephemerides"]))

    def test_selections_hold_and_quick_counts_the_same(self):
        log, _ = self.simulate("few", "--duration", 600)
        whole = by(info(log)[0]["signals"], "signal")
        quick = by(info("--quick", log)[0]["signals"], "signal")
        self.assertEqual({k: v["observations"] for k, v in whole.items()},
                         {k: v["observations"] for k, v in quick.items()})
        chosen = info(log, "--systems", "GE", "--signals", "1C,5*", "--start", "2024-03-10 12:05:00", "--interval", 30)[0]
        self.assertEqual({s["signal"] for s in chosen["signals"]}, {k for k in whole if re.match("[GE](1C|5)", k)})
        self.assertEqual((chosen["epochs"], max(s["epochs"] for s in chosen["satellites"])), (600, 10))

    def test_every_lost_byte_has_its_place(self):
        log, _ = self.simulate("damaged", "--duration", 60, "--damage", 30)
        result, = info(log, code=DAMAGED)
        lost = result["lost"]
        self.assertEqual(sum(d["bytes"] for d in lost["list"]), result["bytes"] - result["good_bytes"])
        ends = [0, *(d["byte"] + d["bytes"] for d in lost["list"])]
        self.assertTrue(all(end <= d["byte"] for end, d in zip(ends, lost["list"])), lost["list"])

    def test_a_clock_that_is_set_is_told(self):
        log, _ = self.simulate("clock", "--duration", 120)
        kvx("convert", log, "-o", self.dir / "set", "--marker", "SITE")
        observations, = (self.dir / "set").glob("*_MO.rnx")
        head, body = observations.read_text().split("END OF HEADER", 1)
        later = 299792.458   # m: a millisecond

        def shifted(line):   # the pseudorange of each of C, L, D, S
            fields = [line[3 + 16 * i:19 + 16 * i] for i in range(len(line[3:]) // 16 + 1)]
            fields = [f"{float(f[:14]) + later:14.3f}" + f[14:] if i % 4 == 0 and f[:14].strip() else f
                      for i, f in enumerate(fields)]
            return line[:3] + "".join(fields)

        epochs = body.split("\n> ")
        for i in range(60, len(epochs)):
            first, *rows = epochs[i].split("\n")
            if first[29:31].strip() == "0":
                epochs[i] = "\n".join([first, *(shifted(r) if r[:1].isalpha() else r for r in rows)])
        observations.write_text(head + "END OF HEADER" + "\n> ".join(epochs))
        jumps = info(observations, *(self.dir / "set").glob("*N.rnx"))[0]["clock_jumps"]
        self.assertEqual(jumps["count"], 1)
        self.assertAlmostEqual(jumps["list"][0]["milliseconds"], 1.0, delta=0.001)

    @unittest.skipUnless(RECORDINGS, "the recordings are not here")
    def test_recorded_antennas_are_found_where_they_are(self):
        for name, true, files in (("denmark_30s", (3582105.2910, 532589.7313, 5232754.8054), ("*.20O", "*.20P")),
                                  ("japan_1hz", (-3962108.4557, 3381308.8777, 3668678.1749), ("*.21O", "*.21P"))):
            folder = pathlib.Path(RECORDINGS) / name
            for inputs in ([folder / (name + ".log")], [p for pattern in files for p in folder.glob(pattern)]):
                computed = info(*inputs)[0]["positions"]["computed"]
                self.assertLess(math.dist(computed["mean"], true), 1.5, inputs)
                if "within_95" in computed:   # of the receiver's own positions, which are the true one
                    self.assertLess(computed["within_95"], 3.0)

    def test_positions_are_the_same_in_every_format(self):
        log, _ = self.simulate("drive", "--duration", 200, "--moving")

        def track(form, *options):
            return kvx("positions", log, "--format", form, *options).stdout

        rows = list(csv.DictReader(track("csv").splitlines()))
        points = [(float(r["latitude"]), float(r["longitude"])) for r in rows if r["what"] == "receiver"]
        self.assertEqual(len(points), 200)
        features = json.loads(track("geojson"))["features"]
        self.assertEqual([(lat, lon) for lon, lat, _ in features[0]["geometry"]["coordinates"]], points)
        self.assertEqual([f["properties"]["name"] for f in features[1:]], [r["what"] for r in rows[200:]])
        gpx = xml.etree.ElementTree.fromstring(track("gpx"))
        self.assertEqual([(float(p.get("lat")), float(p.get("lon"))) for p in gpx.findall(".//{*}trkpt")], points)
        kml = xml.etree.ElementTree.fromstring(track("kml"))
        self.assertEqual([tuple(map(float, p.text.split()[1::-1])) for p in kml.findall(".//{*}coord")], points)
        self.assertEqual({p.find("{*}time").text for p in gpx.findall(".//{*}wpt")},
                         {p.text for p in kml.findall(".//{*}TimeStamp/{*}when")})
        for i, line in enumerate(l for l in track("nmea").splitlines() if "GGA" in l):
            self.assertEqual(functools.reduce(lambda a, c: a ^ ord(c), line[1:-3], 0), int(line[-2:], 16))
            lat, lon = (line.split(",")[n] for n in (2, 4))
            self.assertAlmostEqual(int(lat[:2]) + float(lat[2:]) / 60, points[i][0], delta=2e-9)
            self.assertAlmostEqual(int(lon[:3]) + float(lon[3:]) / 60, points[i][1], delta=2e-9)
        for row, true in zip(csv.DictReader(track("csv", "--computed").splitlines()), points):
            self.assertLess(math.dist((float(row["latitude"]), float(row["longitude"])), true), 3e-5)   # degrees

    def test_a_pipe_is_opened_once(self):
        log, _ = self.simulate("short", "--duration", 5)
        pipe = self.dir / "pipe"
        os.mkfifo(pipe)
        for command, *options in (("info",), ("positions",), ("positions", "--computed")):
            told = kvx(command, log, *options).stdout.replace(str(log), str(pipe))
            writer = threading.Thread(target=lambda: pipe.write_bytes(log.read_bytes()))
            writer.start()
            piped = kvx(command, pipe, *options).stdout
            writer.join()
            marks = [line for line in told.splitlines() if line.rpartition(",")[2][:4] in ("mark", "site")]
            self.assertEqual(set(told.splitlines()) - set(piped.splitlines()) - set(marks), set())

    def test_what_cannot_be_read_does_not_stop_the_others(self):
        log, _ = self.simulate("good", "--duration", 5)
        run = kvx("info", self.dir / "missing", log, code=FAILED)
        self.assertIn("missing", run.stderr)
        self.assertIn("5 epochs", run.stdout)


if __name__ == "__main__":
    unittest.main()
