#!/usr/bin/env python3
"""Proves what kvx convert writes, value by value, from the log alone.

Every record of the range messages with code lock and a code in the version's table must stand in the observation
file: under its code, to the printed digit, at its time, with the loss-of-lock bits that its lock tells of. Nothing
else may stand there, and the tool's own account of what it left out must fit. Logs: the recordings, where they are,
and simulated ones with everything that boards send. Exit code 0: proven.
"""

import datetime
import json
import math
import shlex
import subprocess
from collections import Counter, defaultdict

import log_observations as log
from conversions import Fault, arguments, compare, convert
from rinex_reader import TICKS_PER_SECOND

VERSIONS = ("2.11", "3.04", "3.05", "4.02")
RECORDINGS = ("japan_1hz", "denmark_30s")
SIMULATED = {
    "full": "--duration 180", "compressed": "--duration 180 --range 140 --position 55.5,8.5,60 --seed 2",
    "both": "--duration 180 --range both --start '2024-03-16 23:58:30.016' --seed 3",
    "fast": "--duration 12 --rate 20 --range both", "day": "--duration 86400 --rate 0.004 --range both",
    "compressed_day": "--duration 86400 --rate 0.004 --range 140"}

# Systems, types, code of RINEX 3 and 4, code column of 2.11, carrier: MHz of channel 0, MHz a channel.
TABLE = """
    GJ  0  1C C1 1575.42     G  5  2P P2 1227.60      G  9  2W P2 1227.60      GJ 17     2S C2 1227.60
    GJ  6  5I C5 1176.45     GJ 14 5Q C5 1176.45      GJ 16 1L -  1575.42      R  0      1C C1 1602+.5625
    R   1  2C C2 1246+.4375  R  5  2P P2 1246+.4375   S  0  1C C1 1575.42      S  5      5I C5 1176.45
    E   1  1B C1 1575.42     E  2  1C C1 1575.42      E  12 5Q C5 1176.45      E  17     7Q C7 1207.14
    E  20  8Q C8 1191.795    E  7  6C C6 1278.75      C  0,4 2I - 1561.098     C  1,5    7I -  1207.14
    C  17  7D -  1207.14     C  9  5P -  1176.45      C  12 5D -  1176.45      C  7      1P -  1575.42
    C   8  1D -  1575.42     C  2,6,21 6I - 1268.52
""".split()
SIGNALS = {}
for systems, types, code, column, carrier in zip(*(TABLE[i::5] for i in range(5))):
    base, step = map(float, (carrier + "+0").split("+")[:2])
    SIGNALS |= {(s, int(t)): (code, "-" if s == "J" else column, base, step) for s in systems for t in types.split(",")}

LIGHT_SPEED = 299792458.0
ROLL = 2**23  # cycles, of message 140
BEFORE_GPS = datetime.date(1980, 1, 6).toordinal() * 86400 * TICKS_PER_SECOND


def code_of(signal, version):
    return SIGNALS.get((signal.system, signal.type), "--")[version < 300]


def phase_of(signal):
    """Cycles, growing with the range; message 140 tells it from the range and the signal's own carrier."""
    if signal.message == log.FULL:
        return -signal.phase
    _, _, carrier, step = SIGNALS[signal.system, signal.type]
    cycles = signal.pseudorange * (carrier + signal.channel * step) * 1e6 / LIGHT_SPEED
    return round((cycles + signal.phase) / ROLL) * ROLL - signal.phase


def text_of(value):
    """F14.3 of the exact value, or None for what is blank: not finite, too wide, or zero."""
    text = f"{value:.3f}" if math.isfinite(value) else ""
    return text if len(text) <= 14 and text.strip("-0.") else None


def chosen(signals, version, account):
    """{satellite: {code: signal}} of an epoch; the others are counted with their reason."""
    full = {(s.satellite, s.type) for s in signals if s.message == log.FULL and s.code_lock}
    result = defaultdict(dict)
    for s in signals:
        code, reason = code_of(s, version), "written"
        column = result[s.satellite] if s.satellite else {}
        if not s.code_lock:
            reason = "no code lock"
        elif code == "-":
            reason = "no code"
        elif s.satellite is None:
            reason = "no such satellite"
        elif s.message == log.COMPRESSED and (s.satellite, s.type) in full:
            reason = "also in message 43"
        elif code in column and not (version < 300 and (s.system, s.type) == ("E", 2)):  # there C1 is rather 1C
            reason = "second of one code"
        elif code in column:
            account["E", column[code].type].update({"written": -1, "second of one code": 1})
        if reason == "written":
            column[code] = s
        account[s.system, s.type][reason] += 1
    return {satellite: columns for satellite, columns in result.items() if columns}


