#!/usr/bin/env python3
"""Checks RINEX observation and navigation files against the published formats 2.11, 3.02, 3.03 and 3.04.

Prints one line `file:line: name: text` per finding and a summary; exit code 0 without findings, 1 with. The names are
stable, and --allow takes them (or patterns: 'missing-*'). It takes the formats at their strictest: header lines that
are not filled up with blanks to column 80 are findings too (short-line).
"""

import argparse
import fnmatch
import re
import sys
from collections import Counter

from rinex_reader import (EVENT_FLAGS, FIELD, LABEL_COLUMN, TICKS_PER_SECOND, Header, RinexError, epochs, full_year,
                          read_lines, ticks_text, to_ticks)

VERSIONS = (211, 302, 303, 304)
LAST_PRN = {"G": 32, "R": 24, "E": 36, "J": 10, "C": 63, "I": 14, "S": 58}
FIRST_PRN = {"S": 20}
OBSERVATION_SYSTEMS = {2: "GRES", 3: "GREJCIS"}

# Header records by label: the columns in the terms of the formats, a small letter where a field may be blank.
COMMON = {"RINEX VERSION / TYPE": "F9.2 11X A20 A20", "PGM / RUN BY / DATE": "A60", "COMMENT": "A60",
          "LEAP SECONDS": "I6 54X", "END OF HEADER": "60X"}
LEAP_SECONDS_303 = {"LEAP SECONDS": "I6 3i6 A3 33X"}
OBSERVATION = COMMON | {
    "MARKER NAME": "A60", "MARKER NUMBER": "A20 40X", "OBSERVER / AGENCY": "A60", "REC # / TYPE / VERS": "A60",
    "ANT # / TYPE": "A60", "APPROX POSITION XYZ": "3F14.4 18X", "ANTENNA: DELTA H/E/N": "3F14.4 18X",
    "INTERVAL": "F10.3 50X", "TIME OF FIRST OBS": "5I6 F13.7 5X A3 9X", "TIME OF LAST OBS": "5I6 F13.7 5X A3 9X",
    "RCV CLOCK OFFS APPL": "I6 54X", "# OF SATELLITES": "I6 54X", "PRN / # OF OBS": "3X A3 9i6"}
OBSERVATION2 = OBSERVATION | {"WAVELENGTH FACT L1/2": "2I6 i6 A42", "# / TYPES OF OBSERV": "i6 A54"}
OBSERVATION3 = OBSERVATION | {
    "MARKER TYPE": "A20 40X", "ANTENNA: DELTA X/Y/Z": "3F14.4 18X", "ANTENNA: PHASECENTER": "A60",
    "ANTENNA: B.SIGHT XYZ": "3F14.4 18X", "ANTENNA: ZERODIR AZI": "F14.4 46X", "ANTENNA: ZERODIR XYZ": "3F14.4 18X",
    "CENTER OF MASS: XYZ": "3F14.4 18X", "SYS / # / OBS TYPES": "A1 2X i3 A54", "SIGNAL STRENGTH UNIT": "A20 40X",
    "SYS / DCBS APPLIED": "A1 1X A17 1X A40", "SYS / PCVS APPLIED": "A1 1X A17 1X A40",
    "SYS / SCALE FACTOR": "A1 1X I4 2X i2 A48", "SYS / PHASE SHIFT": "A1 1X A3 1X f8.5 2X i2 A40",
    "GLONASS SLOT / FRQ #": "i3 1X A56", "GLONASS COD/PHS/BIS": 4 * "1X A3 1X f8.3 " + "8X"}
NAVIGATION2 = COMMON | {"ION ALPHA": "2X 4D12.4 10X", "ION BETA": "2X 4D12.4 10X",
                        "DELTA-UTC: A0,A1,T,W": "3X 2D19.12 2I9 1X",
                        "CORR TO SYSTEM TIME": "3I6 3X D19.12 20X", "D-UTC A0,A1,T,W,S,U": "A60"}
