// Navigation files: one readable text of each kind, and what no single text shows. Texts over all versions,
// satellites and values are kept by digests.
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <cmath>

#include "fakes/fake_clock.h"
#include "support/rinex_records.h"
#include "support/temporary_folder.h"
#include "support/text_file.h"

namespace {

constexpr std::time_t kLeapDay = 1709197503;    // 2024-02-29 09:05:03 UTC
constexpr std::time_t kNewYears = 1704067199;   // 2023-12-31 23:59:59 UTC

struct header_case_t {
    const char* name;
    int (*write)(std::FILE*, const rnx_t*);
};
const header_case_t kHeaders[] = {
    {"GPS", WriteRinexGpsEphHeader},     {"QZSS", WriteRinexQzssEphHeader},  {"GLONASS", WriteRinexGloEphHeader},
    {"Galileo", WriteRinexGalEphHeader}, {"BeiDou", WriteRinexBDsEphHeader}, {"mixed", WriteRinexALLEphHeader},
};

FilePtr headed_file(decltype(header_case_t::write) write, int version)
{
    FilePtr file = new_file();
    const rnx_t opt = options(version);
    EXPECT_EQ(1, write(file.get(), &opt));
    return file;
}

std::string header(decltype(header_case_t::write) write, int version)
{
    return contents(headed_file(write, version).get());
}

int write_padded_beidou(std::FILE* fp, const raw_t* raw, const rnx_t* opt)
{
    return WriteRinexBDsEphRec(fp, raw, opt, 1);
}

// One satellite of each system with its writer.
struct nav_case_t {
    const char* name;
    int sat;
    int (*write)(std::FILE*, const raw_t*, const rnx_t*);
};
const nav_case_t kRecords[] = {
    {"GPS", 5, WriteRinexGpsEphRec},     {"QZSS", 140, WriteRinexQzssEphRec}, {"GLONASS", 88, WriteRinexGloEphRec},
    {"SBAS", 148, WriteRinexSBASEphRec}, {"BeiDou", 72, write_padded_beidou}, {"Galileo", 109, WriteRinexGalEphRec},
};
const nav_case_t &kGps = kRecords[0], &kQzs = kRecords[1], &kGlo = kRecords[2], &kBds = kRecords[4],
                 &kGal = kRecords[5];

// A record whose fields all differ, for the satellites above.
std::unique_ptr<raw_t> ephemerides()
{
    auto raw = std::make_unique<raw_t>();
    raw->week = 2303;
    raw->tow = 345600.25;
    const auto kepler = [](int sat, int n) {
        eph_t e{};
        e.sat = static_cast<std::uint8_t>(sat);
        e.iode = static_cast<std::int16_t>(61 + n), e.iodc = static_cast<std::int16_t>(700 + n);
        e.ura_index = 2, e.health = 3, e.week = 2303, e.aux_flag = 4, e.l2p_flag = 1;
        e.toe = 345600.0, e.toc = 345584.0, e.A = 5153.5 * 5153.5;
        e.e = 1.25e-2, e.i0 = 0.961, e.omega0 = -1.5, e.omega = 0.75, e.M0 = -2.25 - n;
        e.delta_n = 4.5e-9, e.omega_dot = -8.125e-9, e.idot = 2.5e-10;
        e.crc = 210.5, e.crs = -41.25, e.cuc = -2.125e-6, e.cus = 9.0625e-6, e.cic = 1.1e-7, e.cis = -5.5e-8;
        e.fit = 4, e.af0 = -1.0625e-4, e.af1 = 3.5e-12, e.af2 = 0.0, e.tgd = -1.1e-8, e.tgd2 = 2.2e-9;
        return e;
    };
    raw->eph[5 - 1] = kepler(5, 0);
    raw->eph[72 - 1] = kepler(72, 1);
    raw->eph[78 + 1] = kepler(140, 2);
    raw->geph[9] = {88,
                    55,
                    -7,
                    1,
                    0,
                    3,
                    2303,
                    346500.0,
                    346470.0,
                    {1.1e7, -2.2e7, 3.3e6},
                    {-1500.5, 250.25, 3000.0},
                    {9.5e-7, 0.0, -1.9e-6},
                    1.0e-5,
                    -2.5e-12,
                    3.0e-9,
                    85470.0};
    raw->seph[2] = {3,     77,     2, 150, {4.2e7, -1.5e6, 1e5}, {0.125f, -2.5f, 0.75f}, {1.25e-4f, 0.0f, -6.25e-5f},
                    5e-8f, -1e-12f};
    galeph_t& g = raw->galeph[6];
    g.sat = 109, g.sisa = 107, g.iodnav = 513, g.week = 2303, g.inav = 1, g.fnav = 1;
    g.health[0] = 1, g.health[1] = 2, g.health[2] = 3, g.validity[1] = 1;
    g.toe = 345000.0, g.sqrtA = 5440.625, g.e = 2e-4, g.i0 = 0.98, g.omega0 = 2.5, g.omega = -0.5, g.M0 = 1.0;
    g.delta_n = 3e-9, g.omega_dot = -5.5e-9, g.idot = -3e-10;
    g.crc = 150.0, g.crs = 20.5, g.cuc = 1e-6, g.cus = 7e-6, g.cic = 3e-8, g.cis = -4e-8;
    g.inav_clock = {345000.0, 6e-4, -8e-12, 1e-19}, g.fnav_clock = {344400.0, 5e-4, -7e-12, 2e-19};
    g.bgd_e5a = -3e-9, g.bgd_e5b = -4e-9;
    return raw;
}

std::string written(const nav_case_t& c, raw_t& raw, int version)
{
    const FilePtr file = new_file();
    const rnx_t opt = options(version);
    raw.eph_sat = static_cast<std::uint16_t>(c.sat);
    EXPECT_EQ(version >= 300 || c.sat != kGal.sat, c.write(file.get(), &raw, &opt));
    return contents(file.get());
}

// The number in a line and column of a record of RINEX 3.
double field(const nav_case_t& c, raw_t& raw, std::size_t line, std::size_t column)
{
    return std::stod(lines(written(c, raw, 304)).at(line).substr((line == 0 ? 23 : 4) + 19 * column, 19));
}

double kIon[8] = {1.1176e-08, -1.4901e-08, -5.9605e-08, 0.0, 1.1264e+05, 9.8304e+04, -6.5536e+04, -5.2429e+05};

// "2024 02 29 00 00 00" of a GPS time by the standard library's calendar.
std::string calendar(int week, int second)
{
    using namespace std::chrono;
    const sys_seconds t = sys_days(year(1980) / 1 / 6) + seconds(week * 604800LL + second);
    const year_month_day date(floor<days>(t));
    const hh_mm_ss<seconds> clock(t - floor<days>(t));
    char text[64];
    std::snprintf(text, sizeof text, "%4d %02u %02u %02d %02d %02d", int(date.year()), unsigned(date.month()),
                  unsigned(date.day()), int(clock.hours().count()), int(clock.minutes().count()),
                  int(clock.seconds().count()));
    return text;
}

}   // namespace

