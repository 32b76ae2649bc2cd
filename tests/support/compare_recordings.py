#!/usr/bin/env python3
"""Converts the recorded logs with kvx and compares the RINEX files with those that the logs were made from.

Every value of a source file that its message and the observation types can carry must come out, and nothing else.
The tables below say which source signal stands in which column, and why some cannot stand anywhere; a source value
that neither table names fails the comparison. Exit code 0: all found; 1: not; 77: the recordings are not there.
"""

import argparse
import shutil
import subprocess
import sys
from collections import namedtuple
from decimal import ROUND_HALF_EVEN, Decimal
from pathlib import Path

from rinex_compare import Options, compare, load, slip_bits
from rinex_reader import TICKS_PER_SECOND, RinexError, Value

SKIPPED = 77

# truncated: C/N0 stands in the message as a float, the file has whole dB-Hz; held: the message has 20 to 51 dB-Hz.
# unknown_parity: seconds after the start of a lock in which parity is unknown; such a phase is blank in the file.
Recording = namedtuple("Recording", "log source message tolerances strength unknown_parity extra")
RECORDINGS = {
    "japan_1hz": Recording(
        "japan_1hz.log", "SEPT078M_excerpt.21O", 43, {}, "truncated", 6,
        {("*", "D*"): "the source has no Doppler, the log has it from phase differences"}),
    "denmark_30s": Recording(  # 1/128 m, 1/256 cycle, 1/256 Hz, each rounded to the nearest and printed with 3 decimals
        "denmark_30s.log", "ESBC1770_excerpt.20O", 140,
        {"C": Decimal("0.004"), "L": Decimal("0.002"), "D": Decimal("0.002")}, "held", 0, {}),
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

    def __init__(self, epochs):
        self.previous = dict(zip(sorted(epochs)[1:], sorted(epochs)))
        self.seen = {}  # (satellite, signal) -> (last epoch, start of the lock; None: before the file)

    def seconds(self, ticks, name, signal, lost):
        last, start = self.seen.get((name, signal), (None, None))
        if lost or last is None or last != self.previous.get(ticks):
            start = ticks if lost or ticks in self.previous else None
        self.seen[name, signal] = ticks, start
        return float("inf") if start is None else (ticks - start) / TICKS_PER_SECOND


def group_of(name):
    return "C>16" if name[0] == "C" and int(name[1:]) > LAST_REGIONAL_BEIDOU else name[0]


def strength(text, rule):
    """C/N0 as the file prints it, or None for a blank."""
    value = Decimal(text)
    whole = int(value) if rule == "truncated" else max(20, min(51, int(value.quantize(Decimal(1), ROUND_HALF_EVEN))))
    return f"{whole}.000" if whole else None


def expected_satellite(name, found, version, recording, unknown):
    """The columns of one satellite as they must be written; `unknown` holds the signals of unknown parity."""
    columns = LAYOUTS[version].get(group_of(name), [])
    for signal in {code[1:] for code in found} - {signal for signal, _ in columns}:
        if version != "2.11" and (group_of(name), signal) not in NO_COLUMN:
            raise RinexError(0, "no-column", f"{name} {signal}: the tables name no column and no reason")
    result = {}
    for signal, column in columns:
        if "C" + signal not in found:
            continue
        result = {code: value for code, value in result.items() if code[1:] != column}
        for kind in "CLDS":
            value = found.get(kind + signal)
            text = strength(value.text, recording.strength) if kind == "S" and value else value and value.text
            if text and not (kind == "L" and signal in unknown):
                result[kind + column] = Value(text, " ", " ")
    if version == "2.11" and "C2" in result:
        result["P2"] = result.pop("C2")
    return result


def expected(source, version, recording):
    """What must come out of a log made from `source`."""
    locks, result = LockTimes(source.epochs), {}
    for ticks, satellites in sorted(source.epochs.items()):
        result[ticks] = {}
        for name, found in satellites.items():
            unknown = set()
            for signal in [code[1:] for code in found if code[0] == "C"]:
                slips = slip_bits(found["L" + signal]) if "L" + signal in found else 0
                if locks.seconds(ticks, name, signal, slips & 1) < recording.unknown_parity or slips & 2:
                    unknown.add(signal)
            result[ticks][name] = expected_satellite(name, found, version, recording, unknown)
    return source._replace(epochs=result)


def convert(kvx, log, folder, version):
    """Runs kvx and returns the one observation file that it wrote."""
    shutil.rmtree(folder, ignore_errors=True)
    command = [kvx, "convert", log, "-o", folder, "--rinex", version, "--nav", "none"]
    subprocess.run(command, stdout=subprocess.DEVNULL, check=True, timeout=300)
    [written] = folder.iterdir()
    return written


def compare_one(kvx, folder, name, recording, version, workdir):
    """True when the file of one recording and version is what it must be; prints the figures."""
    written = load(convert(kvx, folder / recording.log, workdir / f"{name}-{version}", version))
    wanted = expected(load(folder / recording.source), version, recording)
    report = compare(written, wanted, Options(recording.tolerances, True, recording.extra), every_type=True)
    print(f"\n== {name}, message {recording.message}, RINEX {version}: A is written, B is what the source asks for")
    print(report.text())
    for pattern, reason in recording.extra.items():
        print(f"ignored: {' '.join(pattern)}: {reason}")
    return not report.mismatches


def arguments(description):
    parser = argparse.ArgumentParser(description=description, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--kvx", required=True, help="the program")
    parser.add_argument("--recordings", required=True, type=Path, help="folder of the recordings")
    parser.add_argument("--workdir", required=True, type=Path, help="where the converted files are kept")
    return parser.parse_args()


def main():
    args = arguments(__doc__)
    there = {name: it for name, it in RECORDINGS.items() if (args.recordings / name / it.log).exists()}
    good = [compare_one(args.kvx, args.recordings / name, name, recording, version, args.workdir)
            for name, recording in there.items() for version in LAYOUTS]
    return SKIPPED if not there else 0 if all(good) else 1


if __name__ == "__main__":
    sys.exit(main())
