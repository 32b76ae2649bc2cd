/// @file navigation_records.h  Ephemerides for tests of the navigation writers, and records read back from text.
#ifndef TESTS_NAVIGATION_RECORDS_H
#define TESTS_NAVIGATION_RECORDS_H

#include <rtk_gnss.h>

#include <memory>
#include <string>
#include <vector>

#include "support/text_file.h"

using record_writer_t = int (*)(std::FILE*, const raw_t*, const rnx_t*);

inline int write_padded_beidou(std::FILE* fp, const raw_t* raw, const rnx_t* opt)
{
    return WriteRinexBDsEphRec(fp, raw, opt, 1);
}

inline rnx_t version(int number)
{
    rnx_t opt{};
    opt.version = number;
    return opt;
}

/// A record whose fields all differ, for one satellite of each system: G05, C40, R10, E07, J02, S22.
inline std::unique_ptr<raw_t> ephemerides()
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

/// One satellite of each system with its writer.
struct nav_case_t {
    const char* name;
    int sat;
    record_writer_t write;
};

inline const nav_case_t kNavCases[] = {
    {"GPS", 5, WriteRinexGpsEphRec},     {"QZSS", 140, WriteRinexQzssEphRec}, {"GLONASS", 88, WriteRinexGloEphRec},
    {"SBAS", 148, WriteRinexSBASEphRec}, {"BeiDou", 72, write_padded_beidou}, {"Galileo", 109, WriteRinexGalEphRec},
};

inline std::string written(record_writer_t write, const raw_t& raw, int rinex, int result = 1)
{
    const FilePtr file = new_file();
    const rnx_t opt = version(rinex);
    EXPECT_EQ(result, write(file.get(), &raw, &opt));
    return contents(file.get());
}

/// A record taken apart by columns.
struct nav_fields_t {
    std::string epoch;                        ///< satellite and date
    std::vector<std::vector<double>> lines;   ///< numbers, the epoch line's first
};

inline nav_fields_t fields(const std::string& text, bool rinex3, int indent2 = 3)
{
    nav_fields_t out;
    for (const std::string& line : lines(text)) {
        const std::size_t start =
            out.lines.empty() ? (rinex3 ? 23 : 22) : static_cast<std::size_t>(rinex3 ? 4 : indent2);
        if (out.lines.empty()) out.epoch = line.substr(0, start);
        EXPECT_EQ(0U, (line.size() - start) % 19) << line;
        auto& numbers = out.lines.emplace_back();
        for (std::size_t at = start; at < line.size(); at += 19) numbers.push_back(std::stod(line.substr(at, 19)));
    }
    return out;
}

#endif
