/// @file fields.h  The number fields of observation files.
#ifndef RINEX_FIELDS_H
#define RINEX_FIELDS_H

#include <cmath>

namespace rinex {

inline constexpr int kFieldWidth = 16;   // F14.3 with loss-of-lock indicator and strength

/// Whether a value can have a place in F14.3; what is no number cannot.
constexpr bool has_room(double value)
{
    return value < 9999999999.9995 && value > -999999999.9995;
}

/// Whether a value has a place in F14.3 and is not printed as zero, which means none.
inline bool fits_columns(double value)
{
    return has_room(value) && std::fabs(value) >= 0.0005;
}

}   // namespace rinex

#endif
