/// @file calendar.h  Times in files as exact integers.
#ifndef RINEX_CALENDAR_H
#define RINEX_CALENDAR_H

#include <cstdint>
#include <optional>
#include <string>

namespace rinex {

/// Units of 100 ns since 1980-01-06 00:00:00, in the time system of the file: epochs have seven decimals.
using ticks_t = std::int64_t;

inline constexpr ticks_t kTicksPerSecond = 10'000'000;
inline constexpr ticks_t kTicksPerDay = 86400 * kTicksPerSecond;
inline constexpr ticks_t kTicksPerWeek = 7 * kTicksPerDay;

/// @param second  ticks within the minute; 60 s, a leap second, is the next minute's first
/// @return nothing for what the calendar or the clock does not have
std::optional<ticks_t> ticks_of(int year, int month, int day, int hour, int minute, ticks_t second);

/// The year of two digits: 80 to 99 are 1980 to 1999.
constexpr int full_year(int two_digits)
{
    return two_digits + (two_digits >= 80 ? 1900 : 2000);
}

/// "2024-03-10 12:00:00.0000000".
std::string ticks_text(ticks_t ticks);

}   // namespace rinex

#endif
