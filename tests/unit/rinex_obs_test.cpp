// Observation files: one readable file of each kind of text, and what no single text shows. Texts over all versions,
// boards and systems are kept by digests.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cmath>

#include "fakes/fake_clock.h"
#include "gnss/rinex/options.h"
#include "support/rinex_records.h"
#include "support/text_file.h"

namespace {

constexpr std::time_t kLeapDay = 1709251140;   // 2024-02-29 23:59:00 UTC

// Satellite numbers: G05, R09, E11, C07 (B2), C20 (B2a), J02, S24.
const std::vector<int> kSky = {5, 87, 113, 39, 52, 140, 150};

constexpr decltype(&WriteRinexObsRec) kWriters[] = {WriteRinexObsRec, WriteRinexObsRec_2};

std::string header(const rnx_t& opt, const raw_t& raw)
{
    const FilePtr file = new_file();
    EXPECT_EQ(1, WriteRinexObsHeader(file.get(), &raw, &opt));
    return contents(file.get());
}

std::string record(const raw_t& raw, rnx_t opt, decltype(&WriteRinexObsRec) write = WriteRinexObsRec)
{
    const FilePtr file = new_file();
    EXPECT_EQ(1, write(file.get(), &raw, &opt, 0.0));
    return contents(file.get());
}

FilePtr observation_file(rnx_t opt)
{
    FilePtr file = new_file();
    const auto raw = epoch(2300, 100.0, {1, 40, 87});
    WriteRinexObsHeader(file.get(), raw.get(), &opt);
    WriteRinexObsRec(file.get(), raw.get(), &opt, 0.0);
    return file;
}

// A header and an epoch every second, thinned to half minutes, for which the header is written again.
void write_thinned(std::FILE* file, rnx_t& opt, int seconds, decltype(&WriteRinexObsRec) write)
{
    WriteRinexObsHeader(file, epoch(2300, 0, {}).get(), &opt);
    for (int t = 1; t <= seconds; ++t) write(file, epoch(2300, t, {}).get(), &opt, 30.0);
    EXPECT_EQ(30.0, opt.interval);
}

int count(const std::string& text, const std::string& what)
{
    const std::vector<std::string> all = lines(text);
    return static_cast<int>(
        std::count_if(all.begin(), all.end(), [&](const auto& l) { return l.find(what) != l.npos; }));
}

}   // namespace

TEST(RinexObsHeader, WholeHeaders)
{
    const FakeClock clock(kLeapDay);
    for (const int version : {304, 211}) {
        rnx_t opt = options(version);
        std::strcpy(opt.marker, "POINT 7");
        std::strcpy(opt.recno, "SN 12345");
        opt.apppos[0] = -3962108.45574;
        opt.antdel[2] = -0.00004;
        opt.interval = 0.05;
        expect_golden("obs_header_" + std::to_string(version) + ".golden", header(opt, *epoch(2303, 434459.95, {1})));
    }
}

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
    expect_golden("epoch_304.golden", record(*raw, options(304)));
    expect_golden("epoch_302_reduced.golden", record(*raw, options(302, 5, "")));
    rnx_t rinex2 = options(211);
    expect_golden("epoch_211.golden", record(*raw, rinex2));
    EXPECT_EQ(record(*raw, rinex2, WriteRinexObsRec_2), record(*raw, rinex2));   // below 300 both write the same
    rinex2.sys_bds = 0;
    expect_golden("epoch_211_no_bds.golden", record(*raw, rinex2));
}

