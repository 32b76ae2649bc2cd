// Navigation files: one readable text of each kind, and what no single text shows. Texts over all versions,
// satellites and values are kept by digests.
#include <gtest/gtest.h>

#include <cmath>

#include "fakes/fake_clock.h"
#include "support/rinex_records.h"
#include "support/text_file.h"

namespace {

constexpr std::time_t kDecember = 1701853509;   // 2023-12-06 09:05:09 UTC. Deliberate: RINEX 2 calls it September.

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
    // clang-format off
    raw->geph[9] = {88, 55, -7, 1, 0, 3, 2303, 346500.0, 346470.0, {1.1e7, -2.2e7, 3.3e6}, {-1500.5, 250.25, 3000.0},
                    {9.5e-7, 0.0, -1.9e-6}, 1.0e-5, -2.5e-12, 3.0e-9, 85470.0};
    raw->seph[2] = {3, 77, 2, 150, {4.2e7, -1.5e6, 1e5}, {0.125f, -2.5f, 0.75f}, {1.25e-4f, 0.0f, -6.25e-5f},
                    5e-8f, -1e-12f};
    // clang-format on
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
    EXPECT_EQ(version >= 300 || c.sat != 109, c.write(file.get(), &raw, &opt));
    return contents(file.get());
}

}   // namespace

// ---- Headers ----

TEST(RinexNavHeader, EveryLayoutOnBothSidesOfTheThresholds)
{
    const FakeClock clock(kDecember);
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

// The two lines of RINEX 3 take two columns of the next, the leap seconds move by one: all as it has always been.
TEST(RinexNavPatch, BothLayoutsAndCoefficientsThatDoNotFit)
{
    const FakeClock clock(kDecember);
    double ion[8] = {1.1176e-08, -1.4901e-08, -5.9605e-08, 0.0, 1.1264e+05, 9.8304e+04, -6.5536e+04, -5.2429e+05};
    double odd[8] = {std::nan(""), 1e-8, HUGE_VAL, -1e150, 0.99999, 1e100, 1.0, -HUGE_VAL};
    std::string all;
    for (const int version : {304, 211}) {
        const rnx_t opt = options(version);
        for (auto* values : {ion, odd}) {
            const FilePtr file = headed_file(WriteRinexGpsEphHeader, version);
            std::fputs("G01 the first record\n", file.get());
            const long end = std::ftell(file.get());
            EXPECT_EQ(1, WriteRinexGpsEphIonPara(file.get(), values, &opt));
            EXPECT_EQ(end, std::ftell(file.get()));
            all += contents(file.get());
        }
        const FilePtr file = headed_file(WriteRinexGloEphHeader, version);
        g_curleap = 19;
        EXPECT_EQ(1, WriteRinexGloEphCurleap(file.get()));
        g_curleap = 18;
        all += contents(file.get());
    }
    expect_golden("nav_patched.golden", all);
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

TEST(RinexNavRec, NothingToWrite)
{
    const auto raw = ephemerides();
    const rnx_t opt = options(304);
    const FilePtr file = new_file();
    for (const nav_case_t& c : kRecords) {
        raw->eph_sat = static_cast<std::uint16_t>(c.sat);
        EXPECT_EQ(0, c.write(nullptr, raw.get(), &opt) + c.write(file.get(), nullptr, &opt) +
                         c.write(file.get(), raw.get(), nullptr));
        raw->eph_sat = static_cast<std::uint16_t>(256 + c.sat);
        EXPECT_EQ(0, c.write(file.get(), raw.get(), &opt));
    }
    double ionosphere[8] = {};
    EXPECT_EQ(0, WriteRinexGpsEphIonPara(nullptr, ionosphere, &opt) + WriteRinexGloEphCurleap(nullptr) +
                     WriteRinexGpsEphIonPara(file.get(), ionosphere, nullptr));
}