NAVIGATION3 = COMMON | {"IONOSPHERIC CORR": "A4 1X 4d12.4 A7",
                        "TIME SYSTEM CORR": "A4 1X D17.10 D16.9 1X I6 1X I4 1X A5 1X i2 1X"}
FORMATS = {(True, 2): OBSERVATION2, (True, 3): OBSERVATION3, (False, 2): NAVIGATION2, (False, 3): NAVIGATION3}
ALL_LABELS = sorted({label for table in FORMATS.values() for label in table}, key=len, reverse=True)

HEADED = ("PGM / RUN BY / DATE", "MARKER NAME", "OBSERVER / AGENCY", "REC # / TYPE / VERS", "ANT # / TYPE",
          "APPROX POSITION XYZ", "ANTENNA: DELTA H/E/N", "TIME OF FIRST OBS")
MANDATORY = {("O", 2): HEADED + ("WAVELENGTH FACT L1/2", "# / TYPES OF OBSERV"),
             ("O", 3): HEADED + ("MARKER TYPE", "SYS / # / OBS TYPES", "SYS / PHASE SHIFT")}
MANDATORY_GLONASS3 = ("GLONASS SLOT / FRQ #", "GLONASS COD/PHS/BIS")
REPEATED = re.compile(r"COMMENT|SYS / .*|# / TYPES OF OBSERV|WAVELENGTH FACT L1/2|PRN / # OF OBS|GLONASS SLOT / FRQ #"
                      r"|IONOSPHERIC CORR|TIME SYSTEM CORR|ANTENNA: PHASECENTER")
IONOSPHERE = {"GAL", "GPSA", "GPSB", "QZSA", "QZSB", "BDSA", "BDSB", "IRNA", "IRNB"}
TIME_SYSTEMS = {"GAUT", "GPUT", "SBUT", "GLUT", "GPGA", "GAGP", "GLGP", "QZGP", "QZUT", "BDUT", "IRUT", "IRGP"}

# Tracking attributes by system and band; what a later version adds or replaces stands below.
SIGNALS = {302: {"G": {"1": "CSLXPWYMN", "2": "CDSLXPWYMN", "5": "IQX"}, "R": {"1": "CP", "2": "CP", "3": "IQX"},
                 "E": {"1": "ABCXZ", "5": "IQX", "6": "ABCXZ", "7": "IQX", "8": "IQX"}, "S": {"1": "C", "5": "IQX"},
                 "J": {"1": "CSLXZ", "2": "SLX", "5": "IQX", "6": "SLX"}, "C": {"1": "IQX", "6": "IQX", "7": "IQX"}}}
SIGNALS[303] = SIGNALS[302] | {"C": {"2": "IQX", "6": "IQX", "7": "IQX"}, "I": {"5": "ABCX", "9": "ABCX"}}
SIGNALS[304] = SIGNALS[303] | {
    "R": {"1": "CP", "2": "CP", "3": "IQX", "4": "ABX", "6": "ABX"},
    "J": {"1": "CSLXZ", "2": "SLX", "5": "IQXDPZ", "6": "SLXEZ"},
    "C": {"1": "DPXAN", "2": "IQX", "5": "DPX", "6": "IQXA", "7": "IQXDPZ", "8": "DPX"}}
CODES2 = re.compile(r"C[125678]|P[12]|[LDS][125678]")

# Navigation records: lines, and the fields (line, index) that may be blank because they are spare or of no meaning.
RECORD_LINES = {"G": 8, "E": 8, "J": 8, "C": 8, "I": 8, "R": 4, "S": 4}
TAIL = {(7, 2), (7, 3)}
SPARE = {"G": TAIL | {(7, 1)}, "J": TAIL | {(7, 1)}, "E": TAIL | {(7, 1), (5, 3)}, "C": TAIL | {(5, 1), (5, 3)},
         "I": TAIL | {(5, 1), (5, 3), (6, 3), (7, 1)}}
