"""Compares two RINEX observation files (2.x or 3.x) value by value: every value of B that A's types can carry stands in
A within tolerance, and A has nothing that B lacks."""

import fnmatch
from collections import Counter, defaultdict, namedtuple
from decimal import Decimal

from rinex_reader import EVENT_FLAGS, Header, RinexError, epochs, read_lines, ticks_text, values

SLIP_FLAG = 6  # cycle slip records repeat an epoch; their fields are no observations
MAX_EXAMPLES = 20
FIGURES = ("compared", "equal", "beyond", "missing in A", "missing in B", "ignored", "not carried")
Observations = namedtuple("Observations", "epochs types duplicates")  # epochs: {ticks: {satellite: {code: Value}}}
# tolerances: {"C": metres (RINEX 2's P too), "L": cycles, "D": Hz, "S": dB}; lli: compare the loss-of-lock digits too;
# extra: patterns (system, code) of what A may have alone
Options = namedtuple("Options", "tolerances lli extra", defaults=({}, False, ()))


def load(path):
    """All observations of a file."""
    lines = read_lines(path)
    header = Header(lines)
    if header.kind != "O":
        raise RinexError(1, "kind", "no observation file")
    result = Observations({}, defaultdict(set), [])
    for epoch in epochs(lines, header):
        if epoch.flag in EVENT_FLAGS or epoch.flag == SLIP_FLAG:
            continue
        if epoch.ticks in result.epochs:
            result.duplicates.append(epoch.ticks)
        satellites = result.epochs[epoch.ticks] = {}
        for satellite in epoch.satellites:
            system = satellite.name[0]
            if satellite.name in satellites:
                raise RinexError(satellite.line, "satellite-twice", f"{satellite.name} twice in one epoch")
            codes = header.types_of(system)
            result.types[system].update(codes)
            satellites[satellite.name] = dict(values(satellite, codes))
    return result


class Report:
    """The outcome of a comparison: figures by (system, code), and the first mismatches in words."""

    def __init__(self):
        self.rows, self.worst = defaultdict(Counter), defaultdict(lambda: (Decimal(0), ""))
        self.heading, self.mismatches, self.examples = "", 0, []

    def mismatch(self, text):
        self.mismatches += 1
        if len(self.examples) < MAX_EXAMPLES:
            self.examples.append(text)

    def text(self):
        lines = [self.heading, "sys code " + "".join(f"{name:>14}" for name in FIGURES) + "  worst"]
        for (system, code), row in sorted(self.rows.items()):
            figures = "".join(f"{row[name]:14}" for name in FIGURES)
            lines.append("{:3} {:5}{}  {} {}".format(system, code, figures, *self.worst[system, code]))
        return "\n".join(lines + self.examples + [f"{self.mismatches or 'no'} mismatches"])


def slip_bits(value):
    """Loss of lock and half-cycle ambiguity; bit 2 of the digit is about anti-spoofing."""
    return int(value.lli) & 3 if value.lli.isdecimal() else 0


def compare_value(report, key, where, a, b, options):
    row, difference = report.rows[key], abs(Decimal(a.text) - Decimal(b.text))
    row.update({"compared": 1, "equal": not difference})
    report.worst[key] = max(report.worst[key], (difference, where), key=lambda worst: worst[0])
    if difference > options.tolerances.get(key[1][0].replace("P", "C"), 0):
        row["beyond"] += 1
        report.mismatch(f"{where}: A {a.text}, B {b.text}")
    if options.lli and slip_bits(a) != slip_bits(b):
        report.mismatch(f"{where}: loss-of-lock digits: A {a.lli!r}, B {b.lli!r}")


def flat(observations):
    return {(ticks, name, code): value for ticks, satellites in observations.epochs.items()
            for name, found in satellites.items() for code, value in found.items()}


def compare(a, b, options=Options(), every_type=False):
    """Compares observations A with B. `every_type`: what A's types cannot carry is missing too."""
    report, both = Report(), a.epochs.keys() & b.epochs.keys()
    satellites = Counter(name[0] for ticks in both for name in a.epochs[ticks].keys() & b.epochs[ticks].keys())
    report.heading = (f"epochs: A {len(a.epochs)}, B {len(b.epochs)}, both {len(both)}; satellites in both: "
                      + "  ".join(f"{system} {count}" for system, count in sorted(satellites.items())))
    for ticks in a.duplicates + b.duplicates:
        report.mismatch(f"{ticks_text(ticks)}: twice in a file")
    for ticks in sorted(a.epochs.keys() ^ b.epochs.keys()):
        report.mismatch(f"{ticks_text(ticks)}: no such epoch in {'B' if ticks in a.epochs else 'A'}")
    ours, theirs = flat(a), flat(b)
    for place in sorted(ours.keys() | theirs.keys()):
        ticks, name, code = place
        where, key, row = f"{ticks_text(ticks)} {name} {code}", (name[0], code), report.rows[name[0], code]
        if place in ours and place in theirs:
            compare_value(report, key, where, ours[place], theirs[place], options)
        elif place in theirs and not every_type and code not in a.types[name[0]]:
            row["not carried"] += 1
        elif place in ours and any(fnmatch.fnmatchcase(":".join(key), ":".join(rule)) for rule in options.extra):
            row["ignored"] += 1
        else:
            row["missing in B" if place in ours else "missing in A"] += 1
            report.mismatch(f"{where}: {'not in B' if place in ours else 'not in A'}")
    if not any(row["compared"] for row in report.rows.values()):
        report.mismatch("no value stands in both files: nothing was compared")
    return report
