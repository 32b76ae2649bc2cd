"""Reader of RINEX navigation files, versions 2.11 to 3.05, written from the published formats.

Strict about columns: whatever does not fit raises RinexError.
"""

import re
from collections import namedtuple
from decimal import Decimal

from rinex_reader import LABEL_COLUMN, RinexError, full_year, read_lines

FIELD = 19
LINES = {"G": 8, "J": 8, "C": 8, "E": 8, "R": 4, "S": 4}
NUMBER = re.compile(r"-?\d?\.\d{4,13}[DEde][+-]\d\d")
CLOCK3 = re.compile(r"([GREJCS]\d\d) (\d{4}) (\d\d) (\d\d) (\d\d) (\d\d) (\d\d)")
CLOCK2 = re.compile(r"([ \d]\d) (\d\d) ([ \d]\d) ([ \d]\d) ([ \d]\d) ([ \d]\d)([ \d]{2}\d\.\d)")

# satellite: "G07"; epoch: (year, month, day, hour, minute, seconds as Decimal); fields: Decimal, None for a blank
Record = namedtuple("Record", "line satellite epoch fields")
File = namedtuple("File", "version system header records")  # header: list of (content, label)


def line_count(name, version):
    return LINES[name[0]] + (name[0] == "R" and version >= 305)


def read_header(lines):
    header = []
    for number, line in enumerate(lines, 1):
        content, label = line[:LABEL_COLUMN], line[LABEL_COLUMN:].rstrip()
        if not label or label != label.lstrip():
            raise RinexError(number, "label", f"no label in column 61: {line!r}")
        header.append((content, label))
        if label == "END OF HEADER":
            return header, number
    raise RinexError(len(lines), "no-end-of-header", "the header does not end")


def numbers(line, start, number):
    """The fields of one line from a column on; blank ones are None."""
    found, text = [], line[start:].rstrip()
    for at in range(0, len(text), FIELD):
        field = text[at : at + FIELD]
        if field.strip() and not (len(field) == FIELD and NUMBER.fullmatch(field.strip())):
            raise RinexError(number, "field", f"{field!r} in {line!r}")
        found.append(Decimal(field.strip().replace("D", "E").replace("d", "e")) if field.strip() else None)
    return found


def read_epoch(line, number, version, system):
    match = (CLOCK3 if version >= 300 else CLOCK2).match(line)
    if not match:
        raise RinexError(number, "epoch", f"no epoch of an ephemeris: {line!r}")
    name, year, *rest, seconds = match.groups()
    if version < 300:
        name, year = f"{system}{int(name):02}", full_year(year)
    return name, (int(year), *map(int, rest), Decimal(seconds.strip())), match.end()


def read_navigation(path, system="", indent2=3):
    """A whole file. For RINEX 2: the letter of its system and the blanks before its continuation lines."""
    lines = read_lines(path)
    header, at = read_header(lines)
    version = round(float(header[0][0][:9]) * 100)
    records = []
    while at < len(lines):
        name, epoch, start = read_epoch(lines[at], at + 1, version, system)
        body = lines[at : at + line_count(name, version)]
        if len(body) < line_count(name, version):
            raise RinexError(len(lines), "truncated", f"{name} is cut off")
        fields = [numbers(body[0], start, at + 1)]
        indent = 4 if version >= 300 else indent2
        for number, line in enumerate(body[1:], at + 2):
            if line[:indent].strip():
                raise RinexError(number, "continuation", repr(line))
            fields.append(numbers(line, indent, number))
        records.append(Record(at + 1, name, epoch, fields))
        at += len(body)
    return File(version, header[0][0][40], header, records)
