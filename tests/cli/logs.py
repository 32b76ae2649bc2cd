"""Logs, dumps and frames for the tests of the tool: taken apart, changed and put together."""

import zlib

HEADER, CRC = 28, 4
RANGE, MARK, ION_UTC, SBAS, GALILEO = 43, 231, 8, 601, 1122
EPHEMERIDES = {7, 41, SBAS, 723, 1047, 1122, 1309, 1336, 1696}
WEEK = 604800000         # ms
RECORD_BYTES = 44        # of message 43


def u16(n):
    return n.to_bytes(2, "little")


def u32(n):
    return n.to_bytes(4, "little")


def crc32(data):
    return zlib.crc32(data, 0xFFFFFFFF) ^ 0xFFFFFFFF


def frames(log):
    """(message, frame) of a log without damage."""
    at = 0
    while at < len(log):
        size = HEADER + int.from_bytes(log[at + 8 : at + 10], "little") + CRC
        yield int.from_bytes(log[at + 4 : at + 6], "little"), log[at : at + size]
        at += size


def with_body(frame, body):
    data = frame[:8] + u16(len(body)) + frame[10:HEADER] + body
    return data + u32(crc32(data))


def changed(log, message, offset, value):
    """The log with other bytes in the body of every such message."""
    out = b""
    for number, frame in frames(log):
        body = frame[HEADER:-CRC]
        out += with_body(frame, body[:offset] + value + body[offset + len(value) :]) if number == message else frame
    return out


def at_other_time(log, epochs, weeks=0, ms=0):
    """The times of some range messages moved; without weeks and ms these messages are gone."""
    n, out = -1, b""
    for message, frame in frames(log):
        n += message == RANGE
        if message == RANGE and n in epochs:
            time = int.from_bytes(frame[14:16], "little") * WEEK + int.from_bytes(frame[16:20], "little")
            time += weeks * WEEK + ms
            moved = frame[:14] + u16(time // WEEK) + u32(time % WEEK) + frame[20:HEADER]
            frame = with_body(moved, frame[HEADER:-CRC]) if weeks or ms else b""
        out += frame
    return out


def with_sick_galileo(log):
    return changed(log, GALILEO, 12, b"\1\2\3")   # E1B, E5a, E5b


def without_ephemerides(log):
    return b"".join(frame for message, frame in frames(log) if message not in EPHEMERIDES)


def only(log, *messages):
    return b"".join(frame for message, frame in frames(log) if message in messages)


def without_epochs(log, leave_out):
    ranges, out = 0, b""
    for message, frame in frames(log):
        ranges += message == RANGE
        out += b"" if message == RANGE and leave_out(ranges) else frame
    return out


def split_epochs(log):
    """Every epoch in two messages, the first of them with three records."""
    out = b""
    for message, frame in frames(log):
        body, at = frame[HEADER:-CRC], 4 + 3 * RECORD_BYTES
        if message == RANGE:
            count = int.from_bytes(body[:4], "little")
            out += with_body(frame, u32(3) + body[4:at]) + with_body(frame, u32(count - 3) + body[at:])
        else:
            out += frame
    return out


def with_echoes(log):
    """Behind every range message the same one a millisecond later, its records in the other order: two epochs."""
    out = b""
    for message, frame in frames(log):
        records = [frame[at : at + RECORD_BYTES] for at in range(HEADER + 4, len(frame) - CRC, RECORD_BYTES)]
        late = frame[:16] + u32(int.from_bytes(frame[16:20], "little") + 1) + frame[20:]
        out += frame + (with_body(late, frame[HEADER : HEADER + 4] + b"".join(records[::-1])) if message == RANGE else b"")
    return out


def frame(ident, payload, extra=0):
    """A device message."""
    head = b"\xAA\x44\xCC\x10" + u16(ident) + u16(extra) + u16(len(payload)) + bytes(6)
    return head + payload + u32(crc32(head + payload))


def record(kind, payload):
    """A record of a dump file."""
    return b"\xD4\xD2\xD3" + bytes([kind]) + bytes(4) + u32(len(payload)) + u32(crc32(payload)) + payload


def filled(size, seed):
    return bytes((seed + 7 * k) % 256 for k in range(size))


# Types that are inputs of the vision library, and 19 and 49, which are not.
RECORDS = [(18, filled(24, 5)), (17, filled(88, 6)), (19, b"\x01"), (16, filled(5, 1) + b"\x02" + filled(146, 2)),
           (21, filled(128, 7)), (22, filled(52, 8)), (22, filled(52, 9)),
           (20, u32(2) + bytes(4) + b"\0\0\0\0\0\0\xf0\x3f" * 3), (49, filled(6, 3) + b"\x03\x00" + filled(72, 4)),
           (51, b"\xFE\xFF\xFF\xFF"), (50, b"\x01")]
DUMP = b"".join(record(kind, payload) for kind, payload in RECORDS)
BROKEN_DUMP = b"junk" + DUMP + record(22, filled(52, 1))[:40] + b"?" + bytes(27) + DUMP + record(99, b"new") + DUMP[:20]
