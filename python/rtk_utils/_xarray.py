"""Observations as a Dataset of xarray."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any

import numpy
import xarray

if TYPE_CHECKING:
    from ._observations import Observations

_KINDS = (   # letter of RINEX, column, units, long name
    ("C", "pseudorange", "m", "Pseudorange"),
    ("L", "phase", "cycles", "Carrier phase"),
    ("D", "doppler", "Hz", "Doppler"),
    ("S", "cn0", "dB-Hz", "Carrier-to-noise density ratio"),
)


def _epochs(observations: Observations) -> tuple[Any, Any]:
    """Times of the epochs, and of each row the number of its epoch."""
    time, n = observations.time, len(observations)
    if (time[1:] < time[:-1]).any():   # rows in another order, or a clock that was set back
        times, epoch = numpy.unique(time, return_inverse=True)
        cells = epoch * len(observations._tables[0]) + observations._name
        if len(numpy.unique(cells)) == n:
            return times, epoch
    starts = numpy.flatnonzero(numpy.concatenate((numpy.ones(min(n, 1), bool), time[1:] != time[:-1])))
    return time[starts], numpy.repeat(numpy.arange(len(starts)), numpy.diff(numpy.append(starts, n)))


def dataset(observations: Observations) -> xarray.Dataset:
    times, epoch = _epochs(observations)
    # The tables list names by satellite and signal: few numbers are sorted, not the names of all rows.
    numbers, number = numpy.unique(observations._name, return_inverse=True)
    satellites, satellite = numpy.unique(observations._tables[0][numbers], return_inverse=True)
    codes = observations._tables[1][numbers]
    shape = len(times), len(satellites)
    variables: dict[str, Any] = {}
    for code in numpy.unique(codes):
        rows = numpy.flatnonzero((codes == code)[number])
        place = epoch[rows], satellite[number[rows]]
        for letter, name, units, long_name in _KINDS:
            values = getattr(observations, name)[rows]
            if numpy.isnan(values).all():
                continue
            grid = numpy.full(shape, numpy.nan, values.dtype)
            grid[place] = values
            variables[letter + code] = ("time", "sv"), grid, {"units": units, "long_name": f"{long_name} of {code}"}
            if letter == "L":
                flags = numpy.zeros(shape, numpy.uint8)
                flags[place] = observations.lli[rows]
                about = {"flag_masks": [1, 2], "flag_meanings": "cycle_slip_possible half_cycle_unknown"}
                variables[f"L{code}_lli"] = ("time", "sv"), flags, about
    coordinates = {"time": ("time", times, {"long_name": "GPS time"}),
                   "sv": ("sv", satellites, {"long_name": "Satellite"})}
    return xarray.Dataset(variables, coordinates, {"time_system": "GPS", "rinextype": "obs"})
