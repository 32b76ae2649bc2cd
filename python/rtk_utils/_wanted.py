"""What callers ask for, as the core takes it."""

from __future__ import annotations

import datetime
import mmap
import numbers
import os
import re
from collections.abc import Iterable
from typing import TYPE_CHECKING, Union

import numpy

if TYPE_CHECKING:
    from numpy.typing import NDArray

Bytes = Union[bytes, bytearray, memoryview, mmap.mmap, "NDArray[numpy.uint8]"]
Source = Union[str, "os.PathLike[str]", Bytes]
Names = Union[str, Iterable[str], None]
Time = Union[str, datetime.date, numpy.datetime64, None]
Interval = Union[float, datetime.timedelta, numpy.timedelta64, None]

_GPS_EPOCH = numpy.datetime64("1980-01-06", "D")
_SECOND = numpy.timedelta64(1, "s")
_TIME = re.compile(r"\d{4}-\d\d-\d\d([ T]\d\d(:\d\d(:\d\d(\.\d+)?)?)?)?", re.ASCII)   # numpy takes zones, too
_LONGEST = 3_000_000   # days: whoever asks for more means all


def letters(value: str) -> str:
    if not isinstance(value, str):
        raise TypeError(f'systems: {value!r} is no text of letters such as "GE"')
    return value


def pieces(value: Names, what: str) -> list[str]:
    """A list of names: "G01,E*" or an iterable of them."""
    if value is None:
        return []
    names = [piece.strip() for piece in value.split(",")] if isinstance(value, str) else list(value)
    for name in names:
        if not isinstance(name, str):
            raise TypeError(f"{what}: {name!r} is no text")
    return names


def gps_seconds(value: Time, what: str) -> float | None:
    """GPS seconds of a datetime64, a date or datetime without a zone, or its text."""
    if value is None:
        return None
    if not isinstance(value, (str, datetime.date, numpy.datetime64)):
        raise TypeError(f"{what}: {value!r} is no time")
    if getattr(value, "tzinfo", None) is not None:
        raise ValueError(f"{what}: {value} has a time zone, and GPS time has none")
    if value != value or (isinstance(value, str) and not _TIME.fullmatch(value)):
        raise ValueError(f"{what}: {value!r} is no GPS time such as 2024-03-10 12:00:00")
    time = numpy.datetime64(value)
    day = time.astype("datetime64[D]")   # nanoseconds reach to 2262 only
    days = float((day - _GPS_EPOCH).astype(float))
    if abs(days) > _LONGEST:
        raise ValueError(f"{what}: {value} is beyond the calendar")
    return days * 86400 + float((time - day) / _SECOND)


def seconds(value: Interval) -> float:
    if value is None:
        return 0.0
    if isinstance(value, datetime.timedelta):
        return value.total_seconds()
    if isinstance(value, numpy.timedelta64):
        return float(value / _SECOND)
    if not isinstance(value, numbers.Real):
        raise TypeError(f"interval: {value!r} is no number of seconds")
    return float(value)
