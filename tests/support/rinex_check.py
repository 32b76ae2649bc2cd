#!/usr/bin/env python3
"""Checks RINEX observation files against the published formats 2.11, 3.02, 3.03 and 3.04.

Prints one line `file:line: name: text` per finding and a summary; exit code 0 without findings, 1 with. The names are
stable, and --allow takes them (or patterns: 'missing-*'). It takes the formats at their strictest: header lines that
are not filled up with blanks to column 80 are findings too (short-line).
"""

import argparse
import fnmatch
import re
import sys
from collections import Counter

from rinex_reader import (EVENT_FLAGS, FIELD, LABEL_COLUMN, TICKS_PER_SECOND, Header, RinexError, epochs, read_lines,
                          ticks_text, to_ticks)

VERSIONS = (211, 302, 303, 304)
PRNS = {"G": (1, 32), "R": (1, 24), "E": (1, 36), "J": (1, 10), "C": (1, 63), "I": (1, 14), "S": (20, 58)}
OBSERVATION_SYSTEMS = {2: "GRES", 3: "GREJCIS"}

# Header records that our files have, by label: the columns in the terms of the formats, a small letter where a field
# may be blank.
COMMON = {
    "RINEX VERSION / TYPE": "F9.2 11X A20 A20", "PGM / RUN BY / DATE": "A60", "COMMENT": "A60", "MARKER NAME": "A60",
    "MARKER NUMBER": "A20 40X", "OBSERVER / AGENCY": "A60", "REC # / TYPE / VERS": "A60", "ANT # / TYPE": "A60",
    "APPROX POSITION XYZ": "3F14.4 18X", "ANTENNA: DELTA H/E/N": "3F14.4 18X", "INTERVAL": "F10.3 50X",
    "TIME OF FIRST OBS": "5I6 F13.7 5X A3 9X", "TIME OF LAST OBS": "5I6 F13.7 5X A3 9X", "LEAP SECONDS": "I6 54X",
    "END OF HEADER": "60X"}
FORMATS = {2: COMMON | {"WAVELENGTH FACT L1/2": "2I6 i6 A42", "# / TYPES OF OBSERV": "i6 A54"},
           3: COMMON | {"MARKER TYPE": "A20 40X", "SYS / # / OBS TYPES": "A1 2X i3 A54",
                        "SYS / PHASE SHIFT": "A1 1X A3 1X f8.5 2X i2 A40", "GLONASS SLOT / FRQ #": "i3 1X A56",
                        "GLONASS COD/PHS/BIS": 4 * "1X A3 1X f8.3 " + "8X"}}
LEAP_SECONDS_303 = {"LEAP SECONDS": "I6 3i6 A3 33X"}
ALL_LABELS = sorted({label for table in FORMATS.values() for label in table}, key=len, reverse=True)

HEADED = ("PGM / RUN BY / DATE", "MARKER NAME", "OBSERVER / AGENCY", "REC # / TYPE / VERS", "ANT # / TYPE",
          "APPROX POSITION XYZ", "ANTENNA: DELTA H/E/N", "TIME OF FIRST OBS")
MANDATORY = {2: HEADED + ("WAVELENGTH FACT L1/2", "# / TYPES OF OBSERV"),
             3: HEADED + ("MARKER TYPE", "SYS / # / OBS TYPES", "SYS / PHASE SHIFT")}
MANDATORY_GLONASS3 = ("GLONASS SLOT / FRQ #", "GLONASS COD/PHS/BIS")
REPEATED = re.compile(r"COMMENT|SYS / .*|# / TYPES OF OBSERV|WAVELENGTH FACT L1/2|GLONASS SLOT / FRQ #")

