/// @file fields.h  The number fields of observation files.
#ifndef RINEX_FIELDS_H
#define RINEX_FIELDS_H

#include <algorithm>
#include <cmath>
#include <iterator>

#include "rinex/epoch.h"

namespace rinex {

inline constexpr int kFieldWidth = 16;   // F14.3 with loss-of-lock indicator and strength

/// Whether a value can have a place in F14.3; what is no number cannot.
constexpr bool has_room(double value)
{
    return value < 9999999999.9995 && value > -999999999.9995;
}

/// Whether a value is printed as zero, which means none.
inline bool prints_as_zero(double value)
{
    return std::fabs(value) < 0.0005;
}

/// Whether a value has a place in F14.3 and is not printed as zero.
inline bool fits_columns(double value)
{
    return has_room(value) && !prints_as_zero(value);
}

/// Whether a file has anything of it. A phase too large for its columns loses whole cycles; other values do not fit.
inline bool has_value_to_print(const observation_t& o)
{
    return std::any_of(std::begin(o.value), std::end(o.value), fits_columns) || std::fabs(o.value[kPhase]) >= 1.0;
}

}   // namespace rinex

#endif
