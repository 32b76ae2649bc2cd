"""Reader of RINEX files, versions 2.10 to 4.02, written from the published formats.

It takes the structure apart (header records, epochs, satellites, observation fields) and is strict about it:
whatever does not fit raises RinexError with the line and a short name. Judging the contents is left to the callers.
"""

import datetime
import re
from collections import namedtuple

TICKS_PER_SECOND = 10_000_000  # epochs are printed with seven decimals
FIELD = 16  # F14.3, loss-of-lock digit, strength digit
LABEL_COLUMN = 60

Record = namedtuple("Record", "line text label")  # one header record: line number, columns 1-60, label
Satellite = namedtuple("Satellite", "line name data")  # data: the observation fields, 16 columns each
# ticks: 100 ns since 0001-01-01, None when left blank; records: header records of an event (flags 2 to 5)
Epoch = namedtuple("Epoch", "line text flag ticks satellites records")
Value = namedtuple("Value", "text lli strength")

# Epoch lines: the time, or blanks where an event has none that matters; then the flag and a count.
CLOCK = r"([ \d]\d) ([ \d]\d) ([ \d]\d) ([ \d]\d)([ \d]{2}\d\.\d{7})"
COUNT = r"( {3}|  \d| \d\d|\d{3})"
EPOCH3 = re.compile(rf"> (?:(\d{{4}}) {CLOCK}| {{27}})  (\d){COUNT}")
EPOCH2 = re.compile(rf" (?:([ \d]\d) {CLOCK}| {{25}})  (\d){COUNT}")
NUMBER = re.compile(r"-?\d*\.\d+")
EVENT_FLAGS = (2, 3, 4, 5)
SATELLITES_PER_LINE2 = 12
VALUES_PER_LINE2 = 5


class RinexError(Exception):
    """A fault of a file: the line it stands in, a short stable name, what is wrong."""

    def __init__(self, line, name, text):
        super().__init__(f"{line}: {name}: {text}")
        self.line, self.name, self.text = line, name, text


def read_lines(path):
    """The lines of a file, without their ends."""
    with open(path, encoding="latin-1", newline="") as stream:
        lines = stream.read().split("\n")
    return [line.rstrip("\r") for line in (lines if lines[-1] else lines[:-1])]


def to_ticks(year, month, day, hour, minute, seconds):
    """Calendar time in ticks; the seconds are text, and 60 of them are the next minute's first."""
    whole, fraction = seconds.strip().split(".")
    if int(hour) > 23 or int(minute) > 59 or int(whole or 0) > 60:
        raise ValueError("time of day out of range")
    days = datetime.date(int(year), int(month), int(day)).toordinal()
    total = ((days * 24 + int(hour)) * 60 + int(minute)) * 60 + int(whole or 0)
    return total * TICKS_PER_SECOND + int(fraction.ljust(7, "0")[:7])


def ticks_text(ticks):
    """Ticks as "yyyy-mm-dd hh:mm:ss.fffffff"."""
    seconds, fraction = divmod(ticks, TICKS_PER_SECOND)
    days, second = divmod(seconds, 86400)
    clock = f"{second // 3600:02}:{second // 60 % 60:02}:{second % 60:02}"
    return f"{datetime.date.fromordinal(days)} {clock}.{fraction:07}"


def full_year(two_digits):
    """The year of RINEX 2's two digits (80 to 99 are 1980 to 1999)."""
    return int(two_digits) + (1900 if int(two_digits) >= 80 else 2000)


class Header:
    """Header records, and the observation types as the header or a later event record sets them."""

    def __init__(self, lines):
        self.records, self.types = [], {}
        self.declared, self._system = {}, ""  # number of types that the header claims, by system
        for number, line in enumerate(lines, 1):
            self.add(Record(number, line[:LABEL_COLUMN].ljust(LABEL_COLUMN), line[LABEL_COLUMN:].strip()))
            if line.strip().endswith("END OF HEADER"):
                break
        else:
            raise RinexError(len(lines) or 1, "no-end-of-header", "the header does not end")
        first = self.records[0]
        self.version_text, self.kind, self.system = first.text[:9].strip(), first.text[20], first.text[40]
        if first.label != "RINEX VERSION / TYPE" or not re.fullmatch(r"[234]\.\d\d?", self.version_text):
            raise RinexError(1, "version", f"no RINEX 2, 3 or 4 file: {lines[0][:40].rstrip()!r}")
        self.version = round(float(self.version_text) * 100)
        self.end = number

    def add(self, record):
        self.records.append(record)
        if record.label == "# / TYPES OF OBSERV":
            self._add_types(record, "" if record.text[:6].strip() else None, record.text[:6], record.text[6:].split())
        elif record.label == "SYS / # / OBS TYPES":
            self._add_types(record, record.text[0].strip() or None, record.text[3:6], record.text[6:].split())

    def _add_types(self, record, system, count, codes):
        if system is not None:  # not a continuation line
            if not count.strip().isdecimal():
                raise RinexError(record.line, "obs-types", f"count {count!r}")
            self._system, self.declared[system], self.types[system] = system, int(count), []
        elif self._system not in self.types:
            raise RinexError(record.line, "obs-types", "continuation line without a first one")
        self.types[self._system] += codes

    def types_of(self, system):
        """Observation codes in the order of a satellite's fields: RINEX 2 has one list for all systems."""
        return self.types.get(system if self.version >= 300 else "", [])

    def all(self, label):
        return [record for record in self.records if record.label == label]