TEST(RinexObsRec, TheRunningStateAndOlderEpochs)
{
    const FilePtr file = new_file();
    for (auto* write : kWriters) {
        rnx_t opt = options(302);
        opt.firstweek = opt.curweek = 7;
        EXPECT_EQ(1, write(file.get(), epoch(2300, 100, kSky).get(), &opt, 0.0));
        EXPECT_EQ(-1, write(file.get(), epoch(2299, 99, kSky).get(), &opt, 0.0));
        EXPECT_EQ(1, write(file.get(), epoch(2300, 99, kSky).get(), &opt, 0.0));   // within the week time may step back
        EXPECT_EQ(1, write(file.get(), epoch(2301, 1, kSky).get(), &opt, 0.0));
        EXPECT_EQ(write == WriteRinexObsRec ? 2300 : 7, opt.firstweek);
        EXPECT_EQ(write == WriteRinexObsRec ? 2301 : 7, opt.curweek);
        EXPECT_EQ(2301, opt.lastweek);
        EXPECT_EQ(100.0, opt.firsttow);
        EXPECT_EQ(1.0, opt.lasttow);
        EXPECT_EQ(0, write(nullptr, epoch(2301, 2, kSky).get(), &opt, 0.0));
        EXPECT_EQ(0, write(file.get(), epoch(2301, 2, kSky).get(), nullptr, 0.0));
    }
}

TEST(RinexObsInterval, ALongSessionKeepsEveryEpochOfTheGrid)
{
    for (auto* write : kWriters) {
        rnx_t opt = options(write == WriteRinexObsRec ? 304 : 211);
        const FilePtr file = new_file();
        write_thinned(file.get(), opt, 4000, write);
        const std::string text = contents(file.get());
        // The search takes records as they come; from then on every half minute stands in the file, once.
        EXPECT_EQ(4000 / 30, count(text, " 0.0000000  0") + count(text, "30.0000000  0"));
        EXPECT_LT(count(text, "0000000  0"), 4000 / 30 + 25);
        EXPECT_EQ(1, count(text, "END OF HEADER"));
        EXPECT_EQ("    30.000", lines(text)[9].substr(0, 10));
    }
}

TEST(RinexObsPatch, PatchedFiles)
{
    const FakeClock clock(kLeapDay);
    std::string text;
    for (const auto& [version, kind, board] : {std::tuple{304, 9, "KV4A0"}, {302, 2, "KV220"}, {211, 0, ""}}) {
        rnx_t opt = options(version, kind, board);
        const FilePtr file = observation_file(opt);
        const std::string before = contents(file.get());
        std::strcpy(opt.recno, "%s %n 100%");
        std::strcpy(opt.antno, "\xC3\xBC line\nbreak\x01");
        opt.interval = 15.0;
        opt.lastweek = 2301;
        opt.lasttow = 5.0;
        EXPECT_EQ(1, WriteRinexObsLastEpoch(file.get(), &opt));
        EXPECT_EQ(static_cast<long>(before.size()), std::ftell(file.get()));

        const auto raw = epoch(2300, 0, {});
        raw->pos[0] = 1e300;
        raw->pos[2] = 5232754.80544;
        raw->ant_word2 = std::bit_cast<std::uint32_t>(1.25f);
        raw->glo_bias_mask = 0x5;
        raw->glo_bias[2] = -71.94f;
        std::fseek(file.get(), 17, SEEK_SET);
        EXPECT_EQ(1, WriteRinexObsApppos(file.get(), raw.get(), &opt));
        EXPECT_EQ(17, std::ftell(file.get()));
        text += contents(file.get());
        EXPECT_EQ(before.size(), contents(file.get()).size());
    }
    expect_golden("obs_patched.golden", text);
}