# Tracking attributes by system and band; what a later version adds or replaces stands below.
SIGNALS = {302: {"G": {"1": "CSLXPWYMN", "2": "CDSLXPWYMN", "5": "IQX"}, "R": {"1": "CP", "2": "CP", "3": "IQX"},
                 "E": {"1": "ABCXZ", "5": "IQX", "6": "ABCXZ", "7": "IQX", "8": "IQX"}, "S": {"1": "C", "5": "IQX"},
                 "J": {"1": "CSLXZ", "2": "SLX", "5": "IQX", "6": "SLX"}, "C": {"1": "IQX", "6": "IQX", "7": "IQX"}}}
SIGNALS[303] = SIGNALS[302] | {"C": {"2": "IQX", "6": "IQX", "7": "IQX"}}
SIGNALS[304] = SIGNALS[303] | {
    "R": {"1": "CP", "2": "CP", "3": "IQX", "4": "ABX", "6": "ABX"},
    "J": {"1": "CSLXZ", "2": "SLX", "5": "IQXDPZ", "6": "SLXEZ"},
    "C": {"1": "DPXAN", "2": "IQX", "5": "DPX", "6": "IQXA", "7": "IQXDPZ", "8": "DPX"}}
CODES2 = re.compile(r"C[125678]|P[12]|[LDS][125678]")

NUMBERS = {"I": r" *[-+]?\d+", "F": r" *[-+]?\d*\.\d{#}"}
VALUE = re.compile(r"(?: *-?\d*\.\d{3}| {14})[ 0-7][ 0-9]")
CLOCK_TAIL = {2: re.compile(r"(?: *-?\d*\.\d{9})? *"), 3: re.compile(r"(?: {6} *-?\d*\.\d{12})? *")}


def slug(label):
    """The label in a finding's name: 'SYS / PHASE SHIFT' is 'sys-phase-shift'."""
    return re.sub(r"[^a-z0-9]+", "-", label.lower()).strip("-")


def fits(field, kind, decimals):
    """Whether a field's text is what the format letter wants."""
    if not field.strip():
        return kind.islower() or kind in "AX"
    return kind == "A" or kind != "X" and re.fullmatch(NUMBERS[kind.upper()].replace("#", decimals), field)


def bad_fields(text, layout):
    """The fields of `text` that do not have the columns of `layout`, in words."""
    at, bad = 0, []
    for repeat, kind, width, decimals in re.findall(r"(\d*)([A-Za-z])(\d*)\.?(\d*)", layout):
        if kind == "X":
            repeat, width = "", repeat
        for _ in range(int(repeat or 1)):
            field, at = text[at : at + int(width)], at + int(width)
            if not fits(field, kind, decimals):
                bad.append(f"columns {at - len(field) + 1}-{at}: {field!r}, not {kind.upper()}{width}")
    return bad


