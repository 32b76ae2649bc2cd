"""make_dump.py FILE MB: a dump file of GNSS records, the payloads from a fixed seed."""

import random
import struct
import sys
import zlib

GNSS, PAYLOAD = 21, 128


def record(payload):
    checksum = zlib.crc32(payload, 0xFFFFFFFF) ^ 0xFFFFFFFF   # starts at 0 and is not inverted
    return struct.pack("<3sBIII", b"\xD4\xD2\xD3", GNSS, 0, len(payload), checksum) + payload


def main(path, megabytes):
    draw = random.Random(1)
    block = b"".join(record(draw.randbytes(PAYLOAD)) for _ in range(5000))
    with open(path, "wb") as dump:
        for _ in range(int(megabytes) * 1_000_000 // len(block) + 1):
            dump.write(block)


if __name__ == "__main__":
    main(*sys.argv[1:])
