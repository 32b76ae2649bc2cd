"""The programs of examples/ and what they left behind, and the lines of them that the pages show.

The recorder and the vision library's host have a worker thread and stand in a class of their own.
"""

import json
import os
import pathlib
import re
import shlex
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).parents[2]
KVX = os.environ["KVX"]   # empty: not built, what it says of the files is left out
IMU, GNSS = "imu", "gnss"


class Programs(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def run_example(self, code, name, *arguments, **environment):
        """What it printed on both streams, and the lines that it logged as (logger, level, text)."""
        command = [*shlex.split(os.environ["EMULATOR"]), f"{os.environ['EXAMPLES']}/example_{name}", *arguments]
        done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, timeout=120,
                              env={**os.environ, "LC_ALL": "C", **environment})
        self.assertEqual(done.returncode, code, f"{command}\n{done.stdout}{done.stderr}")
        logged = re.findall(r"(?m)^\[[\d :.-]+\] \[(\w*)\] \[(\w+)\] \[\w+:\d+\] (.*)$", done.stdout)
        return done.stdout, done.stderr, logged

    def kvx(self, code, *arguments):
        done = subprocess.run([KVX, *arguments], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        self.assertEqual(done.returncode, code, done.stdout + done.stderr)
        return done.stdout


class Examples(Programs):
    def test_frames_come_back_out_of_noise(self):
        line = f"{self.folder}/line"
        payloads = [b"", b"a sync: \xAA\x44\xCC", b"x" * 300]
        frames = "".join(f"id {513 + k} length {len(p)}{' payload ' * bool(p)}{p.hex()}\n" for k, p in enumerate(payloads))
        self.assertEqual(self.run_example(0, "device_frames", line)[0], frames)
        if KVX:
            self.assertEqual(self.kvx(3, "frame", "parse", line), frames)   # 3: noise

    def test_hardware_that_is_not_there(self):
        refused = "Function not implemented" if os.environ["EMULATOR"] else "Inappropriate ioctl for device"
        for arguments, text, told in [
            (("gpio_line", "get", "/dev/null", "5"), f"Unable to get line handle from ioctl : {refused}", "/dev/null: line 5"),
            (("gpio_line", "get", "/nowhere", "5"), "Unabled to open /nowhere: No such file or directory", "/nowhere: line 5"),
            (("gpio_line", "set", "2000000000", "1"), None, "GPIO 2000000000: "),
            (("i2c_register", "/dev/null", "0x48", "3", "1", "2"), f"set i2c</dev/null> address<48> error: {refused}",
             "/dev/null: slave 0x48, register 0x03: failed"),
            (("i2c_register", "/nowhere", "0x48", "3", "1", "2"), "open i2c</nowhere> error: No such file or directory",
             "/nowhere: slave 0x48"),
        ]:
            with self.subTest(arguments=arguments):
                _, errors, logged = self.run_example(1, *arguments)
                self.assertTrue(errors.startswith(told), errors)
                self.assertEqual(logged, [("RTK_LOG", "error", text)] if text else [])

    def test_words_that_are_no_numbers_reach_no_hardware(self):
        for arguments in [("gpio_line", "get", "/dev/null", "5x"), ("gpio_line", "set", "", "1"),
                          ("gpio_line", "set", "2000000000", "2"), ("i2c_register", "/dev/null", "256", "3", "1", "2")]:
            _, errors, logged = self.run_example(2, *arguments)
            self.assertEqual((errors[:7], logged), ("usage: ", []))

    def test_pages_show_lines_of_the_programs(self):
        programs = "\n".join(path.read_text() for path in (ROOT / "examples").glob("*.cpp"))
        programs = re.sub(r"(?m)^ +", "", programs)
        for page in [ROOT / "README.md", ROOT / "docs/host.md", *(ROOT / "docs/host").glob("*.md")]:
            blocks = re.findall(r"(?m)^```cpp\n((?:.*\n)*?)```$", page.read_text())
            self.assertTrue(blocks, page)
            for block in blocks:
                self.assertIn(re.sub(r"(?m)^ +", "", block), programs, page)


class Worker(Programs):
    def records(self, name):
        self.kvx(0, "dump", "verify", f"{self.folder}/{name}")
        return [json.loads(line) for line in self.kvx(0, "dump", "cat", f"{self.folder}/{name}").splitlines()]

    def test_a_recorded_dump_is_whole(self):
        said, _, logged = self.run_example(0, "dump_log", self.folder, "dump")
        self.assertEqual(logged, [("DUMP", "info", f"open fusion log file: {self.folder}/dump"),
                                  ("DUMP", "info", "close fusion log file")])
        self.assertIn("13600 bytes queued, 13600 in the file", said)
        if KVX:
            numbers = [int.from_bytes(bytes.fromhex(r["payload"])[:4], "little") for r in self.records("dump")]
            self.assertEqual(numbers, list(range(200)))

    def test_a_dump_that_cannot_be_written(self):
        for folder, name, end in [(f"{self.folder}/none", "dump", []), ("/dev", "full", ["Fusion Write Failed."])]:
            said, _, logged = self.run_example(1, "dump_log", folder, name)
            self.assertEqual([text for _, _, text in logged], [f"open fusion log file: {folder}/{name}", *end])
            self.assertRegex(said, "13600 bytes queued, (-1|0) in the file")

    def test_what_goes_into_the_vision_library_is_in_the_dump(self):
        calls = f"{self.folder}/calls"
        said, _, logged = self.run_example(0, "vision_adapter", self.folder, "dump", VISION_PHG_LIB_NAME=os.environ["VISION"],
                                           FAKE_VISION_RECORD=calls)
        self.assertIn("0 samples did not reach the library", said)
        self.assertNotIn("error", [level for _, level, _ in logged])
        samples = sum(([IMU, GNSS] if k % 20 == 0 else [IMU] for k in range(200)), [])
        entry_points = {IMU: "PhgLibSetImu", GNSS: "PhgLibSetGnss"}
        with open(calls) as file:
            self.assertEqual([line.split()[0] for line in file],
                             ["PhgLibInit", *[entry_points[kind] for kind in samples], "PhgLibDestroy"])
        if KVX:
            self.assertEqual([r["name"] for r in self.records("dump")], ["hardware", "config", *samples])

    def test_a_missing_vision_library_is_told_and_the_dump_closed(self):
        _, errors, logged = self.run_example(1, "vision_adapter", self.folder, "dump", VISION_PHG_LIB_NAME="/nowhere.so")
        self.assertEqual(errors, "no vision library: VISION_PHG_LIB_NAME is '/nowhere.so'\n")
        self.assertIn(("VISION", "info", "PtrPhgLibSetImu: 0"), logged)
        self.assertIn(("VISION", "error", "libPhg not init"), logged)
        self.assertEqual(logged[-1], ("VISION", "info", "close fusion log file"))
        if KVX:
            self.assertEqual([r["name"] for r in self.records("dump")], ["hardware", "config"])


if __name__ == "__main__":
    unittest.main()
