#include <gnss/rinex/options.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "support/rinex_records.h"
#include "support/text_file.h"

namespace {

// Satellite numbers: G05, R09, E11, C07 (B2), C20 (B2a), J02, S24.
const std::vector<int> kSky = {5, 87, 113, 39, 52, 140, 150};

std::string record3(raw_t& raw, rnx_t opt, double rate = 0.0)
{
    const FilePtr file = new_file();
    EXPECT_EQ(1, WriteRinexObsRec(file.get(), &raw, &opt, rate));
    return contents(file.get());
}

std::string record2(raw_t& raw, rnx_t opt)
{
    const FilePtr file = new_file();
    EXPECT_EQ(1, WriteRinexObsRec_2(file.get(), &raw, &opt, 0.0));
    return contents(file.get());
}

/// Slots in the columns of a satellite's line, '.' for a blank group: "01.23".
std::string slots_of(const std::string& line)
{
    std::string out;
    for (std::size_t at = 3; at < line.size(); at += 64) {
        const std::string value = line.substr(at, 14);
        out += value == std::string(14, ' ') ? '.' : value[value.size() - 5];
    }
    return out;
}

}   // namespace

TEST(RinexObsRec, WholeEpochs)
{
    auto raw = epoch(2303, 434459.95, kSky);
    raw->obs[0].LLI[1] = 3;
    raw->obs[1].L[0] = 0.0;
    raw->obs[1].P[1] = -1e9;
    raw->obs[2].D[0] = 0.0f;
    raw->obs[2].L[2] = -123.25;
    raw->obs[2].LLI[2] = 1;   // not printed with a negative phase
    raw->obs[3].SNR[0] = 3.99;
    expect_golden("epoch_304.golden", record3(*raw, options(304)));
    expect_golden("epoch_302_reduced.golden", record3(*raw, options(302, 5, "")));
    rnx_t rinex2 = options(211);
    expect_golden("epoch_211.golden", record2(*raw, rinex2));
    EXPECT_EQ(record2(*raw, rinex2), record3(*raw, rinex2));   // below 300 both write the same
    rinex2.sys_bds = 0;
    expect_golden("epoch_211_no_bds.golden", record2(*raw, rinex2));
}

TEST(RinexObsRec, SlotsFollowBoardVersionAndBeiDouGeneration)
{
    struct Case {
        int version, kind;
        const char* type;
        bool nosigmap;
        std::vector<const char*> slots;   // G R E C(B2) C(B2a) J S
    };
    const Case cases[] = {
        {304, 9, "", false, {"0123", "01", "01234", "01.23", "0.123", "0123", "0"}},
        {303, 9, "", false, {"0123", "01", "01234", "012", "0.2", "0123", "0"}},
        {304, 6, "KV3A0", false, {"012", "01", "012", "01.2", "0.12", "012", "0"}},
        {302, 6, "", true, {"012", "01", "012", "012", "0.2", "012", "0"}},
        {302, 6, "", false, {"01", "01", "", "01", "0.", "", ""}},
    };
    for (const Case& c : cases) {
        auto raw = epoch(2300, 1.0, kSky);
        raw->opt_nosigmap = c.nosigmap;
        const std::vector<std::string> text = lines(record3(*raw, options(c.version, c.kind, c.type)));
        const char* names[] = {"G05", "R09", "E11", "C07", "C20", "J02", "S24"};
        for (std::size_t i = 0; i < kSky.size(); ++i) {
            EXPECT_EQ(names[i], text[i + 1].substr(0, 3));
            EXPECT_EQ(c.slots[i], slots_of(text[i + 1])) << names[i] << " version " << c.version << " kind " << c.kind;
        }
    }
}

TEST(RinexObsRec, OlderEpochsAreRefused)
{
    const FilePtr file = new_file();
    for (auto* write : {WriteRinexObsRec, WriteRinexObsRec_2}) {
        rnx_t opt = options(302);
        EXPECT_EQ(1, write(file.get(), epoch(2300, 100, kSky).get(), &opt, 0.0));
        EXPECT_EQ(-1, write(file.get(), epoch(2299, 99, kSky).get(), &opt, 0.0));
        EXPECT_EQ(1, write(file.get(), epoch(2300, 99, kSky).get(), &opt, 0.0));   // within the week time may step back
        EXPECT_EQ(1, write(file.get(), epoch(2301, 1, kSky).get(), &opt, 0.0));
        EXPECT_EQ(2301, opt.lastweek);
        EXPECT_EQ(1.0, opt.lasttow);
        EXPECT_EQ(0, write(nullptr, epoch(2301, 2, kSky).get(), &opt, 0.0));
        EXPECT_EQ(0, write(file.get(), epoch(2301, 2, kSky).get(), nullptr, 0.0));
    }
}

