"""Reader of RINEX navigation files, versions 2.11 to 4.02, written from the published formats.

Strict about the columns of records: whatever does not fit raises RinexError.
"""

import datetime
import re
from collections import namedtuple
from decimal import Decimal

from rinex_reader import RinexError, full_year, read_lines

LINES = {"G": 8, "J": 8, "C": 8, "E": 8, "R": 4, "S": 4, "STO": 2, "ION": 3}
NUMBER = re.compile(r"(?=.{19}$)(?: +| *-?\d?\.\d{4,13}[DEe][+-]\d\d)$")
FRAME = re.compile(r"> (\w{3}) ([GREJCS]\d\d|G  ) (\w+)$")
CLOCK3 = re.compile(r"([GREJCS]\d\d|   ) (\d{4}) (\d\d) (\d\d) (\d\d) (\d\d) (\d\d)")
CLOCK2 = re.compile(r"([ \d]\d) (\d\d) ([ \d]\d) ([ \d]\d) ([ \d]\d) ([ \d]\d)([ \d]{2}\d\.\d)")
BLANK = re.compile(r" *$")

# kind: "EPH LNAV", before RINEX 4 "EPH", of STO with the text behind its time; satellite: "G07", or "G" alone; time:
# s since 1980-01-06, of the record's scale; fields: a list a line, Decimal, None for a blank
Record = namedtuple("Record", "line kind satellite time fields")


def matched(pattern, text, number):
    match = pattern.match(text)
    if not match:
        raise RinexError(number, "form", repr(text))
    return match


def numbers(text, number):
    """The fields of a line; blank ones are None."""
    fields = [matched(NUMBER, text[at : at + 19], number)[0] for at in range(0, len(text.rstrip()), 19)]
    return [Decimal(field.replace("D", "E")) if field.strip() else None for field in fields]


def read_record(lines, at, version, system, indent):
    """The record that begins at a line, and where the next one begins."""
    frame = matched(FRAME, lines[at], at + 1) if version >= 400 else None
    at += version >= 400
    clock = matched(CLOCK3 if version >= 300 else CLOCK2, lines[at], at + 1)
    name, year, *date, second = clock.groups()
    if version < 300:
        name, year = f"{system}{int(name):02}", full_year(year)
    if frame and frame[2] != (name.strip() or "G  "):
        raise RinexError(at, "frame", f"{lines[at - 1]} in front of {name}")
    kind, name, first = f"{frame[1]} {frame[3]}" if frame else "EPH", name.strip() or "G", lines[at][clock.end() :]
    if kind[:3] == "STO":
        kind, first = kind + first, ""
    body = lines[at + 1 : at + LINES.get(kind[:3], LINES[name[0]]) + (name[0] == "R" and version >= 305)]
    for number, line in enumerate(body, at + 2):
        matched(BLANK, line[:indent], number)
    fields = [numbers(text, number) for number, text in enumerate([first] + [line[indent:] for line in body], at + 1)]
    time = datetime.datetime(int(year), *map(int, date)) - datetime.datetime(1980, 1, 6)
    time = time.days * 86400 + time.seconds + float(second)
    return Record(at + 1, kind, name, time, fields), at + 1 + len(body)


def read_navigation(path, system="", indent2=3):
    """Version, lines of the header, records. For RINEX 2: letter of its system, blanks before continuation lines."""
    lines, records = read_lines(path), []
    at = next(number for number, line in enumerate(lines, 1) if "END OF HEADER" in line)
    header, version = lines[:at], round(float(lines[0][:9]) * 100)
    while at < len(lines):
        record, at = read_record(lines, at, version, system, 4 if version >= 300 else indent2)
        records.append(record)
    return version, header, records
