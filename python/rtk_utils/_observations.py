"""Observations: of a log, and of one of its epochs."""

from __future__ import annotations

import functools
from typing import TYPE_CHECKING, Any

import numpy

from ._rows import Rows

if TYPE_CHECKING:
    import xarray
    from numpy.typing import NDArray


class _Observed(Rows):
    """Names stand in tables, by the number of each row; they become arrays when they are asked for."""

    columns = ("time", "satellite", "code", "pseudorange", "phase", "doppler", "cn0", "lli")
    time: Any
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

    @property
    def _times(self) -> NDArray[numpy.datetime64]:
        return numpy.broadcast_to(self.time, len(self))

    @classmethod
    def _joined(cls, parts: list[Any]) -> Observations:
        tables: list[tuple[Any, Any]] = []   # two where signals were called by other names
        names = []
        for part in parts:
            known = [numpy.array_equal(codes, part._tables[1]) for _, codes in tables]
            if not any(known):
                tables.append(part._tables)
                known.append(True)
            names.append(part._name + known.index(True) * len(part._tables[0]))
        columns = {name: numpy.concatenate([getattr(part, name) for part in parts]) for name in cls.columns[3:]}
        both = numpy.concatenate([t[0] for t in tables]), numpy.concatenate([t[1] for t in tables])
        return Observations(time=numpy.concatenate([part._times for part in parts]), _name=numpy.concatenate(names),
                            _tables=both, **columns)


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

        A variable is there when some satellite has a value of it. What is not there is NaN, and 0 in the indicators: of
        a log with many signals most of the grid, which takes ten times the memory of the rows.

        Epochs are as they follow each other in the rows. Where times go back, rows are put in order of time, unless one
        time has the same signal twice: a clock that was set back tells some times twice, and both epochs stay.
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
        return Observations._joined([self]).to_structured()
