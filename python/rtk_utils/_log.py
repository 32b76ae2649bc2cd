"""Logs of the receiver."""

from __future__ import annotations

import dataclasses
import os
from collections.abc import Iterator
from typing import TYPE_CHECKING, Any

from . import _core
from ._observations import Epoch, Observations
from ._told import Ephemerides, Events, Positions
from ._wanted import Interval, Names, Source, Time, gps_seconds, letters, pieces, seconds

if TYPE_CHECKING:
    import numpy
    from numpy.typing import NDArray


@dataclasses.dataclass(frozen=True)
class Losses:
    """What became of the bytes and observations of a log. True when something was lost.

    bytes, good_bytes                      of the log, and of whole frames
    skipped_bytes, bad_checksum_bytes,     the others: between frames, in frames with a wrong checksum, in headers that
    too_long_bytes, torn_bytes             announce too much, in a frame that the end cuts off
    bad_checksum, too_long, refused        frames; refused: contents that cannot be right
    epochs_out_of_order, clock_steps_back  epochs with a wrong time, left out; clocks that were set back
    cut_off                                why the file could not be read to its end; empty: it could
    places                                 of the first thousand losses: (offset, bytes, cause)
    observations                           that are not in the arrays, counted by reason
    messages                               frames by message
    """

    bytes: int
    good_bytes: int
    skipped_bytes: int
    bad_checksum: int
    bad_checksum_bytes: int
    too_long: int
    too_long_bytes: int
    torn_bytes: int
    refused: int
    epochs_out_of_order: int
    clock_steps_back: int
    cut_off: str
    places: list[tuple[int, int, str]]
    observations: dict[str, int]
    messages: dict[int, int]

    def __bool__(self) -> bool:
        return self.bytes != self.good_bytes or bool(self.refused or self.epochs_out_of_order or self.cut_off)


@dataclasses.dataclass(frozen=True)
class LogData:
    """What a log tells.

    receiver          type, version and number, as it told them last; empty: not told
    antenna           type, and height above the marker (m)
    ionosphere        coefficients alpha and beta of the broadcast model (2 by 4); None: not told
    leap_seconds      GPS - UTC (s); None: not told
    glonass_channels  frequency channels by satellite
    """

    observations: Observations
    ephemerides: Ephemerides
    positions: Positions
    events: Events
    receiver: dict[str, str]
    antenna: dict[str, Any]
    ionosphere: NDArray[numpy.float64] | None
    leap_seconds: int | None
    glonass_channels: dict[str, int]
    losses: Losses


class Epochs(Iterator[Epoch]):
    """Iterator over the epochs of a log, with the memory of one; bytes are copied once. close() lets go of the file before its end."""

    def __init__(self, source: Source, wanted: _core.Wanted) -> None:
        self._core = _core.Epochs(source, wanted)
        self._tables = _core.names(wanted)

    def __iter__(self) -> Epochs:
        return self

    def __next__(self) -> Epoch:
        return Epoch._read(next(self._core), self._tables)

    def close(self) -> None:
        """Ends the reading; next() then behaves as at the end."""
        self._core.close()

    def __enter__(self) -> Epochs:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    @property
    def losses(self) -> Losses:
        """Losses so far; all of them behind the last epoch."""
        return Losses(**self._core.losses())


class Log:
    """A log of the receiver, and what of it is wanted. Every reading opens it anew.

    source      path, plain or compressed by gzip or Zstandard, "-" for standard input; or the bytes of a log
    systems     letters of GREJCS
    satellites  names or patterns: "G01,E*" or a list
    signals     codes, or those of one system: "1C,2W", "G1C"
    start, end  first and last epoch: datetime64, datetime without a zone, or text such as "2024-03-10 12:00:00"; GPS time
    interval    seconds, or a timedelta: of the epochs the one nearest each point of the GPS time grid, within half the
                log's own interval; None: all
    names       signals by other names: "G:17=2L" is signal type 17 of GPS as 2L

    Raises TypeError and ValueError for what cannot be meant, names of no satellite or signal among it, here or when it is
    read.
    """

    def __init__(self, source: Source, *, systems: str = "GREJCS", satellites: Names = None, signals: Names = None,
                 start: Time = None, end: Time = None, interval: Interval = None, names: Names = None) -> None:
        self.source = source
        self._asked = (letters(systems), pieces(satellites, "satellites"), pieces(signals, "signals"), pieces(names, "names"),
                       gps_seconds(start, "start"), gps_seconds(end, "end"), seconds(interval))
        self._wanted = _core.Wanted(*self._asked)

    def __getstate__(self) -> dict[str, Any]:   # what is asked for travels to other processes, not the core's form of it
        return {"source": self.source, "_asked": self._asked}

    def __setstate__(self, state: dict[str, Any]) -> None:
        self.__dict__.update(state)
        self._wanted = _core.Wanted(*self._asked)

    def __repr__(self) -> str:
        shown = os.fspath(self.source) if isinstance(self.source, (str, os.PathLike)) else type(self.source).__name__
        return f"<rtk_utils.Log: {shown}>"

    def read(self, *, observations: bool = True) -> LogData:
        """LogData with all of it; without observations it stays small.

        Raises OSError when the file cannot be read, ValueError when it is no log. What is damaged is left out, and told in
        losses.
        """
        read = _core.read(self.source, self._wanted, bool(observations))
        kinds = {"ephemerides": Ephemerides, "positions": Positions, "events": Events, "losses": Losses}
        rows = {name: kind(**read.pop(name)) for name, kind in kinds.items()}
        return LogData(observations=Observations._read(read.pop("observations"), _core.names(self._wanted)), **rows, **read)

    def epochs(self) -> Epochs:
        """Epochs, one after the other, in the memory of one. Raises as read() does."""
        return Epochs(self.source, self._wanted)


def read(source: Source, *, observations: bool = True, systems: str = "GREJCS", satellites: Names = None,
         signals: Names = None, start: Time = None, end: Time = None, interval: Interval = None, names: Names = None) -> LogData:
    """All of a log at once: Log(...).read(), see there."""
    return Log(source, systems=systems, satellites=satellites, signals=signals, start=start, end=end, interval=interval,
               names=names).read(observations=observations)