def parse_epoch(line, number, version):
    """(flag, count, ticks or None) of an epoch line."""
    match = (EPOCH3 if version >= 300 else EPOCH2).match(line)
    if not match or (match[1] is None and int(match[7]) not in EVENT_FLAGS):
        raise RinexError(number, "epoch-line", f"no epoch line: {line[:40]!r}")
    ticks = None
    if match[1] is not None:
        year, *rest = match.groups()[:6]
        try:
            ticks = to_ticks(year if version >= 300 else full_year(year), *rest)
        except ValueError as error:
            raise RinexError(number, "epoch-time", str(error)) from None
    return int(match[7]), int(match[8].strip() or 0), ticks


def take(lines, at, count):
    """Lines [at, at + count); the file must have them."""
    if at + count > len(lines):
        raise RinexError(len(lines), "truncated", f"{at + count - len(lines)} lines are missing at the end")
    return lines[at : at + count]


def satellites3(lines, at, count):
    """Satellites of a RINEX 3 epoch whose first satellite line is at `at`, and the index behind them."""
    satellites = []
    for number, line in enumerate(take(lines, at, count), at + 1):
        if line.startswith(">"):
            raise RinexError(number, "satellite-count", f"epoch line where one of {count} satellites belongs")
        if not line[:3].strip():
            raise RinexError(number, "satellite-id", "a line without a satellite")
        satellites.append(Satellite(number, line[:3].replace(" ", "0"), line[3:]))
    return satellites, at + count


def satellites2(lines, at, count, header):
    """The same for RINEX 2: `at` is the epoch line, the identifiers stand on it and its continuation lines."""
    list_lines = max(1, -(-count // SATELLITES_PER_LINE2))
    names = "".join(line[32:68].ljust(36) for line in take(lines, at, list_lines))
    rows = max(1, -(-len(header.types_of("")) // VALUES_PER_LINE2))
    width = VALUES_PER_LINE2 * FIELD
    satellites, at = [], at + list_lines
    for index in range(count):
        name = names[3 * index : 3 * index + 3]
        system = name[0] if name[0] != " " else header.system.replace(" ", "G")
        data = "".join(line.ljust(width) for line in take(lines, at, rows))
        if len(data) > rows * width:
            raise RinexError(at + 1, "line-length", f"more than {width} characters in a line of {name}")
        satellites.append(Satellite(at + 1, system + name[1:].replace(" ", "0"), data))
        at += rows
    return satellites, at


def epochs(lines, header):
    """All epochs and events of an observation file, in file order; events change the header's types."""
    at = header.end
    while at < len(lines):
        line, first = lines[at], at + 1
        flag, count, ticks = parse_epoch(line, first, header.version)
        satellites, records = [], []
        if flag in EVENT_FLAGS:
            body = take(lines, at + 1, count)
            records = [Record(n, t[:LABEL_COLUMN].ljust(LABEL_COLUMN), t[LABEL_COLUMN:].strip())
                       for n, t in enumerate(body, first + 1)]
            for record in records:
                header.add(record)
            at += 1 + count
        elif header.version >= 300:
            satellites, at = satellites3(lines, at + 1, count)
        else:
            satellites, at = satellites2(lines, at, count, header)
        yield Epoch(first, line, flag, ticks, satellites, records)


def values(satellite, codes):
    """(code, Value) of a satellite's fields that are not blank."""
    data = satellite.data
    for index, code in enumerate(codes):
        start = index * FIELD
        text = data[start : start + 14].strip()
        if text:
            if not NUMBER.fullmatch(text):
                raise RinexError(satellite.line, "value", f"{satellite.name} {code}: {text!r} is no number")
            yield code, Value(text, data[start + 14 : start + 15], data[start + 15 : start + 16])


def observations(lines, header):
    """(ticks, {satellite: {code: Value}}) of every epoch that is no event; times rise, satellites come once."""
    last = 0
    for epoch in epochs(lines, header):
        if epoch.flag in EVENT_FLAGS:
            continue
        satellites = {s.name: dict(values(s, header.types_of(s.name[0]))) for s in epoch.satellites}
        if epoch.ticks <= last or len(satellites) != len(epoch.satellites) or epoch.flag > 1:
            raise RinexError(epoch.line, "epoch", f"{epoch.text!r}: too early, a satellite twice, or a flag")
        yield epoch.ticks, satellites
        last = epoch.ticks
