// Foundation functions against what is known of them from elsewhere; over their whole ranges they are kept by digests.
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>

#include "gnss/foundation/crc32.h"
#include "support/frame_builder.h"
#include "support/plain_message_parser.h"

TEST(Checksums, KnownValuesEveryLengthAndAlignment)
{
    const auto* digits = reinterpret_cast<const unsigned char*>("123456789");
    EXPECT_EQ(0x2DFD2D88u, crc32(digits, 9));
    EXPECT_EQ(0xCDE703u, crc24q(digits, 9));   // check value of the same parameters in LTE
    EXPECT_EQ(0u, crc32(nullptr, 0) + crc24q(nullptr, -1));
    const Bytes frame = range_frame(std::vector<sky::range_t>(15, signal(0, 0, 5))).bytes();
    EXPECT_EQ(0u, crc32(frame.data(), static_cast<int>(frame.size())));   // with its checksum
    for (int at = 0; at < 16; ++at)
        for (int len = 0; at + len <= static_cast<int>(frame.size()); ++len) {
            const unsigned expected = bitwise_crc32(&frame[at], len);
            ASSERT_EQ(expected, crc32(&frame[at], len)) << at << ' ' << len;
            for (const checksum::way_t& way : checksum::ways())
                if (way.available()) ASSERT_EQ(expected, way.crc32(&frame[at], len)) << way.name << at << ' ' << len;
        }
}

TEST(Calendar, EveryDayOfACentury)
{
    using namespace std::chrono;
    const sys_days epoch = year{1980} / January / 6;
    for (sys_days day = year{1981} / January / 1; day < sys_days{year{2081} / January / 1}; day += days{1}) {
        const auto count = static_cast<int>((day - epoch).count());
        int y = 0, mon = 0, d = 0, h = 0, min = 0, week = 0;
        double s = 0.0, tow = 0.0;
        const double expected_tow = count % 7 * 86400.0 + 13 * 3600 + 47 * 60 + 29.95;
        ASSERT_EQ(1, GetCommonTime(count / 7, expected_tow, 0.0, &y, &mon, &d, &h, &min, &s));
        ASSERT_EQ(year_month_day{day}, year{y} / mon / d) << count;
        ASSERT_EQ(13 * 60 + 47, h * 60 + min);
        ASSERT_EQ(29.95, s);
        ASSERT_EQ(1, GetGpsTime(y, mon, d, h, min, s, &week, &tow));
        ASSERT_EQ(count / 7, week);
        ASSERT_NEAR(expected_tow, tow, 1e-9);
    }
}

TEST(Calendar, OddTimes)
{
    double s = 0.0, tow = -5.0;
    int min = 0, week = -5;
    GetCommonTime(2200, 59.996, 0.0, nullptr, nullptr, nullptr, nullptr, &min, &s);
    EXPECT_EQ(60.0, s);   // rounding never carries into the minute
    EXPECT_EQ(0, min);
    for (const double odd : {std::nan(""), HUGE_VAL, -1e300, 1e18})   // no harm, whatever the date
        EXPECT_EQ(1, GetCommonTime(INT_MIN, odd, 0.0, nullptr, nullptr, nullptr, nullptr, &min, &s));
    EXPECT_EQ(0, GetGpsTime(2020, 1, 1, 0, 0, std::nan(""), &week, &tow));
    EXPECT_EQ(-5, week);
    EXPECT_EQ(1, GetGpsTime(2020, 1, 6, -3, -1, 0.5, &week, &tow));   // counted back from the date
    EXPECT_EQ(86400.0 - 3 * 3600 - 60 + 0.5, tow);
}

TEST(Geodesy, PointsWithKnownCoordinates)
{
    struct Case {
        double lat, lon, h, xyz[3];   // degrees, m
    };
    constexpr Case kCases[] = {{0, 0, 0, {6378137, 0, 0}},
                               {0, 90, 100, {0, 6378237, 0}},
                               {0, 180, 50, {-6378187, 0, 0}},
                               {90, 0, 0, {0, 0, 6356752.314245}},
                               {-90, 0, 10, {0, 0, -6356762.314245}},
                               {45, 60, 1000, {2259148.993, 3912960.837, 4488055.516}}};
    for (const Case& c : kCases) {
        const double degree = std::acos(-1.0) / 180, geodetic[3] = {c.lat * degree, c.lon * degree, c.h};
        double ecef[3];
        pos2ecef(geodetic, ecef);
        for (int i = 0; i < 3; ++i) EXPECT_NEAR(c.xyz[i], ecef[i], 5e-4);
    }
}
