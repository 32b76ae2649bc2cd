// Navigation records of all systems.
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>

#include "support/navigation_records.h"

namespace {

TEST(RinexNavRec, EverySystemOnBothSidesOfTheThresholds)
{
    const auto raw = ephemerides();
    std::string all;
    for (const int number : {211, 299, 300, 301, 304}) {
        for (const nav_case_t& c : kNavCases) {
            raw->eph_sat = static_cast<std::uint16_t>(c.sat);
            all += "# " + std::string(c.name) + " " + std::to_string(number) + "\n";
            all += written(c.write, *raw, number, number >= 300 || c.sat != 109);
        }
    }
    expect_golden("nav_records.golden", all);
}

TEST(RinexNavRec, OnlyTheOwnSystemIsWritten)
{
    const auto raw = ephemerides();
    const rnx_t opt = version(304);
    for (int sat = 0; sat <= 70000; sat += sat < 300 ? 1 : 997) {
        raw->eph_sat = static_cast<std::uint16_t>(sat);
        int writers = 0;
        const FilePtr file = new_file();
        for (const nav_case_t& c : kNavCases) writers += c.write(file.get(), raw.get(), &opt);
        EXPECT_EQ(sat >= 1 && sat <= 170 ? 1 : 0, writers) << sat;
        EXPECT_EQ(writers == 0, std::ftell(file.get()) == 0);
    }
    for (const nav_case_t& c : kNavCases) {
        raw->eph_sat = static_cast<std::uint16_t>(c.sat);
        const FilePtr file = new_file();
        EXPECT_EQ(0, c.write(nullptr, raw.get(), &opt)) << c.name;
        EXPECT_EQ(0, c.write(file.get(), nullptr, &opt)) << c.name;
        EXPECT_EQ(0, c.write(file.get(), raw.get(), nullptr)) << c.name;
        EXPECT_EQ("", contents(file.get()));
    }
}

TEST(RinexNavRec, AnEmptySlotIsZeros)
{
    const auto raw = std::make_unique<raw_t>();
    raw->eph_sat = 32;
    const auto text = lines(written(WriteRinexGpsEphRec, *raw, 304));
    ASSERT_EQ(8U, text.size());
    const std::string zero = " 0.000000000000E+00";
    EXPECT_EQ("G32 1980 01 06 00 00 00" + zero + zero + zero, text[0]);
    EXPECT_EQ("    " + zero + zero + zero + zero, text[1]);
    EXPECT_EQ("     0.999900000000E+09" + zero, text[7]);
}

/// Printed value of a field after a change to the ephemerides.
template <typename Change>
double field_after(const nav_case_t& c, int number, std::size_t line, std::size_t column, Change change)
{
    const auto raw = ephemerides();
    change(*raw);
    raw->eph_sat = static_cast<std::uint16_t>(c.sat);
    const int indent2 = c.sat == 140 ? 4 : 3;
    const bool rinex3 = number >= (c.sat >= 139 ? 301 : 300);
    return fields(written(c.write, *raw, number), rinex3, indent2).lines.at(line).at(column);
}

const nav_case_t &kGps = kNavCases[0], &kQzs = kNavCases[1], &kGlo = kNavCases[2], &kSbs = kNavCases[3],
                 &kBds = kNavCases[4], &kGal = kNavCases[5];

TEST(RinexNavRec, AccuracyAndTransmissionTime)
{
    const std::pair<int, double> kAccuracies[] = {{0, 2.0},     {1, 2.8},      {5, 11.3},
                                                  {14, 4096.0}, {15, 32767.0}, {65535, 32767.0}};
    for (const auto& [index, metres] : kAccuracies) {
        const auto set = [i = index](raw_t& raw) {
            for (eph_t& e : raw.eph) e.ura_index = static_cast<std::uint16_t>(i);
        };
        for (const auto* c : {&kGps, &kQzs, &kBds}) EXPECT_EQ(metres, field_after(*c, 304, 6, 0, set)) << index;
    }
    const std::pair<double, double> kTimes[] = {{0.0, 9.999e8},  {0.0005, 9.999e8}, {0.001, 9.999e8},
                                                {-5.0, 9.999e8}, {0.0011, 0.0011},  {604799.5, 604799.5}};
    for (const auto& [tow, printed] : kTimes) {
        const auto set = [t = tow](raw_t& raw) { raw.tow = t; };
        for (const auto* c : {&kGps, &kQzs, &kGal}) EXPECT_EQ(printed, field_after(*c, 304, 7, 0, set)) << tow;
    }
    EXPECT_EQ(345584.0, field_after(kBds, 304, 7, 0, [](raw_t& raw) { raw.tow = 5.0; }));
}

TEST(RinexNavRec, SignsOfIntegersAndTimes)
{
    const auto nothing = [](raw_t&) {};
    EXPECT_EQ(-1.0e-5, field_after(kGlo, 304, 0, 0, nothing));   // minus tau
    EXPECT_EQ(1.0e-5, field_after(kGlo, 304, 0, 0, [](raw_t& raw) { raw.geph[9].taun = -1.0e-5; }));
    EXPECT_EQ(-7.0, field_after(kGlo, 304, 2, 3, nothing));
    EXPECT_EQ(335670.0, field_after(kGlo, 300, 0, 2, nothing));   // frame time - 3 h
    EXPECT_EQ(74670.0, field_after(kGlo, 299, 0, 2, nothing));    // the other one
    EXPECT_EQ(947.0, field_after(kBds, 304, 5, 2, nothing));
    EXPECT_EQ(-1356.0, field_after(kBds, 304, 5, 2, [](raw_t& raw) { raw.eph[71].week = 0; }));
    EXPECT_EQ(65535.0, field_after(kGps, 304, 5, 2, [](raw_t& raw) { raw.eph[4].week = 65535; }));
    EXPECT_EQ(-32768.0, field_after(kGps, 304, 6, 3, [](raw_t& raw) { raw.eph[4].iodc = -32768; }));
    EXPECT_EQ(348000.0, field_after(kSbs, 304, 0, 2, nothing));   // day 4, 150 units of 16 s
    EXPECT_EQ(0.0, field_after(kSbs, 304, 1, 3, nothing));
}

TEST(RinexNavRec, BeiDouSpareFields)
{
    const auto raw = ephemerides();
    raw->eph_sat = 72;
    const rnx_t opt = version(304);
    for (const int pad : {0, 1, 2, -1}) {
        const FilePtr file = new_file();
        EXPECT_EQ(1, WriteRinexBDsEphRec(file.get(), raw.get(), &opt, static_cast<signed char>(pad)));
        EXPECT_EQ(pad == 1 ? 4U : 2U, fields(contents(file.get()), true).lines[7].size()) << pad;
    }
}

TEST(RinexNavRec, GalileoAccuracyHealthAndClock)
{
    const std::pair<int, double> kAccuracies[] = {{0, 0.0},   {49, 0.49},  {50, 0.5},  {74, 0.98},
                                                  {75, 1.0},  {99, 1.96},  {100, 2.0}, {107, 3.12},
                                                  {125, 6.0}, {126, -1.0}, {255, -1.0}};
    for (const auto& [index, metres] : kAccuracies) {
        EXPECT_NEAR(metres,
                    field_after(kGal, 304, 6, 0,
                                [i = index](raw_t& raw) { raw.galeph[6].sisa = static_cast<std::uint8_t>(i); }),
                    1e-12)
            << index;
    }
    // E1B health 1 in bits 1-2; E5a invalid in bit 3, health 2 in bits 4-5; E5b health 3 in bits 7-8
    EXPECT_EQ(2 + 8 + 32 + 384, field_after(kGal, 304, 6, 1, [](raw_t&) {}));
    EXPECT_EQ(1 + 64, field_after(kGal, 304, 6, 1, [](raw_t& raw) {
                  galeph_t& e = raw.galeph[6];
                  for (int i = 0; i < 3; ++i)
                      e.health[i] = 252, e.validity[i] = static_cast<std::uint8_t>(i % 2 == 0 ? 255 : 254);
              }));
    struct {
        std::uint8_t inav, fnav;
        double source, af0;
        const char* epoch;
    } const kClocks[] = {{1, 1, 517, 6e-4, "E07 2024 02 28 23 50 00"},
                         {0, 1, 258, 5e-4, "E07 2024 02 28 23 40 00"},
                         {1, 0, 517, 6e-4, "E07 2024 02 28 23 50 00"},
                         {0, 0, 517, 6e-4, "E07 2024 02 28 23 50 00"}};
    for (const auto& c : kClocks) {
        const auto raw = ephemerides();
        raw->eph_sat = 109;
        raw->galeph[6].inav = c.inav, raw->galeph[6].fnav = c.fnav;
        const nav_fields_t f = fields(written(WriteRinexGalEphRec, *raw, 304), true);
        EXPECT_EQ(c.epoch, f.epoch);
        EXPECT_EQ(c.source, f.lines[5][1]);
        EXPECT_EQ(c.af0, f.lines[0][0]);
        EXPECT_EQ((std::vector<std::size_t>{3, 4, 4, 4, 4, 3, 4, 1}), [&] {
            std::vector<std::size_t> sizes;
            for (const auto& l : f.lines) sizes.push_back(l.size());
            return sizes;
        }());
    }
}

/// "2024 02 29 00 00 00" of a GPS time by the standard library's calendar.
std::string calendar(int week, int second)
{
    using namespace std::chrono;
    const sys_seconds t = sys_days(year(1980) / 1 / 6) + seconds(week * 604800LL + second);
    const auto day = floor<days>(t);
    const year_month_day date(day);
    const hh_mm_ss<seconds> clock(t - day);
    char text[64];
    std::snprintf(text, sizeof text, "%4d %02u %02u %02d %02d %02d", int(date.year()), unsigned(date.month()),
                  unsigned(date.day()), int(clock.hours().count()), int(clock.minutes().count()),
                  int(clock.seconds().count()));
    return text;
}

TEST(RinexNavRec, DatesOfEveryWeek)
{
    auto raw = ephemerides();
    for (int week = 0; week <= 65535; week += week < 3200 ? 1 : 811) {
        for (const int second : {0, 16, 86384, 302400, 604784}) {
            for (eph_t& e : raw->eph) e.week = static_cast<std::uint16_t>(week), e.toe = e.toc = second;
            raw->geph[9].week = static_cast<std::uint16_t>(week);
            raw->geph[9].toe = second;
            raw->eph_sat = 5;
            EXPECT_EQ("G05 " + calendar(week, second), written(WriteRinexGpsEphRec, *raw, 304).substr(0, 23));
            if (week == 0 && second < 10800) continue;   // three hours earlier is before GPS time
            raw->eph_sat = 88;
            ASSERT_EQ("R10 " + calendar(week, second - 10800), written(WriteRinexGloEphRec, *raw, 304).substr(0, 23));
        }
        if (HasFailure()) break;
    }
}

TEST(RinexNavRec, EpochsOfRinex2AndRoundedSeconds)
{
    auto raw = ephemerides();
    struct {
        const nav_case_t& nav;
        int week, version;
        double toe;
        const char* epoch;
    } const kCases[] = {
        {kGps, 2303, 211, 345600.0, " 5 24 02 29 00 00  0.0"},   // leap day
        {kGps, 2295, 299, 86399.5, " 5 23 12 31 23 59 59.5"},    // end of the year
        {kGps, 2295, 304, 59.6, "G05 2023 12 31 00 00 60"},      // no carry into the minute
        {kQzs, 1356, 300, 604784.0, " 2 06 01 07 23 59 44.0"},   // RINEX 2 up to 300
        {kQzs, 1356, 301, 604784.0, "J02 2006 01 07 23 59 44"},
        {kBds, 2303, 299, 7.25, "40 24 02 25 00 00  7.2"},     // a tie goes to the even digit
        {kGlo, 2304, 211, 3600.0, "10 24 03 02 22 00  0.0"},   // three hours earlier: the week before
    };
    for (const auto& c : kCases) {
        for (eph_t& e : raw->eph) e.week = static_cast<std::uint16_t>(c.week), e.toe = e.toc = c.toe;
        raw->geph[9].week = static_cast<std::uint16_t>(c.week), raw->geph[9].toe = c.toe;
        raw->eph_sat = static_cast<std::uint16_t>(c.nav.sat);
        const std::string text = written(c.nav.write, *raw, c.version);
        EXPECT_EQ(c.epoch, text.substr(0, std::strlen(c.epoch)));
    }
}

TEST(RinexNavRec, WildValuesKeepTheFormAndHurtNothing)
{
    std::mt19937_64 random(3);
    const double wild[] = {std::nan(""), HUGE_VAL, -HUGE_VAL, 1e300, -1e300, 5e-324, 1e12, -0.0};
    auto raw = std::make_unique<raw_t>();
    for (int round = 0; round < 1000; ++round) {
        for (std::size_t i = 0; i < sizeof(raw_t) / 8; i += round < 20 ? 1 : 97) {
            const double x = wild[random() % std::size(wild)];
            const std::uint64_t bits = random();
            std::memcpy(reinterpret_cast<char*>(raw.get()) + 8 * i,
                        round % 2 == 0 ? static_cast<const void*>(&x) : &bits, 8);
        }
        for (const nav_case_t& c : kNavCases) {
            for (const int number : {211, 304}) {
                raw->eph_sat = static_cast<std::uint16_t>(c.sat);
                const std::string text = written(c.write, *raw, number, number >= 300 || c.sat != 109);
                const bool state = c.sat == 88 || c.sat == 148;
                EXPECT_EQ(text.empty() ? 0U : state ? 4U : 8U, lines(text).size());
                EXPECT_EQ(std::string::npos, text.find("nan"));
                EXPECT_EQ(std::string::npos, text.find("inf"));
                for (const std::string& line : lines(text)) EXPECT_LE(line.size(), 120U) << line;
            }
        }
        if (HasFailure()) break;
    }
}

}   // namespace
