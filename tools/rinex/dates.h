/// @file dates.h  Times as dates, for what writes files; calendar.h is for what reads them.
#ifndef RINEX_DATES_H
#define RINEX_DATES_H

#include <cstdint>

#include "gnss/rinex/text.h"
#include "rinex/calendar.h"

namespace rinex {

inline constexpr ticks_t kTicksPerMs = kTicksPerSecond / 1000;

/// A date of the time scale that the count was in.
struct calendar_t {
    int year, month, day, hour, minute, second;
    int fraction;      // of the second, ticks
    int day_of_year;   // from 1
};

calendar_t calendar_of(ticks_t ticks);

/// Ticks of seconds since the beginning of GPS time, to the nearest.
ticks_t ticks_of_seconds(double seconds);

/// GPS - UTC (s) at a GPS time (s), by the library's table.
int leap_seconds(double gps_seconds);

/// The date of an epoch line with its first blank: year to minute with zeros, or in RINEX 2 with a year of two digits
/// and blanks for zeros, and seconds as F11.7.
void put_epoch_date(text_t& out, const calendar_t& date, bool rinex2);

}   // namespace rinex

#endif
