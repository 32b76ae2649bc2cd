#include "rinex/dates.h"

#include <chrono>
#include <cmath>

#include "gnss/foundation/time_scales.h"
#include "rtk_gnss.h"

namespace rinex {

namespace {

using std::chrono::days;
using std::chrono::sys_days;

constexpr sys_days kGpsBegin{std::chrono::year(1980) / 1 / 6};

}   // namespace

calendar_t calendar_of(ticks_t ticks)
{
    const std::int64_t day = ticks >= 0 ? ticks / kTicksPerDay : -((kTicksPerDay - 1 - ticks) / kTicksPerDay);
    const sys_days date = kGpsBegin + days(day);
    const std::chrono::year_month_day ymd(date);
    const std::int64_t in_day = ticks - day * kTicksPerDay;
    const auto seconds = static_cast<int>(in_day / kTicksPerSecond);
    calendar_t c{};
    c.year = static_cast<int>(ymd.year());
    c.month = static_cast<int>(static_cast<unsigned>(ymd.month()));
    c.day = static_cast<int>(static_cast<unsigned>(ymd.day()));
    c.hour = seconds / 3600;
    c.minute = seconds / 60 % 60;
    c.second = seconds % 60;
    c.fraction = static_cast<int>(in_day % kTicksPerSecond);
    c.day_of_year = static_cast<int>((date - sys_days(ymd.year() / 1 / 1)).count()) + 1;
    return c;
}

int leap_seconds(double gps_seconds)
{
    const unsigned short kept = g_curleap;   // the conversion moves the process-wide count
    auto week = static_cast<unsigned short>(gps_seconds / kWeek);
    const double tow = gps_seconds - week * kWeek;
    const double leap = timediff(tow, gpst2utc(tow, &week));
    g_curleap = kept;
    return static_cast<int>(std::lround(leap));
}

ticks_t ticks_of_seconds(double seconds)
{
    const double whole = std::floor(seconds);
    return static_cast<std::int64_t>(whole) * kTicksPerSecond +
           std::llround((seconds - whole) * static_cast<double>(kTicksPerSecond));
}

void put_epoch_date(text_t& out, const calendar_t& c, bool rinex2)
{
    const char zero = rinex2 ? ' ' : '0';
    out.put(' ');
    rinex2 ? out.integer(c.year % 100, 2, '0') : out.integer(c.year, 4);
    for (const int part : {c.month, c.day, c.hour, c.minute}) out.put(' ').integer(part, 2, zero);
    out.integer(c.second, 3).put('.').integer(c.fraction, 7, '0');
}

}   // namespace rinex