// ---- Headers ----

TEST(RinexNavHeader, EveryLayoutOnBothSidesOfTheThresholds)
{
    const FakeClock clock(kLeapDay);
    g_curleap = 7;   // of the headers only GLONASS prints it
    std::string all;
    for (const int version : {211, 299, 300, 301, 304}) {
        for (const header_case_t& h : kHeaders)
            all += "# " + std::string(h.name) + " " + std::to_string(version) + "\n" + header(h.write, version);
    }
    g_curleap = 12345;   // does not fit its two columns
    EXPECT_EQ("     0", lines(header(WriteRinexGloEphHeader, 304))[2].substr(0, 6));
    g_curleap = 18;
    expect_golden("nav_headers.golden", all);
}

TEST(RinexNavHeader, DecemberAndOddClocks)
{
    {
        const FakeClock clock(kNewYears);   // Deliberate: RINEX 2 calls December by the name of September.
        EXPECT_NE(std::string::npos, header(WriteRinexGpsEphHeader, 211).find("  31-SEP-23 23:59     PGM"));
        EXPECT_NE(std::string::npos, header(WriteRinexGpsEphHeader, 304).find("  20231231 235959 UTC PGM"));
    }
    for (const std::time_t now : {std::time_t(0), std::time_t(4294967296)}) {
        const FakeClock clock(now);
        for (const header_case_t& h : kHeaders)
            EXPECT_EQ(60U, lines(header(h.write, 304))[1].find("PGM / RUN BY / DATE")) << now;
    }
}

// ---- Patches ----

