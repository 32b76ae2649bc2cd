"""What a log tells beside observations: ephemerides, positions, events."""

from __future__ import annotations

from collections.abc import Iterable
from typing import TYPE_CHECKING

import numpy

from ._rows import Rows

if TYPE_CHECKING:
    from numpy.typing import NDArray

# The 31 numbers of an ephemeris, as navigation files have them: of satellites with Keplerian elements, and of those with a
# state vector. Names with a unit behind them; the others have none.
_KEPLER = ("af0 s, af1 s/s, af2 s/s2, iode, crs m, delta_n rad/s, m0 rad, cuc rad, e, cus rad, sqrt_a m^0.5, toe s, cic rad, "
           "omega0 rad, cis rad, i0 rad, crc m, omega rad, omega_dot rad/s, idot rad/s, codes, week, l2p, accuracy m, sv_health, "
           "tgd s, iodc_or_bgd2, sent s, fit_or_aodc")
_STATE = ("clock s, clock_rate s/s, frame_time s, x km, vx km/s, ax km/s2, sv_health, y km, vy km/s, ay km/s2, "
          "channel_or_accuracy, z km, vz km/s, az km/s2, age_or_issue, flags, group_delay s, accuracy, more_health")


def _fields(listed: str) -> list[tuple[str, str]]:
    return [(name, unit) for name, _, unit in (field.partition(" ") for field in listed.split(", "))]


class Ephemerides(Rows):
    """Broadcast ephemerides, each data set once, in order of time.

    time       time of clock, of GLONASS and SBAS of the state: datetime64[ns] in the time scale of files, which is UTC for
               GLONASS, BeiDou time for BeiDou and GPS time for the others
    reference  time of ephemeris, likewise
    satellite  "G01"
    message    LNAV, INAV, FNAV, D1, D2, FDMA or SBAS
    issue      of data
    health     bits as sent
    numbers    the 31 numbers of a record in a navigation file, in its order and units; NaN for blanks. The time
               of sending is 999999999.999 where it is not known, as there

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


class Positions(Rows):
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


class Events(Rows):
    """What happened between the epochs.

    time  datetime64[ns], GPS time
    kind  "mark" at the receiver's input, "moving" and "site" of stop and go
    """

    columns = ("time", "kind")
    time: NDArray[numpy.datetime64]
    kind: NDArray[numpy.str_]
