"""kvx dump and kvx frame as a user runs them: results, messages and exit codes.

Usage: device_commands_test.py KVX FAKE_VISION [unittest arguments]
"""
import gzip
import json
import os
import subprocess
import sys
import tempfile
import time
import unittest

KVX, FAKE_VISION = sys.argv[1:3]
DONE, FAILED, USAGE, DAMAGED = range(4)


def crc32(data):
    crc = 0
    for byte in data:
        crc ^= byte
        for _ in range(8):
            crc = crc >> 1 ^ 0xEDB88320 if crc & 1 else crc >> 1
    return crc


def record(kind, payload):
    return (bytes([0xD4, 0xD2, 0xD3, kind, 0, 0, 0, 0]) + len(payload).to_bytes(4, "little")
            + crc32(payload).to_bytes(4, "little") + payload)


def frame(ident, payload, extra=0):
    body = (bytes([0xAA, 0x44, 0xCC, 16]) + ident.to_bytes(2, "little") + extra.to_bytes(2, "little")
            + len(payload).to_bytes(2, "little") + bytes(6) + payload)
    return body + crc32(body).to_bytes(4, "little")


def filled(size, seed):
    return bytes((seed + 7 * k) % 256 for k in range(size))


FUSION = filled(5, 1) + b"\x02" + filled(146, 2)
FRAME = filled(6, 3) + b"\x03\x00" + filled(72, 4)
CALIB = b"\x02\0\0\0\0\0\0\0" + b"\0\0\0\0\0\0\xf0\x3f" * 3  # two items; three times 1.0 is all that is kept

# Type, payload, and the call that the vision library sees (none: the record is an output of it).
RECORDS = [
    (18, filled(24, 5), "PhgLibSetHwCfg " + filled(24, 5).hex()),
    (17, filled(88, 6), "PhgLibUpdateCfg " + filled(88, 6).hex()),
    (19, b"\x01", None),
    (16, FUSION, "PhgLibSetFusionData " + FUSION.hex()),
    (21, filled(128, 7), "PhgLibSetGnss " + filled(128, 7).hex()),
    (22, filled(52, 8), "PhgLibSetImu " + filled(52, 8).hex()),
    (22, filled(52, 9), "PhgLibSetImu " + filled(52, 9).hex()),
    (20, CALIB, "PhgLibCalibStart 000000000000f03f 3 callback"),
    (49, FRAME, None),
    (51, (-2).to_bytes(4, "little", signed=True), "PhgLibEnableVisualOdometer -2"),
    (50, b"\x01", "PhgLibReset"),
]
DUMP = b"".join(record(kind, payload) for kind, payload, _ in RECORDS)