TEST(RinexNavPatch, IonosphericLinesOfBothLayouts)
{
    rnx_t opt = options(304);
    const FilePtr file = headed_file(WriteRinexGpsEphHeader, 304);
    std::fputs("G01 the first record\n", file.get());
    const std::string before = contents(file.get());
    EXPECT_EQ(1, WriteRinexGpsEphIonPara(file.get(), kIon, &opt));
    EXPECT_EQ(static_cast<long>(before.size()), std::ftell(file.get()));
    auto was = lines(before), now = lines(contents(file.get()));
    EXPECT_EQ("GPSA   0.1118E-07 -0.1490E-07 -0.5960E-07  0.0000E+00       IONOSPHERIC CORR ", now.at(2));
    EXPECT_EQ("GPSB   0.1126E+06  0.9830E+05 -0.6554E+05 -0.5243E+06       IONOSPHERIC CORR ", now.at(3));
    EXPECT_EQ(was.at(4).substr(2), now.at(4));   // Deliberate: the two lines take two columns of the next.
    EXPECT_EQ(was[0] + was[1] + was.at(5), now[0] + now[1] + now.at(5));

    for (const double odd : {std::nan(""), HUGE_VAL, -1e150, 0.99999, 1e100}) {   // what does not fit is 0
        double ion[8] = {odd, 1e-8, odd, odd, odd, odd, 1.0, odd};
        const FilePtr other = headed_file(WriteRinexGpsEphHeader, 304);
        WriteRinexGpsEphIonPara(other.get(), ion, &opt);
        now = lines(contents(other.get()));
        EXPECT_EQ("GPSA   0.0000E+00  0.1000E-07  0.0000E+00  0.0000E+00       IONOSPHERIC CORR ", now.at(2)) << odd;
        EXPECT_EQ("GPSB   0.0000E+00  0.0000E+00  0.1000E+01  0.0000E+00       IONOSPHERIC CORR ", now.at(3)) << odd;
    }

    opt.version = 299;
    const FilePtr rinex2 = headed_file(WriteRinexGpsEphHeader, 211);
    was = lines(contents(rinex2.get()));
    EXPECT_EQ(1, WriteRinexGpsEphIonPara(rinex2.get(), kIon, &opt));
    now = lines(contents(rinex2.get()));
    EXPECT_EQ("      0.1118E-07 -0.1490E-07 -0.5960E-07  0.0000E+00        ION ALPHA           ", now.at(2));
    EXPECT_EQ("      0.1126E+06  0.9830E+05 -0.6554E+05 -0.5243E+06        ION BETA            ", now.at(3));
    EXPECT_EQ(was.at(4), now.at(4));
}

TEST(RinexNavPatch, LeapSecondsOfBothLayouts)
{
    for (const int version : {211, 302}) {
        const FilePtr file = headed_file(WriteRinexGloEphHeader, version);
        std::fputs("R01 the first record\n", file.get());
        const auto was = lines(contents(file.get()));
        EXPECT_EQ("    18" + std::string(54, ' ') + "LEAP SECONDS", was[2]);
        g_curleap = 19;
        EXPECT_EQ(1, WriteRinexGloEphCurleap(file.get()));
        auto now = lines(contents(file.get()));
        EXPECT_EQ("     19" + std::string(53, ' ') + "LEAP SECONDS", now[2]);   // one column further right
        now[2] = was[2];
        EXPECT_EQ(was, now);
        g_curleap = 18;
    }
}

TEST(RinexNavPatch, StreamsThatCannotBePatchedStayAsTheyAre)
{
    const TemporaryFolder folder;
    const std::string whole = header(WriteRinexGpsEphHeader, 304), path = folder.file("nav.rnx");
    const rnx_t opt = options(304);
    struct {
        const char* mode;
        std::string text;
    } const kCases[] = {{"r+", ""},     {"r+", "a file of another kind\n"},
                        {"r+", "text"}, {"r+", std::string(5000, 'x')},
                        {"r", whole},   {"a+", whole},
                        {"a", whole}};
    for (const auto& c : kCases) {
        write_file(path, c.text);
        FilePtr file(std::fopen(path.c_str(), c.mode));
        EXPECT_EQ(2, WriteRinexGpsEphIonPara(file.get(), kIon, &opt) + WriteRinexGloEphCurleap(file.get()));
        file.reset();
        EXPECT_EQ(c.text, contents_of(path)) << c.mode;
    }
    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    const FilePtr reading(fdopen(ends[0], "r")), writing(fdopen(ends[1], "w"));
    EXPECT_EQ(2, WriteRinexGpsEphIonPara(writing.get(), kIon, &opt) + WriteRinexGloEphCurleap(writing.get()));
    EXPECT_EQ(0, std::ferror(writing.get()));
}

// ---- Records ----

TEST(RinexNavRec, EverySystemOnBothSidesOfTheThresholds)
{
    const auto raw = ephemerides();
    std::string all;
    for (const int version : {211, 299, 300, 301, 304}) {
        for (const nav_case_t& c : kRecords)
            all += "# " + std::string(c.name) + " " + std::to_string(version) + "\n" + written(c, *raw, version);
    }
    expect_golden("nav_records.golden", all);
}

