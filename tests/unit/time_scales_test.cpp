#include <gtest/gtest.h>
#include <rtk_gnss.h>

#include <chrono>
#include <cmath>
#include <limits>

namespace {

/// Puts the process's leap seconds back to what they were.
struct KeepLeaps {
    unsigned short before = g_curleap;
    ~KeepLeaps() { g_curleap = before; }
};

}   // namespace

TEST(TimeScales, SecondsStayInTheWeek)
{
    struct Case {
        double sec;
        unsigned short week;
        double sec_out;
        unsigned short week_out;
    };
    constexpr Case kCases[] = {{604800.0, 5, 604800.0, 5}, {604800.5, 5, 0.5, 6},       {-1.0, 5, 604799.0, 4},
                               {-1.0, 0, 604799.0, 65535}, {1300000.0, 5, 695200.0, 6}, {0.0, 5, 0.0, 5},
                               {604801.0, 65535, 1.0, 0}};
    for (const Case& c : kCases) {
        unsigned short week = c.week;
        EXPECT_EQ(c.sec_out, adjweek(c.sec, &week));
        EXPECT_EQ(c.week_out, week);
        EXPECT_EQ(c.sec_out, adjweek(c.sec, nullptr));
    }
    EXPECT_EQ(20.0, timediff(10, 604790));
    EXPECT_EQ(-302399.0, timediff(302401, 0));
    EXPECT_EQ(302400.0, timediff(302400, 0));
}

TEST(TimeScales, LeapSecondsFollowTheTimeConverted)
{
    const KeepLeaps keep;
    struct Case {
        unsigned short before, week;
        double sec;
        unsigned short leaps;
    };
    constexpr Case kCases[] = {
        {18, 1511, 604000, 18}, {18, 1512, 345618, 14}, {18, 1512, 345619, 15},
        {15, 1694, 604799, 15}, {15, 1695, 0, 15},   // 15 s before the start of that week
        {15, 1695, 20, 16},     {16, 1851, 259216, 16}, {16, 1851, 259217, 17},
        {17, 1929, 604000, 17}, {17, 1930, 17, 18},     {18, 2400, 0, 18},
    };
    for (const Case& c : kCases) {
        g_curleap = c.before;
        unsigned short week = c.week;
        const double utc = gpst2utc(c.sec, &week);
        EXPECT_EQ(c.leaps, g_curleap) << c.week << " " << c.sec;
        unsigned short back_week = week;
        EXPECT_NEAR(0.0, timediff(utc2gpst(utc, &back_week), c.sec), c.week == 1512 || c.week == 1851 ? 1.0 : 0.0);
    }
    g_curleap = 16;
    EXPECT_EQ(604790.0, gpst2utc(6.0, nullptr));
    EXPECT_EQ(16, g_curleap);
}

TEST(TimeScales, ConversionsAreInverse)
{
    const KeepLeaps keep;
    for (const double sec : {0.5, 5.0, 15.0, 300000.5, 604799.0}) {
        unsigned short week = 2200;
        EXPECT_EQ(sec, bdt2gpst(gpst2bdt(sec, &week), &week));
        EXPECT_EQ(2200, week);
        const double glonass = gpst2glot(sec, &week);
        EXPECT_NEAR(0.0, timediff(glonass, sec + 10800 - 18), 1e-9);
        EXPECT_NEAR(0.0, timediff(glot2gpst(glonass, &week), sec), 1e-9);
        EXPECT_EQ(2200, week);
    }
}

TEST(Calendar, EveryDayOfACentury)
{
    using namespace std::chrono;
    const sys_days epoch = year{1980} / January / 6;
    for (sys_days day = year{1981} / January / 1; day < sys_days{year{2081} / January / 1}; day += days{1}) {
        const year_month_day date{day};
        const auto count = static_cast<int>((day - epoch).count());
        int y = 0, mon = 0, d = 0, h = 0, min = 0, week = 0;
        double s = 0.0, tow = 0.0;
        const double expected_tow = count % 7 * 86400.0 + 13 * 3600 + 47 * 60 + 29.95;
        ASSERT_EQ(1, GetCommonTime(count / 7, expected_tow, 0.0, &y, &mon, &d, &h, &min, &s));
        ASSERT_EQ(date, year{y} / mon / d) << count;
        ASSERT_EQ(13, h);
        ASSERT_EQ(47, min);
        ASSERT_EQ(29.95, s);
        ASSERT_EQ(1, GetGpsTime(y, mon, d, h, min, s, &week, &tow));
        ASSERT_EQ(count / 7, week);
        ASSERT_NEAR(expected_tow, tow, 1e-9);
    }
}