class Command(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def file(self, name, contents=None):
        path = os.path.join(self.folder, name)
        if contents is not None:
            with open(path, "wb") as out:
                out.write(contents)
        return path

    def kvx(self, *arguments, code=DONE, stdin=b"", env=None):
        done = subprocess.run([KVX, *arguments], input=stdin, capture_output=True, timeout=60,
                              env={**os.environ, **(env or {})})
        self.assertEqual(code, done.returncode, done.stdout[-2000:] + done.stderr[-2000:])
        return done.stdout if arguments[0] == "raw" else done.stdout.decode(), done.stderr.decode()


class Dump(Command):
    def test_info_counts_by_type(self):
        out, _ = self.kvx("dump", "info", "--json", self.file("a", DUMP))
        found = json.loads(out)
        self.assertEqual(len(RECORDS), found["records"])
        self.assertEqual(len(DUMP), found["bytes"])
        self.assertEqual(sorted({kind for kind, _, _ in RECORDS}), sorted(t["type"] for t in found["types"]))
        self.assertIn({"type": 22, "name": "imu", "records": 2, "bytes": 136}, found["types"])
        out, _ = self.kvx("dump", "info", self.file("a"))
        self.assertIn("  22  imu                       2            136\n", out)

    def test_sources(self):
        plain = self.file("a", DUMP)
        packed = self.file("a.gz", gzip.compress(DUMP))
        expected = f": {len(DUMP)} bytes: {len(DUMP)} in {len(RECORDS)} records, 0 skipped in 0 damaged stretches\n"
        self.assertEqual(plain + expected, self.kvx("dump", "verify", plain)[0])
        self.assertEqual(packed + expected, self.kvx("dump", "verify", packed)[0])
        self.assertEqual("-" + expected, self.kvx("dump", "verify", "-", stdin=DUMP)[0])
        self.assertIn(": 0 bytes: ", self.kvx("dump", "verify", self.file("empty", b""))[0])

    def test_verify_tells_damage_and_adds_up(self):
        broken = record(22, filled(52, 1))
        broken = broken[:40] + bytes([broken[40] ^ 1]) + broken[41:]
        path = self.file("a", b"junk" + DUMP + broken + DUMP + DUMP[:20])
        out, _ = self.kvx("dump", "verify", path, code=DAMAGED)
        size = 4 + 2 * len(DUMP) + len(broken) + 20
        self.assertEqual([
            f"{path}: offset 0: no record starts here, 4 bytes skipped",
            f"{path}: offset {4 + len(DUMP)}: bad checksum, 68 bytes skipped",
            f"{path}: offset {size - 20}: torn at the end, 20 bytes skipped",
            f"{path}: {size} bytes: {2 * len(DUMP)} in 22 records, 92 skipped in 3 damaged stretches"], out.splitlines())
        lines = [json.loads(line) for line in self.kvx("dump", "verify", "--json", path, code=DAMAGED)[0].splitlines()]
        self.assertEqual({"offset": 4 + len(DUMP), "kind": "bad checksum", "bytes": 68}, lines[1])
        self.assertEqual(lines[-1]["bytes"], lines[-1]["record_bytes"] + lines[-1]["skipped_bytes"])

    def test_compressed_file_that_breaks_off(self):
        path = self.file("a.gz", gzip.compress(os.urandom(100000))[:50000])
        self.assertIn("ends too early", self.kvx("dump", "verify", path, code=DAMAGED)[1])

    def test_cat_prints_records_and_warns_of_damage(self):
        path = self.file("a", DUMP + b"junk")
        out, err = self.kvx("dump", "cat", path, code=DAMAGED)
        lines = [json.loads(line) for line in out.splitlines()]
        self.assertEqual([(kind, payload.hex()) for kind, payload, _ in RECORDS],
                         [(line["type"], line["payload"]) for line in lines])
        self.assertEqual({"offset": 0, "type": 18, "name": "hardware", "length": 24}.items(),
                         lines[0].items() - {("payload", filled(24, 5).hex())})
        self.assertEqual(-2, lines[9]["value"])
        self.assertEqual(f"kvx: warning: {path}: no record starts here, 4 bytes skipped (offset {len(DUMP)})\n", err)

    def test_replay_feeds_the_same_inputs_in_the_same_order(self):
        calls = self.file("calls")
        by_option = ["--library", FAKE_VISION], {"FAKE_VISION_RECORD": calls, "VISION_PHG_LIB_NAME": "/missing"}
        by_variable = [], {"FAKE_VISION_RECORD": calls, "VISION_PHG_LIB_NAME": FAKE_VISION}
        for options, env in by_option, by_variable:
            out, err = self.kvx("dump", "replay", *options, self.file("a", DUMP), env=env)
            self.assertIn("9 records replayed, 0 refused by the library, 0 without an entry point, 2 no inputs of it", out)
            self.assertEqual("", err)
            with open(calls) as lines:
                self.assertEqual([call for _, _, call in RECORDS if call], lines.read().splitlines())
            os.remove(calls)

    def test_replay_keeps_the_rate(self):
        begin = time.monotonic()
        self.kvx("dump", "replay", "--rate", "50", "--library", FAKE_VISION, self.file("a", DUMP))
        self.assertGreater(time.monotonic() - begin, 0.15)   # nine records, eight steps

    def test_failures(self):
        dump, text = self.file("a", DUMP), self.file("text", b"not a library")
        for arguments, code, message in (
                (["info", self.file("missing")], FAILED, "missing: No such file or directory (opening)"),
                (["cat", self.folder], FAILED, ": is a directory"),
                (["replay", "--library", text, dump], FAILED, "loading the vision library"),
                (["replay", "--library", "/missing.so", dump], FAILED, "kvx: error: /missing.so: "),
                (["replay", dump], FAILED, "VISION_PHG_LIB_NAME"),
                (["replay", "--rate", "-1", dump], USAGE, "--rate"),
                (["verify"], USAGE, "FILE"),
                ([], USAGE, "subcommand")):
            with self.subTest(arguments=arguments):
                self.assertIn(message, self.kvx("dump", *arguments, code=code, env={"VISION_PHG_LIB_NAME": ""})[1])


class Frame(Command):
    def test_pack_and_parse_are_inverse(self):
        binary = self.file("frame")
        for payload in b"", b"\x01\xAB", filled(65535, 1):
            source = self.file("payload", payload)
            out, _ = self.kvx("frame", "pack", "--id", "513", "--extra", "7", source)
            self.assertEqual(frame(513, payload, 7).hex() + "\n", out)
            self.kvx("frame", "pack", "--id", "513", "--extra", "7", "-o", binary, source)
            with open(binary, "rb") as written:
                self.assertEqual(frame(513, payload, 7), written.read())
            out, _ = self.kvx("frame", "parse", binary)
            tail = f" payload {payload.hex()}" if payload else ""
            self.assertEqual(f"id 513 length {len(payload)}{tail}\n", out)
        self.assertEqual(frame(2, b"\x01\xAB").hex() + "\n", self.kvx("frame", "pack", "--id", "2", "--hex", "01:Ab")[0])

    def test_parse_finds_frames_in_a_stream(self):
        stream = frame(1, b"one") + b"junk" + frame(2, b"")
        out, err = self.kvx("frame", "parse", "--json", stdin=stream * 3000, code=DAMAGED)
        self.assertEqual([{"id": 1, "length": 3, "payload": b"one".hex()}, {"id": 2, "length": 0, "payload": ""}] * 3000,
                         [json.loads(line) for line in out.splitlines()])
        self.assertEqual("kvx: warning: standard input: 12000 of 141000 bytes belong to no frame (6000 frames found)\n", err)
        out, _ = self.kvx("frame", "parse", "--hex", frame(1, b"one").hex(" "))
        self.assertEqual("id 1 length 3 payload 6f6e65\n", out)

    def test_failures(self):
        for arguments, code, message in (
                (["pack"], USAGE, "--id"),
                (["pack", "--id", "65536"], USAGE, "--id"),
                (["pack", "--id", "1", "--hex", "0g"], USAGE, "--hex: no hexadecimal digit at character 2"),
                (["pack", "--id", "1", "--hex", "012"], USAGE, "one digit"),
                (["pack", "--id", "1", self.file("long", bytes(65536))], FAILED, "at most 65535 bytes"),
                (["pack", "--id", "1", "-o", self.file("no") + "/out"], FAILED, "No such file"),
                (["parse", "--hex", "00", self.file("long")], USAGE, "FILE"),
                (["parse", self.file("missing")], FAILED, "No such file")):
            with self.subTest(arguments=arguments):
                self.assertIn(message, self.kvx("frame", *arguments, code=code)[1])


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *sys.argv[3:]])