TEST(RinexNavRec, OnlyTheOwnSystemIsWritten)
{
    const auto raw = ephemerides();
    const rnx_t opt = options(304);
    for (int sat = 0; sat <= 70000; sat += sat < 300 ? 1 : 997) {
        raw->eph_sat = static_cast<std::uint16_t>(sat);
        int writers = 0;
        const FilePtr file = new_file();
        for (const nav_case_t& c : kRecords) {
            writers += c.write(file.get(), raw.get(), &opt);
            EXPECT_EQ(0, c.write(nullptr, raw.get(), &opt) + c.write(file.get(), nullptr, &opt) +
                             c.write(file.get(), raw.get(), nullptr));
        }
        EXPECT_EQ(sat >= 1 && sat <= 170 ? 1 : 0, writers) << sat;
        EXPECT_EQ(writers == 0, std::ftell(file.get()) == 0);
    }
}

TEST(RinexNavRec, AccuraciesAndTransmissionTimes)
{
    const auto raw = ephemerides();
    constexpr double kUra[] = {2.0,  2.8,   4.0,   5.7,   8.0,    11.3,   16.0,   32.0,
                               64.0, 128.0, 256.0, 512.0, 1024.0, 2048.0, 4096.0, 32767.0};
    for (const int index : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 65535}) {
        for (eph_t& e : raw->eph) e.ura_index = static_cast<std::uint16_t>(index);
        for (const auto* c : {&kGps, &kQzs, &kBds})
            EXPECT_EQ(kUra[std::min(index, 15)], field(*c, *raw, 6, 0)) << index;
    }
    for (int index = 0; index < 256; ++index) {   // Galileo SIS ICD, table 76
        const double metres = index < 50    ? index * 0.01
                              : index < 75  ? 0.5 + (index - 50) * 0.02
                              : index < 100 ? 1.0 + (index - 75) * 0.04
                              : index < 126 ? 2.0 + (index - 100) * 0.16
                                            : -1.0;
        raw->galeph[6].sisa = static_cast<std::uint8_t>(index);
        EXPECT_NEAR(metres, field(kGal, *raw, 6, 0), 1e-12) << index;
    }
    constexpr std::pair<double, double> kTimes[] = {
        {0.0, 9.999e8}, {0.001, 9.999e8}, {0.0011, 0.0011}, {-5.0, 9.999e8}, {604799.5, 604799.5}};
    for (const auto& [tow, printed] : kTimes) {
        raw->tow = tow;
        for (const auto* c : {&kGps, &kQzs, &kGal}) EXPECT_EQ(printed, field(*c, *raw, 7, 0)) << tow;
    }
}

TEST(RinexNavRec, GalileoHealthAndClock)
{
    const auto raw = ephemerides();
    // E1B health 1 in bits 1-2; E5a invalid in bit 3, health 2 in bits 4-5; E5b health 3 in bits 7-8
    EXPECT_EQ(2 + 8 + 32 + 384, field(kGal, *raw, 6, 1));
    struct {
        std::uint8_t inav, fnav;
        double source, af0;
        const char* epoch;
    } const kClocks[] = {{1, 1, 517, 6e-4, "E07 2024 02 28 23 50 00"},
                         {0, 1, 258, 5e-4, "E07 2024 02 28 23 40 00"},
                         {1, 0, 517, 6e-4, "E07 2024 02 28 23 50 00"},
                         {0, 0, 517, 6e-4, "E07 2024 02 28 23 50 00"}};
    for (const auto& c : kClocks) {
        raw->galeph[6].inav = c.inav, raw->galeph[6].fnav = c.fnav;
        EXPECT_EQ(c.epoch, written(kGal, *raw, 304).substr(0, 23));
        EXPECT_EQ(c.source, field(kGal, *raw, 5, 1));
        EXPECT_EQ(c.af0, field(kGal, *raw, 0, 0));
    }
}

TEST(RinexNavRec, DatesOfEveryWeek)
{
    auto raw = ephemerides();
    for (int week = 0; week <= 65535; week += week < 3200 ? 1 : 811) {
        for (const int second : {0, 16, 86384, 604784}) {
            for (eph_t& e : raw->eph) e.week = static_cast<std::uint16_t>(week), e.toe = e.toc = second;
            raw->geph[9].week = static_cast<std::uint16_t>(week);
            raw->geph[9].toe = second;
            ASSERT_EQ("G05 " + calendar(week, second), written(kGps, *raw, 304).substr(0, 23));
            if (week == 0 && second < 10800) continue;   // three hours earlier is before GPS time
            ASSERT_EQ("R10 " + calendar(week, second - 10800), written(kGlo, *raw, 304).substr(0, 23));
        }
    }
}