TEST(RinexObsPatch, StreamsThatCannotBePatchedStayAsTheyAre)
{
    rnx_t opt = options(304);
    const auto raw = epoch(2300, 0, {});
    const std::string whole = contents(observation_file(opt).get());
    const TemporaryFolder folder;
    const std::string path = folder.file("file.rnx");
    struct Case {
        int access;
        const char* mode;
        std::string text;
    };
    for (const Case& c : {Case{O_RDONLY, "rb", whole},
                          {O_RDWR | O_APPEND, "a+b", whole},
                          {O_WRONLY, "wb", whole},
                          {O_RDWR, "r+b", ""},
                          {O_RDWR, "r+b", "another file"}}) {
        write_file(path, c.text);
        FilePtr file(fdopen(open(path.c_str(), c.access), c.mode));
        EXPECT_EQ(1, WriteRinexObsLastEpoch(file.get(), &opt));
        EXPECT_EQ(1, WriteRinexObsApppos(file.get(), raw.get(), &opt));
        EXPECT_TRUE(std::ferror(file.get()) == 0 || c.access == O_RDONLY) << c.mode;
        file.reset();
        EXPECT_EQ(c.text, contents_of(path)) << c.mode;
    }
    const FilePtr bare = new_file();   // without its label a line is patched behind the header, and nothing moves
    std::fprintf(bare.get(), "%-60sEND OF HEADER       \n%s", "", std::string(2000, '.').c_str());
    const std::string before = contents(bare.get());
    EXPECT_EQ(1, WriteRinexObsLastEpoch(bare.get(), &opt));
    EXPECT_EQ(before.size(), contents(bare.get()).size());
    EXPECT_EQ(before.substr(0, 81), contents(bare.get()).substr(0, 81));

    int ends[2];   // streams that only grow keep their first header
    ASSERT_EQ(0, pipe(ends));
    const FilePtr reading(fdopen(ends[0], "rb"));
    std::remove(path.c_str());
    for (std::FILE* file : {std::fopen(path.c_str(), "ab"), fdopen(ends[1], "wb")}) {
        rnx_t running = options(304);
        write_thinned(file, running, 60, WriteRinexObsRec);
        EXPECT_EQ(1, WriteRinexObsLastEpoch(file, &running));
        EXPECT_EQ(0, std::ferror(file));
        std::fclose(file);
    }
    std::string text(1 << 16, '\0');
    text.resize(std::fread(text.data(), 1, text.size(), reading.get()));
    EXPECT_EQ(2, count(text, "END OF HEADER") + count(contents_of(path), "END OF HEADER"));
}

TEST(RinexStopAndGo, EventsOfEveryKind)
{
    std::string text;
    for (const int version : {304, 211}) {
        for (const int kind : {0, 1, 7}) {
            auto raw = epoch(2300, 0, {});
            raw->sng_flag = static_cast<std::uint8_t>(kind);
            std::strcpy(raw->rcv_text[0], "SITE %s");
            raw->pos[0] = 1.5;
            raw->sng_f[0] = 0.1f;
            raw->sng_f[1] = 0.2f;
            raw->sng_f[2] = 1.75f;
            rnx_t opt = options(version);
            const FilePtr file = new_file();
            EXPECT_EQ(1, WriteStopAndGoInfo(file.get(), raw.get(), &opt));
            EXPECT_EQ(kind == 1 ? 1.5 : 0.0, opt.apppos[0]);
            text += contents(file.get());
        }
    }
    expect_golden("stop_and_go.golden", text);
}

TEST(RinexObs, OrderAndNothingToWrite)
{
    const auto raw = epoch(2303, 434459.95, {});
    rnx_t opt = options(304);
    const FilePtr file = new_file();
    EXPECT_EQ(0, WriteBestxyzFile(nullptr, raw.get()) + WriteBestxyzFile(file.get(), nullptr));
    EXPECT_EQ(0, WriteRinexObsHeader(nullptr, raw.get(), &opt) + WriteRinexObsHeader(file.get(), raw.get(), nullptr));
    EXPECT_EQ(0, WriteRinexObsLastEpoch(nullptr, &opt) + WriteRinexObsApppos(nullptr, raw.get(), &opt));
    EXPECT_EQ(0, std::ftell(file.get()));
    obsd_t a{}, b{};
    a.sat = 3;
    b.sat = 5;
    EXPECT_EQ(-1, cmpobs(&a, &b));
    EXPECT_EQ(1, cmpobs(&b, &a));
    EXPECT_EQ(-1, cmpobs(&a, &a));   // Deliberate: never equal.
}
