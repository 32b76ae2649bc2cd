#!/usr/bin/env python3
"""Compares two RINEX observation files (2.x or 3.x, plain or .gz) value by value.

Exit code 0: every value of B that A's types can carry stands in A within tolerance, and A has nothing that B lacks,
save what --ignore-missing and --ignore-extra allow. 1: it does not. 2: a file cannot be read, or wrong usage.
"""

import argparse
import fnmatch
import json
import os
import sys
from collections import Counter, namedtuple
from decimal import Decimal

from rinex_reader import EVENT_FLAGS, Header, RinexError, epochs, read_lines, ticks_text, values

SLIP_FLAG = 6  # cycle slip records repeat an epoch; their fields are no observations
Observations = namedtuple("Observations", "epochs types duplicates")  # epochs: {ticks: {satellite: {code: Value}}}
# tolerances: {"C": metres (RINEX 2's P too), "L": cycles, "D": Hz, "S": dB}; ignore_*: {(system, code) pattern: reason}
Options = namedtuple("Options", "tolerances lli ignore_missing ignore_extra", defaults=({}, False, {}, {}))


def load(path, systems=None):
    """All observations of a file; satellites of other systems than those named are left out."""
    lines = read_lines(path)
    header = Header(lines)
    if header.kind != "O":
        raise RinexError(1, "kind", "no observation file")
    result = Observations({}, {}, [])
    for epoch in epochs(lines, header):
        if epoch.flag in EVENT_FLAGS or epoch.flag == SLIP_FLAG:
            continue
        if epoch.ticks in result.epochs:
            result.duplicates.append(epoch.ticks)
        satellites = {}
        for satellite in epoch.satellites:
            system = satellite.name[0]
            if systems and system not in systems:
                continue
            codes = header.types_of(system)
            result.types.setdefault(system, set()).update(codes)
            if satellite.name in satellites:
                raise RinexError(satellite.line, "satellite-twice", f"{satellite.name} twice in one epoch")
            satellites[satellite.name] = dict(values(satellite, codes))
        result.epochs[epoch.ticks] = satellites | result.epochs.get(epoch.ticks, {})
    return result


def rename(observations, mapping):
    """Gives B's values the codes of A. Where two codes stand for one, the later in the list wins if it has a value."""
    for satellites in observations.epochs.values():
        for name, found in satellites.items():
            for_system = mapping.get(name[0])
            if for_system:
                moved = {theirs for _, theirs in for_system}
                kept = {code: value for code, value in found.items() if code not in moved}
                kept.update((ours, found[theirs]) for ours, theirs in for_system if theirs in found)
                satellites[name] = kept


class Row:
    """The figures of one code of one system."""

    def __init__(self):
        self.compared = self.equal = self.beyond = self.missing_a = self.missing_b = self.ignored = self.not_carried = 0
        self.worst, self.worst_at = Decimal(0), ""


class Report:
    """The outcome of a comparison: figures by (system, code), and the first mismatches in words."""

    MAX_EXAMPLES = 20

    def __init__(self):
        self.rows, self.epochs, self.satellites = {}, Counter(), Counter()
        self.mismatches, self.examples = 0, []

    def mismatch(self, text):
        self.mismatches += 1
        if len(self.examples) < self.MAX_EXAMPLES:
            self.examples.append(text)

    def as_dict(self):
        rows = [{"system": s, "code": c, **vars(r), "worst": str(r.worst)} for (s, c), r in sorted(self.rows.items())]
        return {"ok": not self.mismatches, "mismatches": self.mismatches, "epochs": self.epochs,
                "satellites": self.satellites, "rows": rows, "examples": self.examples}

    def text(self):
        counts = self.epochs
        satellites = "  ".join(f"{system} {count}" for system, count in sorted(self.satellites.items()))
        lines = [f"epochs: A {counts['a']}, B {counts['b']}, both {counts['both']}; satellites in both: {satellites}",
                 "sys code  compared     equal  beyond  missing in A  missing in B  ignored  not carried  worst"]
        for (system, code), row in sorted(self.rows.items()):
            lines.append(f"{system:3} {code:4} {row.compared:9} {row.equal:9} {row.beyond:7} {row.missing_a:13} "
                         f"{row.missing_b:13} {row.ignored:8} {row.not_carried:12}  {row.worst} {row.worst_at}")
        more = self.mismatches - len(self.examples)
        return "\n".join(lines + self.examples + ([f"... and {more} more"] if more else [])
                         + [f"{self.mismatches} mismatches" if self.mismatches else "no mismatches"])


def allowed(rules, system, code):
    return any(fnmatch.fnmatchcase(system, s) and fnmatch.fnmatchcase(code, c) for s, c in rules)


def compare_value(row, a, b, tolerance, where, report):
    row.compared += 1
    difference = Decimal(0) if a.text == b.text else abs(Decimal(a.text) - Decimal(b.text))
    row.equal += not difference
    if difference > row.worst:
        row.worst, row.worst_at = difference, where
    if difference > tolerance:
        row.beyond += 1
        report.mismatch(f"{where}: A {a.text}, B {b.text}")


