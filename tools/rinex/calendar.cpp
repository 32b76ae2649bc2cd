#include "rinex/calendar.h"

#include <chrono>
#include <cstdio>

namespace rinex {

namespace {
using std::chrono::sys_days;
using std::chrono::year_month_day;
constexpr sys_days kStart = std::chrono::year(1980) / 1 / 6;
}   // namespace

std::optional<ticks_t> ticks_of(int year, int month, int day, int hour, int minute, ticks_t second)
{
    const year_month_day date = std::chrono::year(year) / month / day;
    if (month < 0 || day < 0 || !date.ok()) return std::nullopt;
    if (hour < 0 || hour > 23 || minute < 0 || minute > 59) return std::nullopt;
    if (second < 0 || second >= 61 * kTicksPerSecond) return std::nullopt;
    const ticks_t days = (sys_days(date) - kStart).count();
    return days * kTicksPerDay + (hour * 60 + minute) * 60 * kTicksPerSecond + second;
}

std::string ticks_text(ticks_t ticks)
{
    ticks_t days = ticks / kTicksPerDay;
    if (ticks % kTicksPerDay < 0) --days;
    const ticks_t rest = ticks - days * kTicksPerDay, seconds = rest / kTicksPerSecond;
    const year_month_day date(kStart + std::chrono::days(days));
    char text[48];
    std::snprintf(text, sizeof text, "%04d-%02u-%02u %02d:%02d:%02d.%07d", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                  static_cast<int>(seconds / 3600), static_cast<int>(seconds / 60 % 60), static_cast<int>(seconds % 60),
                  static_cast<int>(rest % kTicksPerSecond));
    return text;
}

}   // namespace rinex
