// Every text of every writer over versions, boards, systems and values, and every foundation function over its range.
// Runs under a locale with a decimal comma and in an odd time zone, neither of which may show.
#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <functional>
#include <limits>

#include "fakes/fake_clock.h"
#include "sky/random.h"
#include "support/digest.h"
#include "support/rinex_records.h"
#include "support/text_file.h"

namespace {

using sky::random_t;

constexpr int kVersions[] = {211, 299, 300, 301, 302, 303, 304, 305};
constexpr int kKinds[] = {-1, 0, 1, 2, 3, 5, 6, 9};
constexpr const char* kBoards[] = {"", "KV210", "KV220", "a KV3A0 b", "KV4A0", "Trimble", "SEPT POLARX5"};
constexpr int rnx_t::*kSwitches[] = {&rnx_t::sys_gps, &rnx_t::sys_glo, &rnx_t::sys_bds, &rnx_t::sys_gal,
                                     &rnx_t::sys_sbs};
constexpr std::time_t kAutumn = 1700000000;   // 2023-11-14 22:13:20 UTC

class TextDigest : public testing::Test {
protected:
    TextDigest()
    {
        std::setlocale(LC_ALL, "");
        EXPECT_STREQ(",", std::localeconv()->decimal_point) << "the environment names no locale with a decimal comma";
        const std::time_t epoch = 0;
        EXPECT_NE(0, std::localtime(&epoch)->tm_min) << "the environment names no odd time zone";
        g_curleap = 18;
    }
    ~TextDigest() override { std::setlocale(LC_ALL, "C"); }

    FakeClock clock{kAutumn};
};

using Write = std::function<void(std::FILE*)>;

std::string text_of(const Write& write)
{
    const FilePtr file(fmemopen(nullptr, 1 << 16, "w+"));
    write(file.get());
    return contents(file.get());
}

double any_value(random_t& random)
{
    constexpr double kOdd[] = {0.0,   -0.0, -0.0004,        0.0005, 0.01,     0.0099,
                               1e9,   -1e9, 999999999.9996, -1e300, HUGE_VAL, std::numeric_limits<double>::quiet_NaN(),
                               5e-324};
    if (random.below(4) == 0) return kOdd[random.below(std::size(kOdd))];
    const double x = (static_cast<double>(random.below(1u << 30)) - (1 << 29)) / 16.0;
    return x * (random.below(3) == 0 ? 1e-6 : 0.5);
}

// Satellites at the ends of their systems and beside them, in all slots.
std::unique_ptr<raw_t> any_epoch(random_t& random)
{
    const int week = 2000 + static_cast<int>(random.below(500));
    auto raw = epoch(week, static_cast<double>(random.below(60480000)) * 0.01,
                     {1, 32, 33, 48, 49, 78, 79, 102, 103, 138, 139, 145, 146, 170, 0, 171, 7, 39, 90});
    for (int i = 0; i < raw->nobs; ++i) {
        obsd_t& obs = raw->obs[i];
        for (int f = 0; f < kNumSlots; ++f) {
            if (random.below(3) == 0) obs.P[f] = any_value(random);
            if (random.below(3) == 0) obs.L[f] = any_value(random);
            if (random.below(3) == 0) obs.D[f] = static_cast<float>(any_value(random) * 1e-3);
            if (random.below(3) == 0) obs.SNR[f] = any_value(random) * 1e-4;
            obs.LLI[f] = static_cast<std::uint8_t>(random.below(12));
        }
    }
    for (double& x : raw->pos) x = any_value(random);
    raw->ant_word2 = static_cast<std::uint32_t>(random.bits());
    raw->glo_bias_mask = static_cast<std::uint32_t>(random.below(16));
    for (float& bias : raw->glo_bias) bias = static_cast<float>(random.below(1000)) / 8.0f;
    raw->opt_nosigmap = random.below(2) != 0;
    raw->obs[0].code[1] = random.below(2) != 0 ? 18 : 19;
    std::strcpy(raw->rcv_text[0], "SITE %s");
    return raw;
}

rnx_t any_texts(int version, int kind, const char* board, random_t& random)
{
    rnx_t opt = options(version, kind, board);
    std::strcpy(opt.marker, "M\xC3\xA4rker \x01 %d");
    std::memset(opt.recno, 'R', sizeof opt.recno);   // full, without a NUL
    std::memset(opt.agency, 'A', sizeof opt.agency);
    for (double& x : opt.apppos) x = any_value(random);
    for (double& x : opt.antdel) x = any_value(random) * 1e-6;
    opt.interval = static_cast<double>(random.below(100)) / 4.0;
    return opt;
}

}   // namespace

