#include <gtest/gtest.h>
#include <rtk_gnss.h>

TEST(Satellites, NumbersSplitAndBuildBySystem)
{
    struct Range {
        int sys, first, last;
    };
    constexpr Range kRanges[] = {{SYS_GPS, 1, 32},    {SYS_BDS, 33, 78},   {SYS_GLO, 79, 102},
                                 {SYS_GAL, 103, 138}, {SYS_QZS, 139, 145}, {SYS_SBS, 146, 170}};
    int covered = 0;
    for (const Range& r : kRanges) {
        for (int sat = r.first; sat <= r.last; ++sat, ++covered) {
            int prn = -1;
            EXPECT_EQ(r.sys, satsys(sat, &prn)) << sat;
            EXPECT_EQ(sat - r.first + 1, prn);
            EXPECT_EQ(r.sys == SYS_SBS ? 0 : sat, satno(static_cast<unsigned char>(r.sys), prn));
        }
        EXPECT_EQ(0, satno(static_cast<unsigned char>(r.sys), 0));
        EXPECT_EQ(0, satno(static_cast<unsigned char>(r.sys), r.last - r.first + 2));
        EXPECT_EQ(0, satno(static_cast<unsigned char>(r.sys), -1));
    }
    EXPECT_EQ(kMaxSat, covered);
}

TEST(Satellites, NoSatelliteHasNoSystem)
{
    for (const int sat : {-1, 0, 171, 255, 1 << 20}) {
        int prn = 7;
        EXPECT_EQ(0, satsys(sat, &prn));
        EXPECT_EQ(0, prn);
        EXPECT_EQ(0, satsys(sat, nullptr));
    }
    EXPECT_EQ(0, satno(2, 1));
}

TEST(Satellites, WavelengthsBelongToTheCarriersFrequencies)
{
    struct Case {
        int sat, slot, channel;
        double mhz;   // 0: no carrier
    };
    constexpr Case kCases[] = {
        {1, 0, 0, 1575.42},     {1, 1, 0, 1227.60},
        {1, 2, 0, 1176.45},     {1, 3, 0, 0},
        {33, 0, 0, 1561.098},   {33, 1, 0, 1207.14},
        {33, 2, 0, 1268.52},    {103, 0, 0, 1575.42},
        {103, 1, 0, 1207.14},   {103, 2, 0, 1176.45},
        {139, 1, 0, 1227.60},   {146, 0, 0, 1575.42},
        {79, 0, -3, 1600.3125}, {88, 1, 0, 1246 - 7 * 0.4375},
        {89, 0, 0, 1602},       {90, 0, 0, 1602 - 0.5625},
        {79, 2, 0, 0},          {79, -1, 0, 0},
        {0, 0, 0, 1575.42},     {171, 1, 0, 1227.60},
    };
    for (const Case& c : kCases) {
        const double wavelength = satwavelen(c.sat, c.slot, static_cast<signed char>(c.channel));
        const double expected = c.mhz == 0 ? 0.0 : 299792458.0 / (c.mhz * 1e6);
        EXPECT_NEAR(expected, wavelength, 1e-15) << c.sat << " slot " << c.slot;
    }
}
