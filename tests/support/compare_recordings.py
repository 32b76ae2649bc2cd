#!/usr/bin/env python3
"""Converts the recorded logs as the host does and compares the RINEX files with those that the logs were made from.

Every value of a source file that its message and the observation types can carry must come out, and nothing else.
The tables below say which source signal stands in which column, and why some cannot stand anywhere; a source value
that neither table names fails the comparison. Exit code 0: all found.
"""

from collections import namedtuple
from decimal import ROUND_HALF_EVEN, Decimal

from conversions import Fault, arguments, compare, convert
from rinex_reader import TICKS_PER_SECOND, Header, observations, read_lines

OPTIONS = ("--as-host",)

# truncated: C/N0 stands in the message as a float, the file has whole dB-Hz; held: the message has 20 to 51 dB-Hz.
# unknown_parity: seconds after the start of a lock in which parity is unknown; such a phase is blank in the file.
Recording = namedtuple("Recording", "source tolerances strength unknown_parity ignored")
RECORDINGS = {
    "japan_1hz": Recording(  # the source has no Doppler, the log has it from phase differences
        "SEPT078M_excerpt.21O", {}, "truncated", 6, "D"),
    "denmark_30s": Recording(  # 1/128 m, 1/256 cycle, 1/256 Hz, each rounded to the nearest and printed with 3 decimals
        "ESBC1770_excerpt.20O", {"C": Decimal("0.004"), "L": Decimal("0.002"), "D": Decimal("0.002")}, "held", 0, ""),
}

# Source signal -> column of the file written. Signals of one satellite that share a column share a slot of the record:
# the log sends them in the order of this table, and the later one replaces the earlier one whole, blank phase included.
COLUMNS = {
    "G": [("1C", "1C"), ("2W", "2W"), ("2L", "2W"), ("5Q", "5Q"), ("1L", "1L")],
    "R": [("1C", "1C"), ("2C", "2C"), ("2P", "2C")],
    "E": [("1C", "1B"), ("7Q", "7Q"), ("5Q", "5Q"), ("8Q", "8I"), ("6C", "6C")],
    "J": [("1C", "1C"), ("2L", "2S"), ("5Q", "5Q"), ("1L", "1L")],
    "S": [("1C", "1C")],
}
BEIDOU_BELOW_304 = {"C": [("2I", "1I"), ("7I", "7I"), ("6I", "6I")], "C>16": [("2I", "1I"), ("6I", "6I")]}
BEIDOU_304 = {"C": [("2I", "2I"), ("7I", "7I"), ("6I", "6I")],  # the slot of 7I holds B2a for satellites after C16
              "C>16": [("2I", "2I"), ("7I", "5D"), ("6I", "6I")]}
LAST_REGIONAL_BEIDOU = 16
LAYOUTS = {
    "2.11": {"G": [("1C", "1")], "R": [("2C", "2"), ("2P", "2")], "C": [("7I", "7")], "C>16": [("7I", "7")]},
    "3.02": COLUMNS | BEIDOU_BELOW_304, "3.03": COLUMNS | BEIDOU_BELOW_304, "3.04": COLUMNS | BEIDOU_304,
}

# No column: SBAS has one signal a satellite in the file, and below 3.04 the column of B2I stays blank after C16. In
# 2.11 one signal each of GPS, GLONASS and BeiDou is written. A signal without pseudorange is not in the log.
NO_COLUMN = {("S", "5I"), ("C>16", "7I")}


class LockTimes:
    """Lock times of the log: they start with a signal's first epoch after the file's first, a gap or a loss of lock."""

    def __init__(self):
        self.seen = {}  # (satellite, signal) -> (last epoch, start of the lock; None: before the file)

    def seconds(self, ticks, previous, signal, lost):
        last, start = self.seen.get(signal, (None, None))
        if lost or last is None or last != previous:
            start = ticks if lost or previous is not None else None
        self.seen[signal] = ticks, start
        return float("inf") if start is None else (ticks - start) / TICKS_PER_SECOND


def text_of(kind, text, rule):
    """A value as the file prints it; None for a blank."""
    if kind != "S":
        return text
    value = Decimal(text)
    whole = int(value) if rule == "truncated" else max(20, min(51, int(value.quantize(Decimal(1), ROUND_HALF_EVEN))))
    return f"{whole}.000" if whole else None


def expected_satellite(name, found, version, recording, unknown):
    """The columns of one satellite as they must be written; `unknown` holds the signals of unknown parity."""
    group = "C>16" if name[0] == "C" and int(name[1:]) > LAST_REGIONAL_BEIDOU else name[0]
    columns = LAYOUTS[version].get(group, [])
    for signal in {code[1:] for code in found} - {signal for signal, _ in columns}:
        if version != "2.11" and (group, signal) not in NO_COLUMN:
            raise Fault(f"{name} {signal}: the tables name no column and no reason")
    result = {}
    for signal, column in columns:
        if "C" + signal not in found:
            continue
        result = {code: value for code, value in result.items() if code[1:] != column}
        for kind in "CLDS":
            value = found.get(kind + signal)
            text = value and text_of(kind, value.text, recording.strength)
            if text and not (kind == "L" and signal in unknown):
                result[kind + column] = text, 0, None
    if version == "2.11" and "C2" in result:
        result["P2"] = result.pop("C2")
    return result


def expected(source, version, recording):
    """What must come out of a log made from `source`."""
    locks, previous = LockTimes(), None
    for ticks, satellites in source:
        wanted = {}
        for name, found in satellites.items():
            unknown = set()
            for signal in [code[1:] for code in found if code[0] == "C"]:
                lli = found["L" + signal].lli if "L" + signal in found else " "
                slips = int(lli.strip() or 0)
                if locks.seconds(ticks, previous, (name, signal), slips & 1) < recording.unknown_parity or slips & 2:
                    unknown.add(signal)
            wanted[name] = expected_satellite(name, found, version, recording, unknown)
        yield ticks, {name: columns for name, columns in wanted.items() if columns}
        previous = ticks


def main():
    args = arguments(__doc__)
    for name, recording in RECORDINGS.items():
        lines = read_lines(args.recordings / name / recording.source)
        source = list(observations(lines, Header(lines)))
        for version in LAYOUTS:
            [written], _ = convert(args.kvx, args.recordings / name / f"{name}.log", args.workdir / f"{name}-{version}",
                                   "--rinex", version, "--nav", "none", *OPTIONS)
            _, counts = compare(written, expected(source, version, recording), recording.tolerances, recording.ignored)
            print(f"{name}, RINEX {version}, all as in its source:",
                  *(f"{system} {code} {count}" for (system, code), count in sorted(counts.items())))


if __name__ == "__main__":
    main()