TEST_F(TextDigest, ObservationFilesOfEveryVersionBoardAndSystem)
{
    for (const int version : kVersions) {
        random_t random(version);
        Digest headers, records, one_slot;
        for (const int kind : kKinds) {
            for (const char* board : kBoards) {
                for (std::size_t off = 0; off <= std::size(kSwitches); ++off) {
                    const auto raw = any_epoch(random);
                    rnx_t opt = any_texts(version, kind, board, random);
                    if (off < std::size(kSwitches)) opt.*kSwitches[off] = 0;
                    rnx_t running = opt;
                    headers.text(text_of([&](std::FILE* f) { WriteRinexObsHeader(f, raw.get(), &opt); }));
                    records.text(text_of([&](std::FILE* f) { WriteRinexObsRec(f, raw.get(), &running, 0.0); }));
                    one_slot.text(text_of([&](std::FILE* f) { WriteRinexObsRec_2(f, raw.get(), &opt, 0.0); }));
                    records.bytes(&running, sizeof running);
                    one_slot.bytes(&opt, sizeof opt);
                }
            }
        }
        expect_digest("obs_header_" + std::to_string(version), headers);
        expect_digest("obs_record_" + std::to_string(version), records);
        expect_digest("obs_one_slot_" + std::to_string(version), one_slot);
    }
}

TEST_F(TextDigest, PatchesAndEvents)
{
    rnx_t untouched;
    std::memset(&untouched, 0x7E, sizeof untouched);
    Initial_Rnx(&untouched);
    expect_digest("options", Digest().bytes(&untouched, sizeof untouched));
    for (const int version : kVersions) {
        random_t random(version);
        Digest digest;
        for (const int kind : kKinds) {
            const auto raw = any_epoch(random);
            rnx_t opt = any_texts(version, kind, kind == 2 ? "KV220" : "KV4A0", random);
            digest.text(text_of([&](std::FILE* f) {
                WriteRinexObsHeader(f, raw.get(), &opt);
                WriteRinexObsRec(f, raw.get(), &opt, 0.0);
                WriteRinexObsLastEpoch(f, &opt);
                WriteRinexObsApppos(f, raw.get(), &opt);
            }));
            digest.text(text_of([&](std::FILE* f) {
                WriteRinexObsRec(f, raw.get(), &opt, -3.0);
                WriteRinexObsRec_2(f, raw.get(), &opt, -3.0);
                for (raw->sng_flag = 0; raw->sng_flag < 3; ++raw->sng_flag) WriteStopAndGoInfo(f, raw.get(), &opt);
                WriteBestxyzFile(f, raw.get());
            }));
            digest.bytes(&opt, sizeof opt);
        }
        expect_digest("annotations_" + std::to_string(version), digest);
    }
}

// The search for the interval: steps of all sizes, gaps, times that run back, and the file that comes of them.
TEST_F(TextDigest, Intervals)
{
    for (auto* write : {WriteRinexObsRec, WriteRinexObsRec_2}) {
        Digest digest;
        random_t random(1);
        for (const double step : {1.0, 0.2, 0.05, 30.0, 0.01}) {
            for (const double rate : {1.0, 5.0, 30.0, 0.1, 0.3}) {
                rnx_t opt = options(304);
                digest.text(text_of([&](std::FILE* f) {
                    WriteRinexObsHeader(f, epoch(2300, 0, {}).get(), &opt);
                    double tow = 3600.0;
                    for (int i = 0; i < 100; ++i) {
                        tow += step * (random.below(6) == 0 ? static_cast<double>(random.below(5)) - 1.0 : 1.0);
                        digest.values(write(f, epoch(2300, std::round(tow * 100) / 100, {}).get(), &opt, rate));
                    }
                }));
                digest.bytes(&opt, sizeof opt);
            }
        }
        expect_digest(write == WriteRinexObsRec ? "intervals" : "intervals_one_slot", digest);
    }
}