class Check:
    """The findings of one file."""

    def __init__(self, path, allow):
        self.path, self.allow, self.findings, self.tolerated = path, allow, 0, Counter()

    def finding(self, line, name, text):
        if any(fnmatch.fnmatchcase(name, pattern) for pattern in self.allow):
            self.tolerated[name] += 1
        else:
            self.findings += 1
            print(f"{self.path}:{line}: {name}: {text}")

    def run(self):
        try:
            lines = read_lines(self.path)
            header = Header(self.put_labels_right(lines))
            self.family = header.version // 100
            if header.version not in VERSIONS:
                raise RinexError(1, "version", f"{header.version_text} is not known here")
            self.formats = FORMATS[self.family] | (LEAP_SECONDS_303 if header.version >= 303 else {})
            self.header(header)
            self.types(header)
            self.observations(lines, header)
        except RinexError as error:
            self.finding(error.line, error.name, f"{error.text} (the rest is not checked)")

    # Headers

    def put_labels_right(self, lines):
        """Lines with each header label in its column, so that one misplaced label does not hide what follows."""
        result = list(lines)
        for index, line in enumerate(lines):
            if line[LABEL_COLUMN:].rstrip() not in ALL_LABELS:
                label = next((label for label in ALL_LABELS if label in line and "COMMENT" not in line), None)
                if label:
                    self.finding(index + 1, "label-column", f"{label} stands in column {line.index(label) + 1}, not 61")
                    result[index] = line[: line.index(label)].rstrip().ljust(LABEL_COLUMN) + label
            if len(line) > 80:
                self.finding(index + 1, "line-length", f"{len(line)} characters")
            elif len(line) < 80:
                self.finding(index + 1, "short-line", f"{len(line)} characters")
            if "END OF HEADER" in line:
                break
        return result

    def header(self, header):
        if header.kind != "O" or header.system not in "GREJCISM" and (self.family == 3 or header.system != " "):
            self.finding(1, "kind", f"file type {header.kind!r}, satellite system {header.system!r}")
        for record in header.records:
            self.record(record)
        for label, count in Counter(record.label for record in header.records).items():
            if count > 1 and not REPEATED.fullmatch(label):
                self.finding(header.all(label)[1].line, "label-twice", label)
        self.require(header, MANDATORY[self.family])
        for record in header.all("PGM / RUN BY / DATE") if self.family == 3 else ():
            if not re.fullmatch(r"\d{8} \d{6} [A-Z]{3,4} ?", record.text[40:]):
                self.finding(record.line, "pgm-date", f"{record.text[40:].rstrip()!r} is not 'yyyymmdd hhmmss zone'")

    def require(self, header, labels):
        for label in labels:
            if not header.all(label):
                self.finding(header.end, f"missing-{slug(label)}", f"no record {label}")

    def record(self, record):
        """Label and columns of one header record, in the header or in an event."""
        if record.label not in self.formats:
            self.finding(record.line, "label", f"{record.label!r} is no label of this kind of file")
            return
        for text in bad_fields(record.text, self.formats[record.label]):
            self.finding(record.line, f"format-{slug(record.label)}", text)
        if record.label == "GLONASS SLOT / FRQ #" and not re.fullmatch(r"(R\d\d (?: \d|-\d) ?)* *", record.text[4:]):
            self.finding(record.line, "format-glonass-slot-frq", record.text[4:].rstrip())

    def types(self, header):
        for system, codes in header.types.items():
            line = header.end
            if header.declared[system] != len(codes):
                self.finding(line, "type-count", f"{system} {header.declared[system]} announced, {len(codes)} listed")
            for code in codes:
                if not self.valid_code(system, code, header.version):
                    self.finding(line, "obs-code", f"{system} {code} is unknown in version {header.version_text}")
            for code, count in Counter(codes).items():
                if count > 1:
                    self.finding(line, "type-twice", f"{system} {code}")
        for record in header.records:
            step, start = {"# / TYPES OF OBSERV": (6, 6), "SYS / # / OBS TYPES": (4, 6)}.get(record.label, (0, 0))
            cells = [record.text[at : at + step] for at in range(start, LABEL_COLUMN - step + 1, step)] if step else []
            if any(cell.strip() and len(cell.strip()) != len(cell.lstrip()) for cell in cells):
                self.finding(record.line, "format-obs-types", "types do not stand in their columns")

    def valid_code(self, system, code, version):
        if self.family == 2:
            return CODES2.fullmatch(code)
        table = SIGNALS[max((v for v in SIGNALS if v <= version), default=302)]
        if len(code) != 3 or code[0] not in "CLDS" or (system == "G" and code in ("C1N", "C2N")):
            return False
        return code[2] in table.get(system, {}).get(code[1], "")

    # Observations

    def observations(self, lines, header):
        times, systems = [], set()
        for epoch in epochs(lines, header):
            if epoch.flag in EVENT_FLAGS:
                self.event(epoch)
                continue
            if epoch.flag not in (0, 1, 6):
                self.finding(epoch.line, "epoch-flag", f"{epoch.flag}")
            if epoch.flag != 6:
                if times and epoch.ticks <= times[-1]:
                    self.finding(epoch.line, "epoch-order", f"{ticks_text(epoch.ticks)} is not later")
                times.append(epoch.ticks)
            self.epoch_columns(epoch)
            for name, count in Counter(satellite.name for satellite in epoch.satellites).items():
                if count > 1:
                    self.finding(epoch.line, "satellite-twice", name)
            for satellite in epoch.satellites:
                systems.add(satellite.name[0])
                self.satellite(satellite, lines[satellite.line - 1], header)
        self.times(header, times)
        if self.family == 3 and "R" in systems:
            self.require(header, MANDATORY_GLONASS3)

    def event(self, epoch):
        for record in epoch.records:
            self.record(record)
        if epoch.flag == 3 and not any(record.label == "MARKER NAME" for record in epoch.records):
            self.finding(epoch.line, "event-site", "a new site without MARKER NAME")
        if epoch.flag == 5 and epoch.ticks is None:
            self.finding(epoch.line, "event-time", "an external event without its time")

    def epoch_columns(self, epoch):
        start = 68 if self.family == 2 else 35
        if not CLOCK_TAIL[self.family].fullmatch(epoch.text[start:]):
            self.finding(epoch.line, "epoch-format", f"receiver clock offset {epoch.text[start:]!r}")
        if self.family == 3 and not re.match(r"> \d{4}( \d\d){4}", epoch.text):
            self.finding(epoch.line, "epoch-format", f"{epoch.text[:29]!r}: two digits each")

    def satellite(self, satellite, raw, header):
        system, number = satellite.name[0], satellite.name[1:]
        if system not in OBSERVATION_SYSTEMS[self.family] or header.system not in (system, "M", " "):
            self.finding(satellite.line, "satellite-system", f"{satellite.name} in this file")
        elif not number.isdecimal() or not PRNS[system][0] <= int(number) <= PRNS[system][1] \
                or self.family == 3 and raw[:3] != satellite.name:
            self.finding(satellite.line, "satellite-id", f"{satellite.name}")
        codes = header.types_of(system)
        if len(satellite.data.rstrip()) > len(codes) * FIELD:
            self.finding(satellite.line, "value-count", f"{satellite.name} has more values than its {len(codes)} types")
        for index, code in enumerate(codes):
            field = satellite.data[index * FIELD : (index + 1) * FIELD].ljust(FIELD)
            if not VALUE.fullmatch(field):
                name = "value-format" if VALUE.fullmatch(field[:14] + "  ") is None else "value-digits"
                self.finding(satellite.line, name, f"{satellite.name} {code}: {field!r}")

    def times(self, header, times):
        for label, index in (("TIME OF FIRST OBS", 0), ("TIME OF LAST OBS", -1)):
            for record in header.all(label)[:1] if times else ():
                try:
                    said = to_ticks(*(record.text[at : at + 6] for at in range(0, 30, 6)), record.text[30:43])
                except ValueError:
                    said = None
                if said != times[index]:
                    self.finding(record.line, slug(label), f"the data have {ticks_text(times[index])}")
        for record in header.all("INTERVAL")[:1] if len(times) > 1 else ():
            if bad_fields(record.text, "F10.3"):
                continue  # found already
            interval = round(float(record.text[:10]) * TICKS_PER_SECOND)
            steps = [b - a for a, b in zip(times, times[1:])]
            if interval <= 0 or min(steps) != interval or any(step % interval for step in steps):
                self.finding(record.line, "interval", f"the data have {min(steps) / TICKS_PER_SECOND} s")


def main(arguments=None):
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("files", nargs="+", metavar="FILE")
    parser.add_argument("--allow", action="append", default=[], metavar="NAME[,NAME]", help="findings to tolerate")
    args = parser.parse_args(arguments)
    checks = [Check(path, [name for names in args.allow for name in names.split(",")]) for path in args.files]
    for check in checks:
        check.run()
        tolerated = ", ".join(f"{name} {count}" for name, count in sorted(check.tolerated.items()))
        print(f"{check.path}: {check.findings} findings; tolerated: {tolerated or 'none'}")
    return 1 if any(check.findings for check in checks) else 0


if __name__ == "__main__":
    sys.exit(main())
