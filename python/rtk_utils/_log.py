"""Logs of the receiver."""

from __future__ import annotations

import dataclasses
import datetime
import functools
import os
import re
from collections.abc import Iterable, Iterator
from typing import TYPE_CHECKING, Any, ClassVar, TypeVar, Union

import numpy

from . import _core

if TYPE_CHECKING:
    import xarray
    from numpy.typing import NDArray

_R = TypeVar("_R", bound="_Rows")
_Source = Union[str, "os.PathLike[str]", bytes, bytearray, memoryview]
_Names = Union[str, Iterable[str], None]
_Time = Union[str, datetime.datetime, numpy.datetime64, None]

_GPS_EPOCH = numpy.datetime64("1980-01-06", "D")
_SECOND = numpy.timedelta64(1, "s")
_TIME = re.compile(r"\d{4}-\d\d-\d\d([ T]\d\d(:\d\d(:\d\d(\.\d+)?)?)?)?", re.ASCII)

# The 31 numbers of an ephemeris, as navigation files have them: of satellites with Keplerian elements, and of those with a
# state vector. Names with a unit behind them; the others have none.
_KEPLER = ("af0 s, af1 s/s, af2 s/s2, iode, crs m, delta_n rad/s, m0 rad, cuc rad, e, cus rad, sqrt_a m^0.5, toe s, cic rad, "
           "omega0 rad, cis rad, i0 rad, crc m, omega rad, omega_dot rad/s, idot rad/s, codes, week, l2p, accuracy m, sv_health, "
           "tgd s, iodc_or_bgd2, sent s, fit_or_aodc")
_STATE = ("clock s, clock_rate s/s, frame_time s, x km, vx km/s, ax km/s2, sv_health, y km, vy km/s, ay km/s2, "
          "channel_or_accuracy, z km, vz km/s, az km/s2, age_or_issue, flags, group_delay s, accuracy, more_health")


def _fields(listed: str) -> list[tuple[str, str]]:
    return [(name, unit) for name, _, unit in (field.partition(" ") for field in listed.split(", "))]


def _pieces(value: _Names) -> list[str]:
    """A list of names: "G01,E*" or an iterable of them."""
    if value is None:
        return []
    return [piece.strip() for piece in value.split(",")] if isinstance(value, str) else list(value)


def _gps_seconds(value: _Time, what: str) -> float | None:
    """GPS seconds of a datetime64, a datetime without a zone, or its text."""
    if value is None:
        return None
    if isinstance(value, datetime.datetime) and value.tzinfo is not None:
        raise ValueError(f"{what}: {value} has a time zone, and GPS time has none")
    if isinstance(value, str) and not _TIME.fullmatch(value):   # numpy takes more, and time zones with a warning only
        raise ValueError(f"{what}: {value!r} is no GPS time such as 2024-03-10 12:00:00")
    time = numpy.datetime64(value)
    if numpy.isnat(time):
        raise ValueError(f"{what}: {value!r} is no time")
    day = time.astype("datetime64[D]")   # nanoseconds reach to 2262 only
    days = (day - _GPS_EPOCH).astype(float)
    return float(days * 86400 + (time - day) / _SECOND)


class _Rows:
    """Columns of the same length under their names."""

    columns: ClassVar[tuple[str, ...]] = ()

    def __init__(self, **columns: Any) -> None:
        self.__dict__.update(columns)

    def __len__(self) -> int:
        return len(getattr(self, self.columns[-1]))

    def __repr__(self) -> str:
        return f"<rtk_utils.{type(self).__name__}: {len(self)} rows of {', '.join(self.columns)}>"

    def __getitem__(self: _R, rows: Any) -> _R:
        """The same columns of some rows: a slice, a mask or indices."""
        if isinstance(rows, (int, numpy.integer)):
            raise TypeError("rows are chosen by a slice, a mask or indices; a single one by [i:i + 1]")
        return self._of(rows)

    def _of(self: _R, rows: Any) -> _R:
        return type(self)(**{name: getattr(self, name)[rows] for name in self.columns})

    def to_structured(self) -> NDArray[numpy.void]:
        """One structured array with the columns as its fields: a copy."""
        columns = [(name, getattr(self, name)) for name in self.columns]
        rows = numpy.empty(len(self), [(name, column.dtype, column.shape[1:]) for name, column in columns])
        for name, column in columns:
            rows[name] = column
        return rows