// ---- Navigation ----

namespace {

template <typename T>
void fill(T& record, random_t& random)
{
    for (std::size_t at = 0; at < sizeof record; at += sizeof(double)) {
        const double x = any_value(random);
        const std::uint64_t bits = random.bits();
        std::memcpy(reinterpret_cast<char*>(&record) + at, random.below(2) == 0 ? static_cast<const void*>(&x) : &bits,
                    std::min(sizeof x, sizeof record - at));
    }
}

int write_padded(std::FILE* f, const raw_t* raw, const rnx_t* opt)
{
    return WriteRinexBDsEphRec(f, raw, opt, 1);
}

}   // namespace

TEST_F(TextDigest, NavigationFiles)
{
    double ion[8] = {1.1176e-08, -1.4901e-08, -5.9605e-08, 0.0, 1.1264e+05, 9.8304e+04, 0.99999, -5.2429e+105};
    for (const int version : kVersions) {
        rnx_t opt = options(version);
        Digest headers, records;
        for (auto* write : {WriteRinexGpsEphHeader, WriteRinexQzssEphHeader, WriteRinexGloEphHeader,
                            WriteRinexGalEphHeader, WriteRinexBDsEphHeader, WriteRinexALLEphHeader}) {
            for (const std::time_t month : {0, 1, 5, 11}) {
                const FakeClock other(kAutumn + month * 2678400);
                g_curleap = static_cast<unsigned short>(7 * month);
                headers.text(text_of([&](std::FILE* f) {
                    std::fputs(std::string(200, '-').c_str(), f);
                    headers.values(write(f, &opt)).values(std::ftell(f));
                    WriteRinexGpsEphIonPara(f, ion, &opt);
                    WriteRinexGloEphCurleap(f);
                }));
            }
        }
        random_t random(version);
        const auto raw = std::make_unique<raw_t>();
        for (int round = 0; round < 20; ++round) {
            fill(*raw, random);
            raw->tow = round == 0 ? 0.001 : static_cast<double>(random.below(6048000)) * 0.1;
            for (int sat = 0; sat <= 172; ++sat) {
                raw->eph_sat = static_cast<std::uint16_t>(sat);
                for (auto* write : {WriteRinexGpsEphRec, WriteRinexQzssEphRec, WriteRinexGloEphRec, WriteRinexGalEphRec,
                                    WriteRinexSBASEphRec, write_padded}) {
                    if (round > 0 && sat % 20 != round) continue;
                    records.text(text_of([&](std::FILE* f) { records.values(write(f, raw.get(), &opt)); }));
                }
            }
        }
        expect_digest("nav_header_" + std::to_string(version), headers);
        expect_digest("nav_record_" + std::to_string(version), records);
    }
}

// Every row of the accuracy tables, and times of transmission around those that are not given.
TEST_F(TextDigest, NavigationAccuracies)
{
    const rnx_t opt = options(304);
    const auto raw = std::make_unique<raw_t>();
    Digest digest;
    for (int i = 0; i < 256; ++i) {
        raw->eph[0].ura_index = raw->eph[32].ura_index = raw->eph[78].ura_index = static_cast<std::uint16_t>(i);
        raw->galeph[0].sisa = raw->seph[0].ura = static_cast<std::uint8_t>(i);
        raw->tow = i < 128 ? i * 0.0001 - 0.002 : i * 2372.5;
        digest.text(text_of([&](std::FILE* f) {
            raw->eph_sat = 1, WriteRinexGpsEphRec(f, raw.get(), &opt);
            raw->eph_sat = 33, write_padded(f, raw.get(), &opt);
            raw->eph_sat = 103, WriteRinexGalEphRec(f, raw.get(), &opt);
            raw->eph_sat = 139, WriteRinexQzssEphRec(f, raw.get(), &opt);
            raw->eph_sat = 146, WriteRinexSBASEphRec(f, raw.get(), &opt);
        }));
    }
    expect_digest("nav_accuracies", digest);
}