TEST(RinexObsRec, EventMarksCountAndChangeNothingElse)
{
    const auto raw = epoch(2303, 434459.956789, {});
    rnx_t opt = options(304);
    const rnx_t before = opt;
    const FilePtr file = new_file();
    EXPECT_EQ(1, WriteRinexObsRec(file.get(), raw.get(), &opt, -3.0));
    EXPECT_EQ(1, WriteRinexObsRec_2(file.get(), raw.get(), &opt, -3.0));
    EXPECT_EQ(0, std::memcmp(&before, &opt, sizeof opt));
    opt.version = 299;
    EXPECT_EQ(1, WriteRinexObsRec(file.get(), raw.get(), &opt, -3.0));
    const std::vector<std::string> text = lines(contents(file.get()));
    EXPECT_EQ("> 2024 03 01 00 40 59.9567890  5  1                     ", text[0]);
    EXPECT_EQ("Manual Event # 1                                            COMMENT             ", text[1]);
    EXPECT_EQ("Manual Event # 2", text[3].substr(0, 16));
    EXPECT_EQ(" 24 03 01 00 40 59.9567890  5  1", text[4]);
}

TEST(RinexObsRec, ThirteenSatellitesContinueTheList)
{
    std::vector<int> many;
    for (int sat = 1; sat <= 25; ++sat) many.push_back(sat);
    rnx_t opt = options(211);
    opt.sys_bds = 0;
    const std::vector<std::string> text = lines(record2(*epoch(2300, 1.0, many), opt));
    EXPECT_EQ(" 25G01G02", text[0].substr(29, 9));
    EXPECT_EQ(32u + 36, text[0].size());
    EXPECT_EQ(std::string(32, ' ') + "G13", text[1].substr(0, 35));
    EXPECT_EQ(std::string(32, ' ') + "G25", text[2]);
    EXPECT_EQ(3u + 2 * 25, text.size());
}

namespace {

// The interval rules as a list of decisions, beside the library's form of them.
struct PlainInterval {
    bool rinex2;
    double rate, interval = 0.0, last = -1.0;
    double samples[11] = {};
    int n = 0;
    bool rewrite = false;

    int votes(double value) const
    {
        return static_cast<int>(
            std::count_if(samples, samples + 10, [&](double s) { return std::fabs(s - value) <= 0.001; }));
    }
    void try_rate()
    {
        if (rate > interval && std::fmod(rate * 100, interval * 100) == 0.0) {
            interval = rate;
            rewrite = true;
        }
    }
    void vote()
    {
        if (votes(interval) < votes(samples[9])) interval = samples[9];
    }
    bool write(double tow, double second)
    {
        const double step = std::round((tow - last) * 100) / 100;
        const bool unknown = std::fabs(interval) < 0.0001;
        if (last > 0 && n >= 10 && n <= 20 && unknown) samples[n - 10] = step;
        if (last > 0 && n > 20) {
            if (rinex2) {
                if (unknown) {
                    interval = step;
                    try_rate();
                }
                vote();
                try_rate();
            } else if (unknown) {
                interval = step;
                vote();
                try_rate();
            }
            const double rest = std::fmod(second, interval);
            if (rest > 0.0001 && std::fabs(rest - interval) > 0.0001) return false;
            rewrite = false;
        }
        if (std::fabs(interval) < 0.0001 && (last > 0 || !rinex2)) ++n;
        last = tow;
        return true;
    }
};

}   // namespace