class _Observed(_Rows):
    """Names stand in tables, by the number of each row; they become arrays when they are asked for."""

    columns = ("time", "satellite", "code", "pseudorange", "phase", "doppler", "cn0", "lli")
    pseudorange: NDArray[numpy.float64]
    phase: NDArray[numpy.float64]
    doppler: NDArray[numpy.float32]
    cn0: NDArray[numpy.float32]
    lli: NDArray[numpy.uint8]
    _name: NDArray[numpy.uint16]
    _tables: tuple[NDArray[numpy.str_], NDArray[numpy.str_]]

    @functools.cached_property
    def satellite(self) -> NDArray[numpy.str_]:
        return self._tables[0].take(self._name)

    @functools.cached_property
    def code(self) -> NDArray[numpy.str_]:
        return self._tables[1].take(self._name)


class Observations(_Observed):
    """Observations, a row for each signal of a satellite at an epoch, as kvx convert writes them by default.

    time         datetime64[ns], GPS time
    satellite    "G01"
    code         band and attribute as in RINEX 3: "1C"
    pseudorange  m
    phase        cycles, of the sign of the pseudorange
    doppler      Hz, positive while the satellite comes nearer
    cn0          dB-Hz
    lli          loss-of-lock indicator of the phase: 1, a cycle slip may have come before; 2, half cycles unknown

    A value that is not there is NaN. Epochs follow each other as in the log; in an epoch satellites and signals have the
    order of a file.
    """

    _epochs: tuple[NDArray[numpy.datetime64], NDArray[numpy.int64]]

    @classmethod
    def _read(cls, columns: dict[str, Any], tables: tuple[Any, Any]) -> Observations:
        return cls(_epochs=(columns.pop("epoch_times"), columns.pop("epoch_rows")), _name=columns.pop("name"), _tables=tables, **columns)

    @functools.cached_property
    def time(self) -> NDArray[numpy.datetime64]:
        return numpy.repeat(*self._epochs)

    def _of(self, rows: Any) -> Observations:
        kept = {name: getattr(self, name)[rows] for name in ("time", "_name", *self.columns[3:])}
        return Observations(_tables=self._tables, **kept)

    def to_xarray(self) -> xarray.Dataset:
        """An xarray.Dataset over (time, sv): C1C, L1C, D1C, S1C and L1C_lli for every code. Needs xarray.

        A variable is there when some satellite has a value of it. What is not there is NaN, and 0 in the indicators.
        """
        from ._xarray import dataset
        return dataset(self)


class Epoch(_Observed):
    """Observations of one epoch. `time` is a single datetime64[ns]; the other columns are those of Observations."""

    time: numpy.datetime64

    @classmethod
    def _read(cls, columns: dict[str, Any], tables: tuple[Any, Any]) -> Epoch:
        return cls(time=columns.pop("epoch_times")[0], _name=columns.pop("name"), _tables=tables, **columns)

    def _of(self, rows: Any) -> Epoch:
        kept = {name: getattr(self, name)[rows] for name in ("_name", *self.columns[3:])}
        return Epoch(time=self.time, _tables=self._tables, **kept)

    def to_structured(self) -> NDArray[numpy.void]:
        """One structured array with the columns as its fields: a copy."""
        columns = {name: getattr(self, name) for name in self.columns}
        return Observations(**columns | {"time": numpy.full(len(self), self.time)}).to_structured()


class Ephemerides(_Rows):
    """Broadcast ephemerides, each data set once, in order of time.

    time       time of clock, of GLONASS and SBAS of the state: datetime64[ns] in the time scale of files, which is UTC for
               GLONASS, BeiDou time for BeiDou and GPS time for the others
    reference  time of ephemeris, likewise
    satellite  "G01"
    message    LNAV, INAV, FNAV, D1, D2, FDMA or SBAS
    issue      of data
    health     bits as sent
    numbers    the 31 numbers of a record in a navigation file, in its order and units; NaN for blanks

    kepler and states give the numbers under names.
    """

    columns = ("time", "reference", "satellite", "message", "issue", "health", "numbers")
    time: NDArray[numpy.datetime64]
    reference: NDArray[numpy.datetime64]
    satellite: NDArray[numpy.str_]
    message: NDArray[numpy.str_]
    issue: NDArray[numpy.uint32]
    health: NDArray[numpy.uint32]
    numbers: NDArray[numpy.float64]
    kepler_units = dict(_fields(_KEPLER))
    state_units = dict(_fields(_STATE))

    def _named(self, rows: NDArray[numpy.bool_], names: Iterable[str]) -> NDArray[numpy.void]:
        head = [(name, getattr(self, name).dtype) for name in self.columns[:-1]]
        named = numpy.empty(numpy.count_nonzero(rows), head + [(name, float) for name in names])
        for name, _ in head:
            named[name] = getattr(self, name)[rows]
        for column, name in enumerate(names):
            named[name] = self.numbers[rows, column]
        return named

    @property
    def _have_state(self) -> NDArray[numpy.bool_]:
        return numpy.isin(self.message, ("FDMA", "SBAS"))

    @property
    def kepler(self) -> NDArray[numpy.void]:
        """A structured array of those with Keplerian elements, units in kepler_units."""
        return self._named(~self._have_state, self.kepler_units)

    @property
    def states(self) -> NDArray[numpy.void]:
        """A structured array of those of GLONASS and SBAS, units in state_units."""
        return self._named(self._have_state, self.state_units)


