/// @file store.h  What the decoders of ephemerides share when they put one into the record.
#ifndef RTK_LOG_STORE_H
#define RTK_LOG_STORE_H

#include <cmath>
#include <cstdint>

#include "gnss/log/kepler.h"
#include "rtk_gnss.h"

namespace korvex {

/// A time of the wire that can be worked with.
inline bool usable_time(double sec)
{
    return std::fabs(sec) <= 1e7;
}

/// The stored ephemeris has this reference time. A first one is new whatever its time.
template <typename Ephemeris>
bool is_known(const Ephemeris& stored, double toe)
{
    return stored.sat != 0 && timediff(stored.toe, toe) == 0.0;
}

inline void take_week_if_unknown(raw_t* raw, std::uint16_t week)
{
    if (raw->week == 0) raw->week = week;
}

/// Copies an orbit into the record's fields, which have the same names.
template <typename Ephemeris>
void keep_orbit(Ephemeris& e, const orbit_t& o)
{
    e.toe = o.toe;
    e.e = o.e;
    e.i0 = o.i0;
    e.omega0 = o.omega0;
    e.omega = o.omega;
    e.M0 = o.M0;
    e.delta_n = o.delta_n;
    e.omega_dot = o.omega_dot;
    e.idot = o.idot;
    e.crc = o.crc;
    e.crs = o.crs;
    e.cuc = o.cuc;
    e.cus = o.cus;
    e.cic = o.cic;
    e.cis = o.cis;
}

}   // namespace korvex

#endif