TEST(RinexObsInterval, FindsTheIntervalLikeThePlainRules)
{
    std::mt19937 random(3);
    for (const double step : {1.0, 0.2, 0.05, 30.0, 0.01}) {
        for (const double rate : {1.0, 5.0, 30.0, 0.1, 0.3}) {
            for (const bool rinex2 : {false, true}) {
                for (int variant = 0; variant < 4; ++variant) {
                    SCOPED_TRACE(testing::Message()
                                 << step << " at " << rate << (rinex2 ? " RINEX 2 " : " RINEX 3 ") << variant);
                    rnx_t opt = options(rinex2 ? 211 : 304);
                    PlainInterval plain{rinex2, rate};
                    const FilePtr file = new_file();
                    double tow = 3600.0;
                    for (int i = 0; i < 160; ++i) {
                        tow = std::round((tow + step) * 100) / 100;
                        if (variant == 1 && random() % 5 == 0)
                            tow += step * static_cast<double>(random() % 4);       // gaps
                        if (variant == 2 && random() % 20 == 0) tow -= 3 * step;   // time running back
                        if (variant == 3 && i == 60) tow += 1000;                  // a restart
                        const auto raw = epoch(2300, tow, {});
                        double second = 0;
                        GetCommonTime(2300, tow, rate, nullptr, nullptr, nullptr, nullptr, nullptr, &second);
                        const bool expected = plain.write(tow, second);
                        auto* write = rinex2 ? WriteRinexObsRec_2 : WriteRinexObsRec;
                        ASSERT_EQ(expected, write(file.get(), raw.get(), &opt, rate) == 1) << i;
                        ASSERT_EQ(plain.interval, opt.interval) << i;
                        if (expected) ASSERT_EQ(tow, opt.lasttow);
                    }
                }
            }
        }
    }
}

TEST(RinexObsInterval, ALongSessionKeepsEveryEpochOfTheGrid)
{
    for (const bool rinex2 : {false, true}) {
        rnx_t opt = options(rinex2 ? 211 : 304);
        const FilePtr file = new_file();
        const auto first = epoch(2300, 0, {});
        WriteRinexObsHeader(file.get(), first.get(), &opt);
        int kept = 0;
        for (int t = 1; t <= 4000; ++t) {
            const auto raw = epoch(2300, t, {});
            kept += (rinex2 ? WriteRinexObsRec_2 : WriteRinexObsRec)(file.get(), raw.get(), &opt, 30.0) == 1;
        }
        const std::vector<std::string> text = lines(contents(file.get()));
        EXPECT_EQ(30.0, opt.interval);
        // The search takes records as they come; from then on every half minute stands in the file, once.
        int on_grid = 0;
        for (const std::string& line : text)
            on_grid += line.find(" 0.0000000  0") != line.npos || line.find("30.0000000  0") != line.npos;
        EXPECT_EQ(4000 / 30, on_grid);
        EXPECT_EQ(1, std::count_if(text.begin(), text.end(),
                                   [](const auto& l) { return l.find("END OF HEADER") != l.npos; }));
        EXPECT_EQ("    30.000", text[9].substr(0, 10));
        EXPECT_LT(kept, 4000 / 30 + 25);
    }
}

TEST(RinexObsInterval, StreamsThatOnlyGrowKeepTheirFirstHeader)
{
    char path[] = "/tmp/rinex_rec_XXXXXX";
    close(mkstemp(path));
    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    const FilePtr reading(fdopen(ends[0], "rb"));
    for (std::FILE* file : {std::fopen(path, "ab"), fdopen(ends[1], "wb")}) {
        rnx_t opt = options(304);
        WriteRinexObsHeader(file, epoch(2300, 0, {}).get(), &opt);
        for (int t = 1; t <= 60; ++t) WriteRinexObsRec(file, epoch(2300, t, {}).get(), &opt, 30.0);
        EXPECT_EQ(30.0, opt.interval);
        EXPECT_EQ(0, std::ferror(file));
        std::fclose(file);
    }
    const FilePtr appended(std::fopen(path, "rb"));
    unlink(path);
    for (std::FILE* file : {appended.get(), reading.get()}) {
        std::string text(1 << 16, '\0');
        text.resize(std::fread(text.data(), 1, text.size(), file));
        const std::size_t end = text.find("END OF HEADER");
        EXPECT_NE(text.npos, end);
        EXPECT_EQ(text.npos, text.find("END OF HEADER", end + 1));
    }
}

TEST(RinexObsRec, ComparisonForSortingNeverSaysEqual)
{
    obsd_t a{}, b{};
    a.sat = 3;
    b.sat = 5;
    EXPECT_EQ(-1, cmpobs(&a, &b));
    EXPECT_EQ(1, cmpobs(&b, &a));
    EXPECT_EQ(-1, cmpobs(&a, &a));
}