TEST(Calendar, OddTimes)
{
    double s = 0.0;
    int min = 0;
    GetCommonTime(2200, 59.996, 0.0, nullptr, nullptr, nullptr, nullptr, &min, &s);
    EXPECT_EQ(60.0, s);   // rounding never carries into the minute
    EXPECT_EQ(0, min);
    GetCommonTime(2200, 59.996, -3.0, nullptr, nullptr, nullptr, nullptr, nullptr, &s);
    EXPECT_NEAR(59.996, s, 1e-6);
    for (const double tow : {std::nan(""), HUGE_VAL, -1e300, 1e18}) {
        for (const int week : {0, -1, 65535, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
            EXPECT_EQ(1, GetCommonTime(week, tow, 0.0, nullptr, nullptr, nullptr, nullptr, &min, &s));
        }
    }
}

TEST(Calendar, InvalidDatesAreRefused)
{
    int week = -5;
    double tow = -5.0;
    EXPECT_EQ(0, GetGpsTime(1980, 12, 31, 0, 0, 0, &week, &tow));
    EXPECT_EQ(0, GetGpsTime(2020, 13, 1, 0, 0, 0, &week, &tow));
    EXPECT_EQ(0, GetGpsTime(2020, 1, 0, 0, 0, 0, &week, &tow));
    EXPECT_EQ(0, GetGpsTime(2020, 1, 1, 25, 0, 0, &week, &tow));
    EXPECT_EQ(0, GetGpsTime(2020, 1, 1, 0, 61, 0, &week, &tow));
    EXPECT_EQ(0, GetGpsTime(2020, 1, 1, 0, 0, 60.5, &week, &tow));
    EXPECT_EQ(0, GetGpsTime(2020, 1, 1, 0, 0, std::nan(""), &week, &tow));
    EXPECT_EQ(0, GetGpsTime(2020, 1, 1, 0, 0, -0.5, &week, &tow));
    EXPECT_EQ(-5, week);
    EXPECT_EQ(1, GetGpsTime(2020, 1, 6, -3, -1, 0.5, &week, &tow));   // counted back from the date
    EXPECT_EQ(86400.0 - 3 * 3600 - 60 + 0.5, tow);
    EXPECT_EQ(1, GetGpsTime(2020, 1, 1, 24, 60, 60, nullptr, nullptr));
}

TEST(Calendar, GlonassDates)
{
    const KeepLeaps keep;
    unsigned short week = 0;
    // 2020 is the first year of interval 7; noon of 1 February in Moscow is 09:00:18 GPS time.
    EXPECT_NEAR(6 * 86400 + 9 * 3600 + 18, glot2ws(7, 32, 43200, &week), 1e-6);
    EXPECT_EQ(2090, week);
    EXPECT_EQ(0.0, glot2ws(0, 1, 0, &week));
    EXPECT_EQ(0.0, glot2ws(7, 1462, 0, &week));
    EXPECT_EQ(2090, week);
}

TEST(Geodesy, PointsWithKnownCoordinates)
{
    struct Case {
        double lat, lon, h, xyz[3];
    };
    const double half_pi = std::acos(0.0);
    const Case cases[] = {{0, 0, 0, {6378137, 0, 0}},
                          {0, half_pi, 100, {0, 6378237, 0}},
                          {half_pi, 0, 0, {0, 0, 6356752.314245}},
                          {-half_pi, 0, 10, {0, 0, -6356762.314245}}};
    for (const Case& c : cases) {
        const double geodetic[3] = {c.lat, c.lon, c.h};
        double ecef[3];
        pos2ecef(geodetic, ecef);
        for (int i = 0; i < 3; ++i) EXPECT_NEAR(c.xyz[i], ecef[i], 1e-6);
    }
}