KINDS2 = {"N": "G", "G": "R", "H": "S"}

NUMBERS = {"I": r" *[-+]?\d+", "F": r" *[-+]?\d*\.\d{#}", "D": r" *[-+]?\d?\.\d{#}[DEde][-+]\d\d"}
VALUE = re.compile(r"(?: *-?\d*\.\d{3}| {14})[ 0-7][ 0-9]")
CLOCK_TAIL = {2: re.compile(r"(?: *-?\d*\.\d{9})? *"), 3: re.compile(r"(?: {6} *-?\d*\.\d{12})? *")}
NAVIGATION_EPOCH = {2: re.compile(r"[ \d]\d (\d\d)" + 4 * r" ([ \d]\d)" + r"([ \d]{2}\d\.\d)"),
                    3: re.compile(r"[A-Z]\d\d (\d{4})" + 5 * r" (\d\d)")}


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
            formats = self.header(header)
            if header.kind == "O":
                self.observations(lines, header, formats)
            else:
                self.navigation(lines, header)
        except RinexError as error:
            self.finding(error.line, error.name, f"{error.text} (the rest is not checked)")
        except OSError as error:
            self.finding(0, "unreadable", str(error))

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
        """Checks the header's records; returns the formats of the version."""
        formats = FORMATS[header.kind == "O", self.family]
        if header.version >= 303:
            formats = formats | LEAP_SECONDS_303
        if header.kind not in {2: "ONGH", 3: "ON"}[self.family]:
            self.finding(1, "kind", f"file type {header.kind!r}")
        if header.system not in "GREJCISM" and (self.family == 3 or header.system != " "):
            self.finding(1, "file-system", f"satellite system {header.system!r}")
        for record in header.records:
            self.record(record, formats)
        for label, count in Counter(record.label for record in header.records).items():
            if count > 1 and not REPEATED.fullmatch(label):
                self.finding(header.all(label)[1].line, "label-twice", label)
        self.require(header, MANDATORY.get((header.kind, self.family), ("PGM / RUN BY / DATE",)))
        for record in header.all("PGM / RUN BY / DATE") if self.family == 3 else ():
            if not re.fullmatch(r"\d{8} \d{6} [A-Z]{3,4} ?", record.text[40:]):
                self.finding(record.line, "pgm-date", f"{record.text[40:].rstrip()!r} is not 'yyyymmdd hhmmss zone'")
        return formats

    def require(self, header, labels):
        for label in labels:
            if not header.all(label):
                self.finding(header.end, f"missing-{slug(label)}", f"no record {label}")

    def record(self, record, formats):
        """Label and columns of one header record, in the header or in an event."""
        if record.label not in formats:
            self.finding(record.line, "label", f"{record.label!r} is no label of this kind of file")
            return
        for text in bad_fields(record.text, formats[record.label]):
            self.finding(record.line, f"format-{slug(record.label)}", text)
        names = {"IONOSPHERIC CORR": IONOSPHERE, "TIME SYSTEM CORR": TIME_SYSTEMS}.get(record.label)
        if names and record.text[:4].strip() not in names:
            self.finding(record.line, "correction-type", f"{record.text[:4]!r} in {record.label}")
        if record.label == "GLONASS SLOT / FRQ #" and not re.fullmatch(r"(R\d\d (?: \d|-\d) ?)* *", record.text[4:]):
            self.finding(record.line, "format-glonass-slot-frq", record.text[4:].rstrip())

    def types(self, header):
        for system, codes in header.types.items():
            line = header.end
            if header.declared(system) != len(codes):
                self.finding(line, "type-count", f"{system} {header.declared(system)} announced, {len(codes)} listed")
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

    def observations(self, lines, header, formats):
        self.types(header)
        times, systems = [], set()
        for epoch in epochs(lines, header):
            if epoch.flag in EVENT_FLAGS:
                self.event(epoch, formats)
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

    def event(self, epoch, formats):
        for record in epoch.records:
            self.record(record, formats)
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
        elif not self.valid_number(system, number) or self.family == 3 and raw[:3] != satellite.name:
            self.finding(satellite.line, "satellite-id", f"{satellite.name}")
        codes = header.types_of(system)
        if len(satellite.data.rstrip()) > len(codes) * FIELD:
            self.finding(satellite.line, "value-count", f"{satellite.name} has more values than its {len(codes)} types")
        for index, code in enumerate(codes):
            field = satellite.data[index * FIELD : (index + 1) * FIELD].ljust(FIELD)
            if not VALUE.fullmatch(field):
                name = "value-format" if VALUE.fullmatch(field[:14] + "  ") is None else "value-digits"
                self.finding(satellite.line, name, f"{satellite.name} {code}: {field!r}")

    def valid_number(self, system, number):
        return number.isdecimal() and FIRST_PRN.get(system, 1) <= int(number) <= LAST_PRN.get(system, 0)

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

    # Navigation

    def navigation(self, lines, header):
        at = header.end
        while at < len(lines):
            system = lines[at][:1] if self.family == 3 else KINDS2.get(header.kind, "G")
            if system not in RECORD_LINES or self.family == 3 and header.system not in (system, "M"):
                self.finding(at + 1, "satellite-system", f"{lines[at][:23]!r} in this file")
            count = RECORD_LINES.get(system, 8)
            indent = " " * (4 if self.family == 3 else 3)
            body = lines[at : at + count]
            length = next((i for i in range(1, len(body)) if not body[i].startswith(indent)), len(body))
            self.ephemeris(body[:length], at + 1, system)
            if length != count:
                self.finding(at + 1, "record-lines", f"{length} lines instead of {count}")
            at += length

    def ephemeris(self, body, line, system):
        start = 23 if self.family == 3 else 22
        match = NAVIGATION_EPOCH[self.family].fullmatch(body[0][:start])
        number = body[0][1:3] if self.family == 3 else body[0][:2].strip()
        if not self.valid_number(system, number):
            self.finding(line, "satellite-id", f"{body[0][:3]!r}")
        try:
            if not match:
                raise ValueError("columns")
            year, *rest, seconds = match.groups()
            if float(seconds) >= 60:
                raise ValueError("60 seconds")
            to_ticks(year if self.family == 3 else full_year(year), *rest, f"{float(seconds)}")
        except ValueError as error:
            self.finding(line, "navigation-epoch", f"{body[0][:start]!r}: {error}")
        for row, text in enumerate(body):
            first = start if row == 0 else self.family + 1
            fields = [text[first + 19 * i : first + 19 * (i + 1)] for i in range(3 if row == 0 else 4)]
            layout = "".join("d19.12 " if (row, i) in SPARE.get(system, ()) else "D19.12 " for i in range(len(fields)))
            for bad in bad_fields("".join(field.ljust(19) for field in fields), layout):
                self.finding(line + row, "navigation-field", f"after column {first}, {bad}")
            if text[first + 19 * len(fields) :].strip():
                self.finding(line + row, "line-length", f"{len(text)} characters")


def main(arguments=None):
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("files", nargs="+", metavar="FILE")
    parser.add_argument("--allow", action="append", default=[], metavar="NAME[,NAME]", help="findings to tolerate")
    args = parser.parse_args(arguments)
    checks = [Check(path, [name for names in args.allow for name in names.split(",")]) for path in args.files]
    for check in checks:
        check.run()
    tolerated = sum((check.tolerated for check in checks), Counter())
    print(f"{len(checks)} files, {sum(check.findings for check in checks)} findings; tolerated: "
          + (", ".join(f"{name} {count}" for name, count in sorted(tolerated.items())) or "none"))
    return 1 if any(check.findings for check in checks) else 0


if __name__ == "__main__":
    sys.exit(main())
