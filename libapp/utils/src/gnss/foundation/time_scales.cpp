// GPS, BeiDou, UTC and GLONASS time.
#include "gnss/foundation/time_scales.h"

#include "rtk_gnss.h"

unsigned short g_curleap = 18;

namespace {

// GPS - UTC from a time on, exclusive of its second; -1: the whole of that week.
struct leap_step_t {
    int week;
    double after;
    unsigned short leaps;
};

constexpr leap_step_t kLeapSteps[] = {
    {1930, -1.0, 18}, {1851, 259200.0, 17}, {1695, -1.0, 16}, {1512, 345600.0, 15}, {1512, -1.0, 14},
};

unsigned short leaps_at(int week, double sec)
{
    for (const leap_step_t& step : kLeapSteps) {
        if (week > step.week) return step.leaps;
        if (week == step.week && (step.after < 0.0 || sec > step.after)) return step.leaps;
    }
    return g_curleap;   // before the table: nothing is known better
}

// The week is normalised on a copy; the seconds are compared as they stand.
void follow_leaps(double sec, unsigned short week)
{
    adjweek(sec, &week);
    g_curleap = leaps_at(week, sec);
}

}   // namespace

double adjweek(double sec, unsigned short* week)
{
    if (sec > kWeek) {
        sec -= kWeek;
        if (week != nullptr) ++*week;
    } else if (sec < 0.0) {
        sec += kWeek;
        if (week != nullptr) --*week;
    }
    return sec;
}

double timeadd(double sec, double add, unsigned short* week)
{
    return adjweek(sec + add, week);
}

double timediff(double sec1, double sec2)
{
    const double diff = sec1 - sec2;
    if (diff > kWeek / 2) return diff - kWeek;
    if (diff < -kWeek / 2) return diff + kWeek;
    return diff;
}

double bdt2gpst(double sec, unsigned short* week)
{
    return adjweek(sec + kBdsOffset, week);
}

double gpst2bdt(double sec, unsigned short* week)
{
    return adjweek(sec - kBdsOffset, week);
}

double gpst2utc(double sec, unsigned short* week)
{
    if (week != nullptr) follow_leaps(sec - g_curleap, *week);
    return adjweek(sec - g_curleap, week);
}

double utc2gpst(double sec, unsigned short* week)
{
    if (week != nullptr) follow_leaps(sec + g_curleap, *week);
    return adjweek(sec + g_curleap, week);
}

double gpst2glot(double sec, unsigned short* week)
{
    if (week != nullptr) follow_leaps(sec - g_curleap, *week);
    return adjweek(sec - g_curleap + kMoscowTime, week);
}

double glot2gpst(double sec, unsigned short* week)
{
    if (week != nullptr) follow_leaps(sec - kMoscowTime, *week);
    return adjweek(sec - kMoscowTime + g_curleap, week);
}