def slip_bits(value):
    """Loss of lock and half-cycle ambiguity; bit 2 of the digit is about anti-spoofing."""
    return int(value.lli) & 3 if value.lli.isdecimal() else 0


def compare_satellite(when, name, ours, theirs, types, options, report):
    system = name[0]
    for code in ours.keys() | theirs.keys():
        row = report.rows.setdefault((system, code), Row())
        a, b, where = ours.get(code), theirs.get(code), f"{when} {name} {code}"
        if a and b:
            compare_value(row, a, b, options.tolerances.get(code[0].replace("P", "C"), 0), where, report)
            if options.lli and slip_bits(a) != slip_bits(b):
                report.mismatch(f"{where}: loss-of-lock digits: A {a.lli!r}, B {b.lli!r}")
        elif b and types is not None and code not in types.get(system, ()):
            row.not_carried += 1
        elif allowed(options.ignore_extra if a else options.ignore_missing, system, code):
            row.ignored += 1
        elif a:
            row.missing_b += 1
            report.mismatch(f"{where}: not in B (A {a.text})")
        else:
            row.missing_a += 1
            report.mismatch(f"{where}: not in A (B {b.text})")


def compare(a, b, options=Options(), every_type=False):
    """Compares observations A with B. `every_type`: what A's types cannot carry is missing too."""
    report = Report()
    types = None if every_type else a.types
    report.epochs.update(a=len(a.epochs), b=len(b.epochs), both=len(a.epochs.keys() & b.epochs.keys()))
    for file, observations in (("A", a), ("B", b)):
        for ticks in observations.duplicates:
            report.mismatch(f"{ticks_text(ticks)}: twice in {file}")
    for ticks in sorted(a.epochs.keys() | b.epochs.keys()):
        when, ours, theirs = ticks_text(ticks), a.epochs.get(ticks), b.epochs.get(ticks)
        if ours is None or theirs is None:
            report.mismatch(f"{when}: no such epoch in {'A' if ours is None else 'B'}")
        ours, theirs = ours or {}, theirs or {}
        report.satellites.update(name[0] for name in ours.keys() & theirs.keys())
        for name in sorted(ours.keys() | theirs.keys()):
            compare_satellite(when, name, ours.get(name, {}), theirs.get(name, {}), types, options, report)
    if not any(row.compared for row in report.rows.values()):
        report.mismatch("no value stands in both files: nothing was compared")
    return report


def parse_map(text):
    """{"G": [(code of A, code of B), ...]} from "G:C2W=C2W,... R:..." or from a file of such words ('#' comments)."""
    if os.path.exists(text):
        with open(text, encoding="ascii") as stream:
            text = " ".join(line.split("#")[0] for line in stream)
    mapping = {}
    for word in text.split():
        system, _, pairs = word.partition(":")
        for pair in pairs.split(","):
            ours, equals, theirs = pair.partition("=")
            if not equals or len(system) != 1:
                raise argparse.ArgumentTypeError(f"not a map: {word!r}")
            mapping.setdefault(system, []).append((ours, theirs))
    return mapping


def parse_ignore(text):
    """((system, code), reason) from "SYS:CODE=REASON"; '*' and '?' match as in file names."""
    what, _, reason = text.partition("=")
    system, colon, code = what.partition(":")
    if not colon or not reason.strip():
        raise argparse.ArgumentTypeError(f"not SYS:CODE=REASON: {text!r}")
    return (system, code), reason


def main(arguments=None):
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("a", metavar="A")
    parser.add_argument("b", metavar="B")
    for kind, name in (("C", "pseudorange"), ("L", "phase"), ("D", "doppler"), ("S", "snr")):
        parser.add_argument(f"--{name}-tol", dest=kind, type=Decimal, default=Decimal(0), metavar="T",
                            help="0 (default): equal to the printed digit")
    parser.add_argument("--map", type=parse_map, default={}, help="A's codes for B's: a file or 'G:C1=C1C,... R:...'")
    parser.add_argument("--systems", help="letters of the systems to compare, others are skipped")
    parser.add_argument("--lli", action="store_true", help="compare bits 0 and 1 of the loss-of-lock digits too")
    for name, text in (("missing", "may lack it in A"), ("extra", "may have it in A only")):
        parser.add_argument(f"--ignore-{name}", type=parse_ignore, action="append", default=[],
                            metavar="SYS:CODE=REASON", help=f"patterns of codes: {text}")
    parser.add_argument("--json", action="store_true")
    args = parser.parse_args(arguments)
    loaded = []
    for path in (args.a, args.b):
        try:
            loaded.append(load(path, args.systems))
        except (OSError, RinexError) as error:
            print(f"rinex_compare: error: {path}: {error}", file=sys.stderr)
            return 2
    a, b = loaded
    rename(b, args.map)
    options = Options({kind: getattr(args, kind) for kind in "CLDS"}, args.lli, dict(args.ignore_missing),
                      dict(args.ignore_extra))
    report = compare(a, b, options)
    print(json.dumps(report.as_dict(), indent=2) if args.json else report.text())
    for (system, code), reason in args.ignore_missing + args.ignore_extra if not args.json else ():
        print(f"ignored {system} {code}: {reason}")
    return 1 if report.mismatches else 0


if __name__ == "__main__":
    sys.exit(main())
