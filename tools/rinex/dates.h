/// @file dates.h  Times as dates.
#ifndef RINEX_DATES_H
#define RINEX_DATES_H

#include <cstdint>

#include "gnss/rinex/text.h"

namespace rinex {

/// Times of files are whole numbers of these since the beginning of GPS time, 1980-01-06: seven decimals of a second.
inline constexpr std::int64_t kTicksPerSecond = 10000000, kTicksPerMs = 10000;
inline constexpr std::int64_t kTicksPerDay = 86400 * kTicksPerSecond;

/// A date of the time scale that the count was in.
struct calendar_t {
    int year, month, day, hour, minute, second;
    int fraction;      // of the second, ticks
    int day_of_year;   // from 1
};

calendar_t calendar_of(std::int64_t ticks);

/// Ticks of a date.
std::int64_t ticks_of(int year, int month, int day, int hour = 0, int minute = 0, int second = 0);

/// Ticks of seconds since the beginning of GPS time, to the nearest.
std::int64_t ticks_of_seconds(double seconds);

/// The date of an epoch line with its first blank: year to minute with zeros, or in RINEX 2 with a year of two digits
/// and blanks for zeros, and seconds as F11.7.
void put_epoch_date(text_t& out, const calendar_t& date, bool rinex2);

}   // namespace rinex

#endif
