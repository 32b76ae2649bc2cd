"""Reader of the range messages of a receiver log: what was sent, exactly, epoch by epoch.

It knows frames, checksums and the two forms of a range record, and judges nothing: records without code lock and of
unknown types come too.
"""

import struct
import zlib
from collections import namedtuple

SYNC, HEADER, CHECKSUM = b"\xaa\x44\x12", 28, 4
FULL, COMPRESSED = 43, 140
TIME_UNKNOWN, WEEK_UNKNOWN = 20, 65535
WEEK = 604_800_000  # ms
SYSTEMS = "GRSECJ"  # by the three bits of the tracking status
PRN_BEFORE = {"R": 37, "J": 192, "S": 100}  # what lies before RINEX's number 1, or before 0 of SBAS
NUMBERS = {"G": range(1, 33), "R": range(1, 26), "S": range(20, 59), "E": range(1, 37), "C": range(1, 64),
           "J": range(1, 11)}
FULL_RECORD = struct.Struct("<HHd4xd4xfffI")
COMPRESSED_SIZE = 24
LONGEST_LOCK = 0x1FFFFF  # 1/32 s; longer ones are sent as this

# satellite: "G07", or None for a number that no satellite has; phase and doppler as sent: the phase falls while the
# range grows, and of message 140 lacks its multiples of 2^23 cycles; lock: s; held: that lock time may be longer
Signal = namedtuple("Signal", "message system type satellite channel pseudorange phase doppler strength lock held "
                              "code_lock phase_lock parity")
Epoch = namedtuple("Epoch", "ms signals")  # ms since the beginning of GPS time


def frames(data):
    """(header, body) of every intact frame."""
    at = data.find(SYNC)
    while at >= 0:
        end = at + HEADER + int.from_bytes(data[at + 8 : at + 10], "little")
        check = int.from_bytes(data[end : end + CHECKSUM], "little")
        good = end + CHECKSUM <= len(data) and zlib.crc32(data[at:end], 0xFFFFFFFF) ^ 0xFFFFFFFF == check
        if good:
            yield data[at : at + HEADER], data[at + HEADER : end]
        at = data.find(SYNC, end + CHECKSUM if good else at + 1)


def signal(message, status, prn, channel, pseudorange, phase, doppler, strength, lock, held):
    system = (SYSTEMS + "??")[status >> 16 & 7]
    number = prn - PRN_BEFORE.get(system, 0)
    satellite = f"{system}{number:02}" if number in NUMBERS.get(system, ()) else None
    code_lock, phase_lock, parity = (bool(status >> bit & 1) for bit in (12, 10, 11))
    return Signal(message, system, status >> 21 & 31, satellite, channel - 7, pseudorange, phase, doppler, strength,
                  lock, held, code_lock, phase_lock, parity)


def full_signals(body, count):
    for prn, channel, pseudorange, phase, doppler, strength, lock, status in FULL_RECORD.iter_unpack(
            body[4 : 4 + count * FULL_RECORD.size]):
        yield signal(FULL, status, prn, channel, pseudorange, phase, doppler, strength, lock, False)


def compressed_signals(body, count):
    for at in range(4, 4 + count * COMPRESSED_SIZE, COMPRESSED_SIZE):
        bits = int.from_bytes(body[at : at + COMPRESSED_SIZE], "little")

        def field(first, width):
            return bits >> first & (1 << width) - 1

        def signed(first, width):
            return field(first, width) - (field(first + width - 1, 1) << width)

        yield signal(COMPRESSED, field(0, 32), field(136, 8), field(170, 6), field(60, 36) / 128, signed(96, 32) / 256,
                     signed(32, 28) / 256, field(165, 5) + 20, field(144, 21) / 32, field(144, 21) == LONGEST_LOCK)


def timed(data):
    """(message, ms, body) of every intact frame of known time."""
    for header, body in frames(data):
        message, week, ms = struct.unpack_from("<4xH8xHI", header)
        if header[13] != TIME_UNKNOWN and week not in (0, WEEK_UNKNOWN) and header[6] >> 4 & 3 == 0:
            yield message, week * WEEK + ms, body


def range_messages(data):
    """(message, ms, signals) of every range message of known time."""
    for message, ms, body in timed(data):
        if message in (FULL, COMPRESSED):
            read = full_signals if message == FULL else compressed_signals
            yield message, ms, list(read(body, int.from_bytes(body[:4], "little")))


def epochs(data):
    """All epochs. Messages up to 1 ms apart are one epoch, which has the time of its message 43 if there is one."""
    current, first = None, None
    for message, ms, signals in range_messages(data):
        if current is None or abs(ms - first) > 1:
            if current is not None:
                yield current
            current, first = Epoch(ms, []), ms
        current.signals.extend(signals)
        if message == FULL:
            current = current._replace(ms=ms)
    if current is not None:
        yield current