TEST_F(TextDigest, NavigationNumbers)
{
    random_t random(4);
    Digest digest;
    digest.text(text_of([&](std::FILE* f) {
        for (int i = 0; i < 2000; ++i) WriteRinexNavNum(f, any_value(random), i % 20 - 2);
    }));
    expect_digest("nav_numbers", digest);
}

// ---- Foundation ----

TEST_F(TextDigest, SatellitesChecksumsAndBits)
{
    Digest satellites;
    for (int sat = -1; sat <= 260; ++sat) {
        int prn = -1;
        satellites.values(satsys(sat, &prn)).values(prn, satsys(sat, nullptr));
        for (int sys = 0; sys <= 65; ++sys) satellites.values(satno(static_cast<unsigned char>(sys), sat));
        for (int slot = -1; slot <= 5; ++slot) {
            for (int channel = -7; channel <= 6; ++channel) {
                satellites.values(satwavelen(sat, slot, static_cast<signed char>(channel)));
            }
        }
    }
    expect_digest("satellites", satellites);

    random_t random(3);
    unsigned char bytes[96];
    for (unsigned char& byte : bytes) byte = static_cast<unsigned char>(random.bits());
    Digest bits;
    for (int len = -1; len <= 66; ++len) {
        bits.values(crc32(bytes + (len + 1) % 7, len), crc24q(bytes + (len + 1) % 7, len));
        for (int pos = 0; pos < 100; ++pos) {
            bits.values(getbitu(bytes, pos, len), getbits(bytes, pos, len), getbitg(bytes, pos, len));
            setbitu(bytes + 24, pos, len, static_cast<unsigned>(random.bits()));
            bits.values(getbits_38(bytes, pos)).bytes(bytes, sizeof bytes);
        }
    }
    expect_digest("checksums_and_bits", bits);
}

TEST_F(TextDigest, TimesAndDates)
{
    Digest times, dates;
    constexpr double kSeconds[] = {-604801, -14,    -0.5,   0,      13,     10800,  259200, 259217,
                                   345600,  345618, 345619, 604786, 604800, 604817, 700000};
    for (const int week : {0, 1511, 1512, 1513, 1694, 1695, 1696, 1850, 1851, 1852, 1929, 1930, 1931, 65535}) {
        for (const double sec : kSeconds) {
            for (auto* convert : {adjweek, bdt2gpst, gpst2bdt, gpst2utc, utc2gpst, gpst2glot, glot2gpst}) {
                g_curleap = 16;
                auto moved = static_cast<unsigned short>(week);
                times.values(convert(sec, nullptr)).values(convert(sec, &moved)).values(moved, g_curleap);
            }
            auto moved = static_cast<unsigned short>(week);
            times.values(timediff(sec, kSeconds[week % 15]), timeadd(sec, week, &moved)).values(moved);
            for (const double mode : {0.0, -3.0}) {
                int part[5] = {};
                double second = 0;
                GetCommonTime(week, sec, mode, &part[0], &part[1], &part[2], &part[3], &part[4], &second);
                dates.bytes(part, sizeof part).values(std::floor(second * 1e4));
            }
        }
    }
    g_curleap = 18;
    for (int i = 0; i < 4000; ++i) {
        random_t random(static_cast<std::uint64_t>(i));
        const auto near = [&random](int low, int high) {
            return low - 1 + static_cast<int>(random.below(static_cast<std::uint64_t>(high - low + 3)));
        };
        const int date[] = {near(1981, 2105), near(1, 12), near(1, 31),  near(0, 24),
                            near(0, 60),      near(0, 60), near(1, 1461)};
        int week = -1;
        double tow = -1;
        dates.values(GetGpsTime(date[0], date[1], date[2], date[3], date[4], date[5], &week, &tow)).values(week, tow);
        unsigned short moved = 7;
        const double second = 1440.0 * (date[4] + 1);
        dates
            .values(glot2ws(static_cast<unsigned>(date[2]), static_cast<unsigned>(date[6]),
                            static_cast<unsigned>(second), &moved))
            .values(moved);
    }
    expect_digest("times", times);
    expect_digest("dates", dates);
}
