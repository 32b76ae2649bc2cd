"""Observations as a Dataset of xarray."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any

import numpy
import xarray

if TYPE_CHECKING:
    from ._log import Observations

_KINDS = (   # letter of RINEX, column, units, long name
    ("C", "pseudorange", "m", "Pseudorange"),
    ("L", "phase", "cycles", "Carrier phase"),
    ("D", "doppler", "Hz", "Doppler"),
    ("S", "cn0", "dB-Hz", "Carrier-to-noise density ratio"),
)


def dataset(observations: Observations) -> xarray.Dataset:
    """Epochs are told apart by their places: a clock that was set back may tell a time twice."""
    time, n = observations.time, len(observations)
    starts = numpy.flatnonzero(numpy.concatenate((numpy.ones(min(n, 1), bool), time[1:] != time[:-1])))
    epoch = numpy.repeat(numpy.arange(len(starts)), numpy.diff(numpy.append(starts, n)))
    # The tables list names by satellite and signal: few numbers are sorted, not the names of all rows.
    numbers, number = numpy.unique(observations._name, return_inverse=True)
    satellites, satellite = numpy.unique(observations._tables[0][numbers], return_inverse=True)
    codes = observations._tables[1][numbers]
    shape = len(starts), len(satellites)
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
    coordinates = {"time": ("time", time[starts], {"long_name": "GPS time"}),
                   "sv": ("sv", satellites, {"long_name": "Satellite"})}
    return xarray.Dataset(variables, coordinates, {"time_system": "GPS", "rinextype": "obs"})
