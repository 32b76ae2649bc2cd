"""The Python module: its arrays are what kvx writes, however the log comes; what it is asked wrongly it refuses.

With --day instead: the memory of epochs over a day is that over an hour.
"""

import concurrent.futures
import datetime
import gc
import gzip
import json
import mmap
import os
import pathlib
import pickle
import resource
import shutil
import signal
import subprocess
import sys
import tempfile
import unittest

HERE = pathlib.Path(__file__).parent
sys.path[:0] = [os.environ["PACKAGES"], str(HERE.parent / "support"), str(HERE.parent / "cli")]

import numpy
import rtk_utils

import logs
import navigation_reader
import rinex_reader

KVX = os.environ["KVX"]
RECORDINGS = os.environ.get("RTK_UTILS_RECORDINGS")
DAY = "--day" in sys.argv
ROOM = 4 << 20   # bytes that a day may take beyond an hour
KINDS = {"C": "pseudorange", "L": "phase", "D": "doppler", "S": "cn0"}
HALF = 0.0005 + 4e-8   # of the last digit; what lies between two digits is a double, too
START = numpy.datetime64("2024-03-10 12:00:00")


def kvx(*args, codes=(0,)):
    run = subprocess.run([KVX, *map(str, args)], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    assert run.returncode in codes, run
    return run.stdout


def printed(path):
    """(ticks, satellite, code of the signal) and its values and digit, in the order of a file."""
    lines = rinex_reader.read_lines(path)
    header = rinex_reader.Header(lines)
    for ticks, satellites in rinex_reader.observations(lines, header):
        for name, values in satellites.items():
            for code in sorted({code[1:] for code in values}):
                digits = values["L" + code].lli if "L" + code in values else " "
                yield (ticks, name, code), [float(values[k + code].text) if k + code in values else numpy.nan for k in KINDS], int(digits.strip() or 0)


def ticks_of(times):
    """As the reader of files counts them."""
    return times.astype("datetime64[ns]").astype(int) // 100 + datetime.date(1970, 1, 1).toordinal() * 86400 * rinex_reader.TICKS_PER_SECOND


class Scratch(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.dir = pathlib.Path(scratch.name)

    def simulated(self, *options, name="made.log"):
        kvx("simulate", "-o", self.dir / name, "--force", *options)
        return self.dir / name


@unittest.skipIf(DAY, "the day alone")
class Values(Scratch):
    def compare(self, log, options=(), **wanted):
        """The observations of a log against the files that kvx writes of it."""
        out = pathlib.Path(tempfile.mkdtemp(dir=self.dir))
        kvx("convert", log, "-o", out, "--name", "x", *options, codes=(0, 3))   # 3: damaged
        files = sorted(out.glob("x*.rnx"), key=lambda file: (len(file.name), file.name))
        rows = [row for file in files if "_MN" not in file.name for row in printed(file)]
        data = rtk_utils.read(log, **wanted)
        o = data.observations
        self.assertGreater(len(rows), 50)
        self.assertEqual([key for key, *_ in rows], list(zip(ticks_of(o.time), o.satellite, o.code)))
        for kind, (name, column) in enumerate(zip(KINDS.values(), numpy.array([values for _, values, _ in rows]).T)):
            numpy.testing.assert_allclose(getattr(o, name), column, rtol=0, atol=HALF, equal_nan=True, err_msg=name)
        self.assertEqual([digit for *_, digit in rows], list(o.lli))
        return data, out

    def logs(self):
        yield "all that boards send", self.simulated("--every-signal", "--range", "both", "--duration", 120, "--slips", 9)
        yield "damaged", self.simulated("--range", "140", "--rate", 5, "--duration", 60, "--damage", 20)
        log = self.simulated("--duration", 200).read_bytes()
        changed = self.dir / "changed.log"
        changed.write_bytes(logs.at_other_time(log, {50, 51, 120}, weeks=3))
        yield "epochs out of order", changed
        changed.write_bytes(logs.at_other_time(log, range(90, 200), ms=-60500))
        yield "clock set back", changed
        changed.write_bytes(logs.with_echoes(logs.split_epochs(log)))
        yield "epochs in pieces, and echoes", changed
        for name in ("denmark_30s", "japan_1hz") if RECORDINGS else ():
            yield name, pathlib.Path(RECORDINGS, name, name + ".log")

    def test_values_are_those_of_the_files_and_epochs_those_of_the_whole(self):
        for name, log in self.logs():
            with self.subTest(name):
                data, _ = self.compare(log)
                epochs = list(rtk_utils.Log(log).epochs())
                for column in data.observations.columns[1:]:
                    joined = numpy.concatenate([getattr(epoch, column) for epoch in epochs])
                    numpy.testing.assert_array_equal(joined, getattr(data.observations, column), column)
                numpy.testing.assert_array_equal(numpy.repeat([e.time for e in epochs], [len(e) for e in epochs]), data.observations.time)

    def test_selections_are_those_of_kvx(self):
        log = self.simulated("--duration", 400, "--rate", 2, "--every-signal")
        start, end = "2024-03-10 12:01:00", "2024-03-10T12:05:00.5"
        self.compare(log, ("--systems", "GE", "--signals", "1C,G2*", "--interval", 30), systems="GE", signals=["1C", "G2*"], interval=30)
        self.compare(log, ("--satellites", "G*,C1?", "--start", start, "--end", end), satellites="G*,C1?",
                     start=numpy.datetime64(start), end=datetime.datetime.fromisoformat(end))
        self.compare(log, ("--signal", "G:17=2L"), names="G:17=2L")
        thin = rtk_utils.Log(log, interval=numpy.timedelta64(1, "m"), systems="R")
        self.assertEqual(numpy.timedelta64(60, "s"), numpy.diff([e.time for e in pickle.loads(pickle.dumps(thin)).epochs()])[0])

    def test_ephemerides_are_those_of_the_file(self):
        for log in [self.simulated("--duration", 400), *([pathlib.Path(RECORDINGS, "denmark_30s/denmark_30s.log")] if RECORDINGS else [])]:
            data, out = self.compare(log)
            file, = (path for path in out.iterdir() if path.name.endswith(".rnx") and path.read_text(errors="replace")[20] == "N")
            e, (_, header, records) = data.ephemerides, navigation_reader.read_navigation(file)
            self.assertEqual([record.satellite for record in records], list(e.satellite))
            self.assertEqual([record.time for record in records], [(t - numpy.datetime64("1980-01-06")) / numpy.timedelta64(1, "s") for t in e.time])
            for record, numbers in zip(records, e.numbers):
                padded = [line + [None] * ((4 if k else 3) - len(line)) for k, line in enumerate(record.fields)]
                told = [numpy.nan if field is None else float(field) for line in padded for field in line]
                numpy.testing.assert_allclose(numbers[: len(told)], told, rtol=1e-11, atol=0)
            k, s = e.kepler, e.states
            self.assertEqual(len(e), len(k) + len(s))
            radius = numpy.sqrt(s["x"] ** 2 + s["y"] ** 2 + s["z"] ** 2)
            self.assertTrue(((5000 < k["sqrt_a"]) & (k["sqrt_a"] < 6600) & (k["e"] < 0.2) & (abs(k["i0"]) < 1.2)).all())
            self.assertTrue(((25000 < radius) & (radius < 43000)).all())
            self.assertIn(f"{data.leap_seconds:6}", next(line for line in header if "LEAP SECONDS" in line))
            self.assertEqual((2, 4), data.ionosphere.shape)

    def test_positions_and_events(self):
        log = self.simulated("--duration", 600, "--every-signal")
        data = rtk_utils.read(log, observations=False)
        self.assertEqual(0, len(data.observations))
        rows = [line.split(",") for line in kvx("positions", log).decode().splitlines()[1:]]
        mine = data.positions[data.positions.cartesian]
        told = [row for row in rows if row[-1] == "receiver"]
        self.assertEqual([numpy.datetime64(row[0], "ns") for row in told], list(mine.time))
        numpy.testing.assert_allclose(mine.geodetic, [[float(x) for x in row[1:4]] for row in told], rtol=0, atol=6e-5)
        self.assertEqual({"mark", "site", "moving"}, set(data.events.kind))
        self.assertEqual(len(rows) - len(told), numpy.count_nonzero(data.events.kind != "moving"))

    def test_channels(self):
        channels = rtk_utils.read(self.simulated("--systems", "R")).glonass_channels
        self.assertTrue(len(channels) > 3 and all(name[0] == "R" and -7 <= channel <= 6 for name, channel in channels.items()))


@unittest.skipIf(DAY, "the day alone")
class Inputs(Scratch):
    def test_ways_in(self):
        log = self.simulated("--duration", 60)
        content = log.read_bytes()
        packed = gzip.compress(content)
        (self.dir / "x.gz").write_bytes(packed)
        zst = self.simulated("--duration", 60, name="x.log.zst")
        want = rtk_utils.read(str(log)).observations.to_structured()
        odd = os.fsencode(self.dir) + b"/\xfe.log"   # no name of UTF-8
        shutil.copy(log, odd)
        for source in (os.fsdecode(odd), numpy.str_(log), mmap.mmap(os.open(log, os.O_RDONLY), 0, prot=mmap.PROT_READ), log, os.fsencode(log), content, bytearray(content), memoryview(content), packed, self.dir / "x.gz", zst):
            if source == os.fsencode(log):   # bytes are contents, a path is text
                self.assertRaises(ValueError, rtk_utils.read, source)
                continue
            numpy.testing.assert_array_equal(want, rtk_utils.read(source).observations.to_structured())
        open_files = len(os.listdir("/proc/self/fd"))
        for _ in range(20):
            next(rtk_utils.Log(content).epochs())
        gc.collect()
        self.assertEqual(open_files, len(os.listdir("/proc/self/fd")))

    def test_losses_are_those_of_kvx(self):
        log = self.simulated("--duration", 60, "--damage", 12)
        content = log.read_bytes()
        log.write_bytes(content + b"tail" + content[: len(content) // 2])
        lost = rtk_utils.read(log).losses
        told = json.loads(subprocess.run([KVX, "convert", "--json", log, "-o", self.dir], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout)
        self.assertTrue(lost)
        self.assertEqual(told["bytes"], lost.bytes)
        self.assertEqual({message["id"]: message["frames"] for message in told["messages"]}, lost.messages)
        for name in ("skipped_bytes", "bad_checksum", "bad_checksum_bytes", "refused", "too_long", "torn_bytes"):
            self.assertEqual(told["lost"][name], getattr(lost, name), name)
        self.assertEqual(lost.bytes - lost.good_bytes, sum(size for _, size, _ in lost.places))
        epochs = rtk_utils.Log(log).epochs()
        for _ in epochs:
            pass
        self.assertEqual(lost, epochs.losses)
        self.assertFalse(rtk_utils.read(self.simulated("--duration", 9)).losses)

    def test_cut_compressed_file(self):
        packed = gzip.compress(self.simulated("--duration", 60).read_bytes())
        data = rtk_utils.read(packed[: len(packed) // 2])
        self.assertGreater(len(data.observations), 1000)
        self.assertTrue(data.losses and data.losses.cut_off)

    def test_what_is_no_log(self):
        for source, error, words in (
                (self.dir / "none", FileNotFoundError, "none"), (self.dir, IsADirectoryError, str(self.dir)), ("a\0b", ValueError, "null"),
                (os.fsdecode(b"/dev/\xfe"), FileNotFoundError, "udcfe"), (None, TypeError, "NoneType"), (7, TypeError, "int"), (b"", ValueError, "<bytes>.*an empty file"),
                (b"%PDF-1.4" + bytes(99), ValueError, "<bytes>.*a PDF document"), (os.urandom(1 << 16), ValueError, "no frame")):
            with self.subTest(words):
                self.assertRaisesRegex(error, words, rtk_utils.read, source)
                self.assertRaisesRegex(error, words, lambda: list(rtk_utils.Log(source).epochs()))

    def test_wrong_wishes(self):
        for wish in ({"systems": "GX"}, {"systems": ""}, {"interval": -1}, {"interval": float("nan")}, {"interval": 1e9}, {"start": "yesterday"}, {"start": "now"}, {"satellites": "g05"}, {"signals": "L1C"},
                     {"start": numpy.datetime64("99999-01-01")},
                     {"end": "NaT"}, {"end": "2024-03-10T12:10:00+00:05"}, {"end": "2024-03-10 12:10:00Z"}, {"start": datetime.datetime.now(datetime.timezone.utc)}, {"names": "G:99=2L"}):
            with self.subTest(wish):
                self.assertRaises(ValueError, rtk_utils.read, b"", **wish)
        for wish in ({"satellites": [1]}, {"signals": b"1C"}, {"interval": "30"}, {"systems": ["G"]}, {"start": 7}):
            with self.subTest(wish):
                self.assertRaisesRegex(TypeError, f"^{next(iter(wish))}: ", rtk_utils.read, b"", **wish)
        self.assertRaisesRegex(TypeError, "elements of 8", rtk_utils.read, numpy.zeros(9))

    def test_impossible_times_are_no_times(self):
        log = self.simulated("--duration", 5, "--start", "2024-03-10 12:00:00").read_bytes()
        far = rtk_utils.read(logs.at_other_time(log, range(5), weeks=60000)).observations
        self.assertTrue(len(far) > 100 and numpy.isnat(far.time).all())


@unittest.skipIf(DAY, "the day alone")
class Iterating(Scratch):
    def test_two_at_once_and_after_the_end(self):
        log = rtk_utils.Log(self.simulated("--duration", 30))
        both = [(a.time, b.time) for a, b in zip(log.epochs(), log.epochs())]
        self.assertEqual([(START + k, START + k) for k in range(30)], both)
        with log.epochs() as epochs:
            self.assertEqual(START, next(epochs).time)
        self.assertRaises(StopIteration, next, epochs)
        self.assertGreater(epochs.losses.bytes, 0)
        epochs.close()
        bad = rtk_utils.Log(b"no log").epochs()
        self.assertRaises(ValueError, next, bad)
        self.assertRaises(StopIteration, next, bad)

    def test_arrays_outlive_the_reading(self):
        epochs = list(rtk_utils.Log(self.simulated("--duration", 30)).epochs())
        gc.collect()
        self.assertEqual(30, len({epoch.pseudorange[0] for epoch in epochs}))
        epochs[0].pseudorange[:] = 0   # they are the caller's own

    def test_one_thread_at_a_time(self):
        pipe, log = self.dir / "pipe", self.simulated("--duration", 60).read_bytes()
        os.mkfifo(pipe)
        for opened, content, count in ((lambda: rtk_utils.Log(pipe).epochs(), log, 60), (lambda: rtk_utils.read_dump(pipe), logs.DUMP, len(logs.RECORDS))):
            with self.subTest(count), open(os.open(pipe, os.O_RDWR), "wb") as writer, concurrent.futures.ThreadPoolExecutor() as pool:
                reader = opened()
                calls = {pool.submit(next, reader) for _ in range(2)}
                refused, waits = concurrent.futures.wait(calls, return_when=concurrent.futures.FIRST_COMPLETED)
                self.assertRaisesRegex(ValueError, "another thread", refused.pop().result)
                pool.submit(lambda: (writer.write(content), writer.close()))
                waits.pop().result()
                self.assertEqual(count - 1, len(list(reader)))

    def test_a_large_column_is_one_mapping(self):   # older kernels move no more than one at a time
        packed = gzip.compress(self.simulated("--duration", 3600).read_bytes(), 1)   # how much is in it nobody knows before
        column = rtk_utils.read(packed).observations.pseudorange
        begin, end = column.ctypes.data, column.ctypes.data + column.nbytes
        self.assertGreater(column.nbytes, 1 << 22)
        with open("/proc/self/maps") as maps:
            ranges = [[int(word, 16) for word in line.split()[0].split("-")] for line in maps]
        self.assertEqual(1, sum(first < end and last > begin for first, last in ranges))

    def test_ctrl_c_ends_the_wait_for_a_pipe_and_a_long_read(self):
        pipe = self.dir / "pipe"
        os.mkfifo(pipe)
        log = self.simulated("--duration", 20)
        program = f"import sys, rtk_utils\nprint(1, flush=True)\nrtk_utils.read({str(pipe)!r})"
        endless = f"while cat {log}; do :; done >{pipe}"
        for writer in ("sleep 30", f"sleep 30 >{pipe}", endless):
            with self.subTest(writer):
                other = subprocess.Popen(["sh", "-c", writer], start_new_session=True, stderr=subprocess.DEVNULL)
                reader = subprocess.Popen([sys.executable, "-c", program], stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                          env=os.environ | {"PYTHONPATH": os.environ["PACKAGES"]})
                reader.stdout.readline()
                for _ in range(50):   # until it is where it waits
                    reader.send_signal(signal.SIGINT)
                    try:
                        _, told = reader.communicate(timeout=0.2)
                        break
                    except subprocess.TimeoutExpired:
                        pass
                else:
                    reader.kill()
                    self.fail("goes on")
                os.killpg(other.pid, signal.SIGKILL)
                other.wait()
                self.assertIn(b"KeyboardInterrupt", told)

    def test_a_program_may_end_while_threads_read(self):
        log = self.simulated("--duration", 60)
        for reads in ("rtk_utils.read(log)", "list(rtk_utils.Log(log).epochs())", "list(rtk_utils.read_dump(log))"):
            program = (f"import threading, time, rtk_utils\nlog = {str(log)!r}\ndef run():\n    while True: {reads}\n"
                       "for _ in range(3): threading.Thread(target=run, daemon=True).start()\ntime.sleep(0.1)")
            subprocess.run([sys.executable, "-c", program], check=True, timeout=60, env=os.environ | {"PYTHONPATH": os.environ["PACKAGES"]})

    def test_nothing_is_left_behind(self):
        content = self.simulated("--duration", 60).read_bytes()

        def work():
            data = rtk_utils.read(content)
            for epoch in rtk_utils.Log(content, interval=10).epochs():
                epoch.satellite, epoch.to_structured()
            data.observations[::2].time, data.ephemerides.kepler, data.losses
            self.assertRaises(ValueError, rtk_utils.read, b"none")
            list(rtk_utils.read_dump(logs.BROKEN_DUMP)), rtk_utils.FrameParser().feed(rtk_utils.pack_frame(1, b"x"))

        def after(times):
            for _ in range(times):
                work()
            gc.collect()
            return resource.getrusage(resource.RUSAGE_SELF).ru_maxrss, len(gc.get_objects())
        after(20)
        memory, objects = after(5)
        later_memory, later_objects = after(80)
        if not os.environ.get("LD_PRELOAD"):   # sanitizers keep what is freed for a while
            self.assertLess(later_memory - memory, 4096)   # KB
        self.assertLess(later_objects - objects, 100)


@unittest.skipIf(DAY, "the day alone")
class Rows(Scratch):
    def test_rows_are_chosen_as_arrays_are(self):
        o = rtk_utils.read(self.simulated("--duration", 20)).observations
        some = o[(o.satellite == "G01") | (o.code == "5Q")]
        self.assertEqual({"5Q"}, set(some.code[some.satellite != "G01"]))
        numpy.testing.assert_array_equal(o.to_structured()[10:20], o[10:20].to_structured())
        for rows in (3, None, numpy.max(o.cn0) > 40, numpy.zeros((2, 2), int)):
            self.assertRaises(TypeError, lambda rows=rows: o[rows])
        self.assertEqual([0, 0], [len(o[:0].time), len(o[[]].time)])

    def test_logs_one_behind_the_other(self):
        log = self.simulated("--duration", 20)
        whole, renamed = rtk_utils.read(log), rtk_utils.read(log, names="G:17=2L")
        joined = rtk_utils.concatenate(list(rtk_utils.Log(log).epochs()) + list(rtk_utils.Log(log, names="G:17=2L").epochs()))
        want = numpy.concatenate([whole.observations.to_structured(), renamed.observations.to_structured()])
        numpy.testing.assert_array_equal(want, joined.to_structured())
        self.assertEqual(2 * len(whole.ephemerides), len(rtk_utils.concatenate([whole.ephemerides] * 2)))
        self.assertRaises(TypeError, rtk_utils.concatenate, [whole.events, whole.positions])


@unittest.skipIf(DAY, "the day alone")
class DevicesAndDumps(unittest.TestCase):
    def test_frames(self):
        for extra, payload in ((0, b""), (7, b"abc"), (65535, bytes(range(256)) * 255)):
            frame = rtk_utils.pack_frame(513, payload, extra)
            self.assertEqual(logs.frame(513, payload, extra), frame)
            parser, found = rtk_utils.FrameParser(), []
            stream = b"junk" + frame + frame[:-1] + b"!" + frame
            for at in range(0, len(stream), 1000):
                found += parser.feed(memoryview(stream)[at : at + 1000])
            self.assertEqual([(513, payload)] * 2, found)
            self.assertEqual(len(stream) - 2 * len(frame), parser.unframed_bytes)
        for wrong in ((-1, b""), (65536, b""), (1, b"", 1 << 80), (1, bytes(65536))):
            self.assertRaises(ValueError, rtk_utils.pack_frame, *wrong)
        for wrong in (("1", b""), (1, "text"), (1, None), (1.5, b"")):
            self.assertRaises(TypeError, rtk_utils.pack_frame, *wrong)
        self.assertRaises(TypeError, rtk_utils.FrameParser().feed, None)
        self.assertEqual([], rtk_utils.FrameParser().feed(b""))

    def test_dump(self):
        items = list(rtk_utils.read_dump(logs.BROKEN_DUMP))
        at = 0
        for item in items:
            self.assertEqual(at, item.offset)
            at += item.size
            self.assertEqual(item.damage is None, item.type is not None)
        self.assertEqual(len(logs.BROKEN_DUMP), at)
        records = [item.payload for item in items if item.damage is None]
        self.assertEqual([payload for _, payload in logs.RECORDS] * 2, records[: 2 * len(logs.RECORDS)])
        self.assertEqual({"no record starts here", "bad checksum", "unknown type", "torn at the end"}, {i.damage for i in items} - {None})
        self.assertEqual("imu", next(item.type for item in items if item.payload == logs.RECORDS[5][1]))
        with rtk_utils.read_dump(logs.DUMP) as dump:
            next(dump)
        self.assertRaises(StopIteration, next, dump)
        self.assertRaises(FileNotFoundError, rtk_utils.read_dump, "/none")


class Haul(Scratch):
    @unittest.skipUnless(DAY, "takes minutes: ./dev haul")
    def test_memory_of_a_day_is_that_of_an_hour(self):
        program = "import resource, sys, rtk_utils\nprint(sum(1 for _ in rtk_utils.Log(sys.argv[1]).epochs()), resource.getrusage(resource.RUSAGE_SELF).ru_maxrss)"
        memory = []
        for seconds in (3600, 86400):
            log = self.simulated("--duration", seconds)
            out = subprocess.run([sys.executable, "-c", program, log], stdout=subprocess.PIPE, check=True,
                                 env=os.environ | {"PYTHONPATH": os.environ["PACKAGES"]}).stdout.split()
            self.assertEqual(seconds, int(out[0]))
            memory.append(int(out[1]) * 1024)
        print(f"epochs in Python: {memory[0] / 1e6:.1f} MB for an hour, {memory[1] / 1e6:.1f} MB for a day")
        self.assertLessEqual(memory[1], memory[0] + ROOM)


if __name__ == "__main__":
    unittest.main(argv=[argument for argument in sys.argv if argument != "--day"])