class Arcs:
    """Loss-of-lock bits: what happened since the last phase of the same column."""

    def __init__(self):
        self.last, self.lost = {}, set()  # (satellite, phase column) -> (ms, signal); those without phase lock since

    def bits(self, column, ms, now):
        then, before = self.last.get(column, (ms, now))
        slip = column in self.lost or before.type != now.type or (now.parity and not before.parity)
        if not now.held and then != ms:
            slip = slip or now.lock < 0 or now.lock * 1000 < ms - then or now.lock < before.lock
        self.last[column] = ms, now
        self.lost.discard(column)
        return slip + 2 * (not now.parity)


def expected_satellite(satellite, columns, ms, version, arcs):
    """{code: (text, loss-of-lock bits, strength digit)} of one satellite."""
    result = {}
    for code, s in columns.items():
        strength, digit = text_of(s.strength), str(min(max(int(s.strength / 6), 1), 9))
        digit = digit if strength else ""
        result["C" * (version >= 300) + code] = text_of(s.pseudorange), 0, digit
        band = code if version >= 300 else code[1]
        if code == "C2" and "P2" in columns:  # L2 goes with P2
            continue
        result["D" + band], result["S" + band] = (text_of(s.doppler), 0, ""), (strength, 0, "")
        phase = text_of(phase_of(s)) if s.phase_lock else None
        if phase:
            result["L" + band] = phase, arcs.bits((satellite, band), ms, s), digit
        else:
            arcs.lost.add((satellite, band))
    return {code: value for code, value in result.items() if value[0]}


def expected(data, version, account, channels):
    """(ticks, {satellite: {code: (text, bits, digit)}}) of every epoch that has something to write."""
    arcs = Arcs()
    for epoch in log.epochs(data):
        satellites = chosen(epoch.signals, version, account)
        channels |= {name: s.channel for name, found in satellites.items() for s in found.values() if name[0] == "R"}
        if satellites:
            yield BEFORE_GPS + epoch.ms * TICKS_PER_SECOND // 1000, {
                name: expected_satellite(name, found, epoch.ms, version, arcs) for name, found in satellites.items()}


def compare_header(header, counts, channels):
    """The header lists the types and channels that occur, and no others."""
    occurring = {(system if header.version >= 300 else "", code) for system, code in counts}
    listed = [(system, code) for system, codes in header.types.items() for code in codes]
    if sorted(listed) != sorted(occurring) or sum(header.declared.values()) != len(listed):
        raise Fault(f"types: listed or occurring alone are {sorted(set(listed) ^ occurring)}, or a count is wrong")
    slots = "".join(record.text[4:].ljust(56) for record in header.all("GLONASS SLOT / FRQ #"))
    told = {slots[at : at + 3]: int(slots[at + 3 : at + 6]) for at in range(0, len(slots), 7) if slots[at].strip()}
    if header.version >= 300 and told != channels:
        raise Fault(f"GLONASS channels {told} are written, {channels} are in the log")


def compare_account(told, account, version):
    """The tool's own account against the log's: all records, those written, and the rest by reason."""
    told = {(row["system"], row["type"]): row for row in told}
    for key in account.keys() | told.keys():
        counts, row = account[key], told.get(key)
        written, others = counts["written"], sum(counts.values()) - counts["written"]
        if row is None or row["written"] != written or row["records"] != written + others or \
                sum(row["left_out"].values()) != others:
            raise Fault(f"account of {key}: {row}; the log has {dict(counts)}")
        if version >= 300 and written and row["code"] != SIGNALS[key][0]:
            raise Fault(f"account of {key}: {row}")


def prove(kvx, path, folder, version):
    """Converts a log and proves the file and the account."""
    account, channels, number = defaultdict(Counter), {}, int(version.replace(".", ""))
    [written], printed = convert(kvx, path, folder, "--rinex", version, "--nav", "none", "--json")
    header, counts = compare(written, expected(path.read_bytes(), number, account, channels))
    if header.version != number:
        raise Fault(f"version {header.version}")
    compare_header(header, counts, channels)
    compare_account(json.loads(printed)["signals"], account, number)
    print(f"\n{path.name}, RINEX {version}: {sum(counts.values())} values, all as sent")
    for (system, kind), reasons in sorted(account.items()):
        print(f"  {system} {kind:2} {SIGNALS.get((system, kind), '--')[number < 300]:2}",
              *(f" {count} {reason}" for reason, count in sorted(reasons.items(), reverse=True) if count))


def logs(args):
    """The recordings that are there, and simulated logs."""
    for name in RECORDINGS if args.recordings else ():
        yield args.recordings / name / f"{name}.log"
    for name, options in SIMULATED.items():
        path = args.workdir / f"{name}.log"
        subprocess.run([args.kvx, "simulate", "--force", "-o", path, "--every-signal", *shlex.split(options)],
                       check=True)
        yield path


def main():
    args = arguments(__doc__)
    args.workdir.mkdir(parents=True, exist_ok=True)
    for path in logs(args):
        for version in VERSIONS:
            prove(args.kvx, path, args.workdir / f"{path.stem}-{version}", version)


if __name__ == "__main__":
    main()
