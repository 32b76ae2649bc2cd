// GPS weeks to calendar dates and back.
#include <cmath>

#include "gnss/foundation/numbers.h"
#include "gnss/foundation/time_scales.h"
#include "rtk_gnss.h"

namespace {

bool is_leap(int year)
{
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

int days_in_month(int year, int month)
{
    constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (month < 1 || month > 12) return 31;   // weeks that no calendar knows
    return month == 2 && is_leap(year) ? 29 : kDays[month - 1];
}

struct date_t {
    int year, month;
    double day;   // with its fraction
};

// Meeus' calendar algorithm for the start of the week; the seconds ride along as a fraction of the day.
date_t date_of(int week, double tow)
{
    const double jd = static_cast<double>(7LL * week + 44244 + 1 + 2400000);
    const int alpha = int_part((jd - 1867216.25) / 36524.25);
    const double b = jd + 1 + alpha - std::floor(alpha / 4.0) - 1720995;
    date_t date{};
    date.year = int_part((b - 122.1) / 365.25);
    const int d = int_part(date.year * 365.25);
    const int e = int_part((b - d) / 30.6001);
    date.day = b - d - int_part(e * 30.6001) + tow / kDay;
    if (e < 14) {
        date.month = e - 1;
        if (e == 13 && int_part(date.day) >= 32) {   // December runs over into a year that starts at month 0
            date.year += 1;
            date.month = 0;
        }
    } else {
        date.month = e - 13;
    }
    if (e != 13 && date.month < 3) date.year += 1;
    return date;
}

// One carry at most: a week that starts in one month ends in it or in the next.
void carry_month(date_t& date)
{
    if (date.month != 0) {
        const int length = days_in_month(date.year, date.month);
        if (int_part(date.day) <= length) return;
        date.month += 1;
        date.day -= length;
    } else if (int_part(date.day) > 31) {
        date.month = 1;
        date.day -= 31;
    }
}

template <typename T>
void put(T* out, T value)
{
    if (out != nullptr) *out = value;
}

}   // namespace

int GetCommonTime(int week, double tow, double mode, int* year, int* month, int* day, int* hour, int* minute,
                  double* second)
{
    date_t date = date_of(week, tow);
    carry_month(date);

    const int whole_day = int_part(date.day);
    double x = (date.day - whole_day) * 24.0 + 1e-13;
    const int whole_hour = int_part(x);
    x = (x - whole_hour) * 60.0;
    const int whole_minute = int_part(x);
    double seconds = (x - whole_minute) * 60.0;
    if (mode != kUnrounded) seconds = int_part(seconds * 100.0 + 0.5) / 100.0;

    put(year, date.year);
    put(month, date.month);
    put(day, whole_day);
    put(hour, whole_hour);
    put(minute, whole_minute);
    put(second, seconds);
    return 1;
}

int GetGpsTime(int year, int month, int day, int hour, int minute, double second, int* week, double* tow)
{
    const bool valid = year >= 1981 && month >= 1 && month <= 12 && day >= 1 && day <= 31 && hour <= 24 &&
                       minute <= 60 && second >= 0.0 &&
                       second <= 60.0;   // Deliberate: hours and minutes may be negative.
    if (!valid) return 0;

    const long long y = year - 1LL;   // whole years since 1981 and their leap days, in closed form
    const long long leap_days = (y / 4 - y / 100 + y / 400) - (1980 / 4 - 1980 / 100 + 1980 / 400);
    long long days = 360 + (y - 1980) * 365 + leap_days + day;
    for (int m = 1; m < month; ++m) days += days_in_month(year, m);
    put(week, static_cast<int>(days / 7));
    put(tow, static_cast<double>(days % 7) * kDay + hour * 3600.0 + minute * 60.0 + second);
    return 1;
}

double glot2ws(unsigned int n4, unsigned int nt, unsigned int tod, unsigned short* week)
{
    if (n4 < 1 || n4 > 31 || nt < 1 || nt > 1461 || tod > 86400) return 0.0;
    int w = 0;
    double tow = 0.0;
    GetGpsTime(1992 + static_cast<int>(n4) * 4, 1, 1, 0, 0, 0.0, &w, &tow);
    const double days = tow / kDay + (nt - 1);   // from the start of that week
    unsigned short gps_week = static_cast<unsigned short>(w + static_cast<int>(days / 7.0));
    const double sec = std::fmod(days, 7.0) * kDay + tod;
    const double result = glot2gpst(sec, &gps_week);
    put(week, gps_week);
    return result;
}
