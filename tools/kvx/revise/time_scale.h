/// @file time_scale.h  The time systems of files beside GPS time.
#ifndef KVX_TIME_SCALE_H
#define KVX_TIME_SCALE_H

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string_view>

#include "rinex/dates.h"

namespace kvx {

/// GPS time less a file's own, from what its header says.
class time_scale_t {
public:
    /// @param name    "GPS", "GLO", "BDT", ...; another text: GPS time
    /// @param leaps   GPS - UTC (s) as the file says; nothing: by the library's table
    time_scale_t(std::string_view name, std::optional<int> leaps)
        : utc_(name == "GLO"), fixed_(name == "BDT" ? kBeidou : 0), leaps_(leaps)
    {}

    /// @param ticks  see rinex/calendar.h
    rinex::ticks_t gps(rinex::ticks_t ticks) const
    {
        int seconds = fixed_;
        if (utc_) seconds = leaps_ ? *leaps_ : rinex::leap_seconds(seconds_of(ticks));
        return ticks + seconds * rinex::kTicksPerSecond;
    }

private:
    static constexpr int kBeidou = 14;   // s

    static double seconds_of(rinex::ticks_t ticks)
    {
        constexpr rinex::ticks_t kLast = 60'000 * rinex::kTicksPerWeek;   // files may say any year
        return static_cast<double>(std::clamp<rinex::ticks_t>(ticks, 0, kLast)) / rinex::kTicksPerSecond;
    }

    bool utc_;
    int fixed_;
    std::optional<int> leaps_;
};

/// The time system of a system's own files and records: "GLO" for 'R'.
constexpr std::string_view scale_of(char system)
{
    return system == 'R' ? "GLO" : system == 'E' ? "GAL" : system == 'C' ? "BDT" : "GPS";
}

/// The last multiple of a unit that is not later.
constexpr std::int64_t floor_to(std::int64_t time, std::int64_t unit)
{
    return time - ((time % unit) + unit) % unit;
}

/// To the nearest.
constexpr std::int64_t milliseconds(rinex::ticks_t ticks)
{
    return (ticks + rinex::kTicksPerMs / 2) / rinex::kTicksPerMs;
}

}   // namespace kvx

#endif