class Positions(_Rows):
    """Positions that the receiver told. One time may have two: a geodetic and a Cartesian one.

    time        datetime64[ns], GPS time
    position    ECEF X, Y, Z (m)
    geodetic    latitude, longitude (degrees), height above the ellipsoid (m)
    type        of the position, as the message numbers it
    cartesian   whether it was sent as X, Y, Z
    undulation  of the geoid (m); NaN for Cartesian ones
    """

    columns = ("time", "position", "geodetic", "type", "cartesian", "undulation")
    time: NDArray[numpy.datetime64]
    position: NDArray[numpy.float64]
    geodetic: NDArray[numpy.float64]
    type: NDArray[numpy.uint32]
    cartesian: NDArray[numpy.bool_]
    undulation: NDArray[numpy.float64]


class Events(_Rows):
    """What happened between the epochs.

    time  datetime64[ns], GPS time
    kind  "mark" at the receiver's input, "moving" and "site" of stop and go
    """

    columns = ("time", "kind")
    time: NDArray[numpy.datetime64]
    kind: NDArray[numpy.str_]


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
    """All that a log holds.

    ionosphere        coefficients alpha and beta of the broadcast model (2 by 4); None: not told
    leap_seconds      GPS - UTC (s); None: not told
    glonass_channels  frequency channels by satellite
    """

    observations: Observations
    ephemerides: Ephemerides
    positions: Positions
    events: Events
    ionosphere: NDArray[numpy.float64] | None
    leap_seconds: int | None
    glonass_channels: dict[str, int]
    losses: Losses


class Epochs(Iterator[Epoch]):
    """Iterator over the epochs of a log, with the memory of one. close() lets go of the file before its end."""

    def __init__(self, source: _Source, wanted: _core.Wanted) -> None:
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
    interval    s: epochs at the points of the GPS time grid; 0: all
    names       signals by other names: "G:17=2L" is signal type 17 of GPS as 2L
    """

    def __init__(self, source: _Source, *, systems: str = "GREJCS", satellites: _Names = None, signals: _Names = None,
                 start: _Time = None, end: _Time = None, interval: float = 0.0, names: _Names = None) -> None:
        self.source = source
        self._wanted = _core.Wanted(systems, _pieces(satellites), _pieces(signals), _pieces(names), _gps_seconds(start, "start"),
                                    _gps_seconds(end, "end"), interval)

    def __repr__(self) -> str:
        shown = os.fspath(self.source) if isinstance(self.source, (str, os.PathLike)) else type(self.source).__name__
        return f"<rtk_utils.Log: {shown}>"

    def read(self, *, observations: bool = True) -> LogData:
        """LogData with all of it; without observations it stays small.

        Raises OSError when the file cannot be read, ValueError when it is no log. What is damaged is left out, and told in
        losses.
        """
        read = _core.read(self.source, self._wanted, observations)
        kinds = {"ephemerides": Ephemerides, "positions": Positions, "events": Events, "losses": Losses}
        rows = {name: kind(**read.pop(name)) for name, kind in kinds.items()}
        return LogData(observations=Observations._read(read.pop("observations"), _core.names(self._wanted)), **rows, **read)

    def epochs(self) -> Epochs:
        """Epochs, one after the other, in the memory of one. Raises as read() does."""
        return Epochs(self.source, self._wanted)


def read(source: _Source, *, observations: bool = True, **wanted: Any) -> LogData:
    """Log(source, **wanted).read(): all of a log at once."""
    return Log(source, **wanted).read(observations=observations)
