// Annotations of observation files: patched lines keep their place, everything else stays as it is.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cmath>

#include "support/rinex_records.h"
#include "support/text_file.h"

namespace {

FilePtr observation_file(const rnx_t& opt)
{
    FilePtr file = new_file();
    rnx_t running = opt;
    const auto raw = epoch(2300, 100.0, {1, 40, 87});
    WriteRinexObsHeader(file.get(), raw.get(), &running);
    WriteRinexObsRec(file.get(), raw.get(), &running, 0.0);
    return file;
}

/// Labels of the lines in which two texts of equal layout differ.
std::vector<std::string> changed_labels(const std::string& before, const std::string& after)
{
    EXPECT_EQ(before.size(), after.size());
    const auto a = lines(before), b = lines(after);
    EXPECT_EQ(a.size(), b.size());
    std::vector<std::string> labels;
    for (std::size_t i = 0; i < a.size() && i < b.size(); ++i) {
        EXPECT_EQ(a[i].size(), b[i].size());
        if (a[i] != b[i]) labels.push_back(b[i].substr(60, b[i].find_last_not_of(' ') - 59));
    }
    return labels;
}

}   // namespace

TEST(RinexObsPatch, OnlyThePatchedLinesChange)
{
    using Labels = std::vector<std::string>;
    const double nan = std::nan("");
    const char* texts[] = {"plain", "%s %n 100%", "\xC3\xBC\xC3\xB6\xC3\xA4 \xE2\x82\xAC", "line\nbreak\x01",
                           "sixty columns sixty columns sixty columns sixty columns sixty"};
    for (const int version : {211, 302, 303, 304}) {
        for (const int kind : {0, 1, 2, 5, 6, 9}) {
            for (const char* text : texts) {
                rnx_t opt = options(version, kind, kind == 2 ? "KV220" : "KV4A0");
                const FilePtr file = observation_file(opt);
                const std::string before = contents(file.get());
                std::memcpy(opt.recno, text, std::min(sizeof opt.recno, std::strlen(text) + 1));
                std::memcpy(opt.antno, text, std::min(sizeof opt.antno, std::strlen(text) + 1));
                opt.interval = 15.0;
                opt.lastweek = 2301;
                opt.lasttow = 5.0;
                EXPECT_EQ(1, WriteRinexObsLastEpoch(file.get(), &opt));
                const std::string patched = contents(file.get());
                EXPECT_EQ((Labels{"REC # / TYPE / VERS", "INTERVAL", "TIME OF LAST OBS"}),
                          changed_labels(before, patched));

                const auto raw = epoch(2300, 0, {});
                raw->pos[0] = 1e300;
                raw->pos[1] = nan;
                raw->pos[2] = 5232754.80544;
                raw->ant_word2 = std::bit_cast<std::uint32_t>(1.25f);
                raw->glo_bias_mask = 0x5;
                raw->glo_bias[2] = -71.94f;
                EXPECT_EQ(1, WriteRinexObsApppos(file.get(), raw.get(), &opt));
                Labels expected = {"ANT # / TYPE", "APPROX POSITION XYZ", "ANTENNA: DELTA H/E/N"};
                if (kind == 2 && version > 300) expected.push_back("GLONASS COD/PHS/BIS");
                const std::string both = contents(file.get());
                EXPECT_EQ(expected, changed_labels(patched, both));
                EXPECT_NE(both.npos, both.find("        0.0000        0.0000  5232754.8054"));
                EXPECT_NE(both.npos, both.find("        1.2500        0.0000        0.0000"));
                EXPECT_NE(both.npos, both.find("KVRCVMODLA"));
            }
        }
    }
}

TEST(RinexObsPatch, StreamPositionsAndTheFirstEpochOfAll)
{
    rnx_t opt = options(304);
    const FilePtr file = observation_file(opt);
    std::fseek(file.get(), 17, SEEK_SET);
    EXPECT_EQ(1, WriteRinexObsApppos(file.get(), epoch(2300, 0, {}).get(), &opt));
    EXPECT_EQ(17, std::ftell(file.get()));
    EXPECT_EQ(1, WriteRinexObsLastEpoch(file.get(), &opt));   // nothing written yet: week -1, second -1
    EXPECT_EQ(static_cast<long>(contents(file.get()).size()), std::ftell(file.get()));
    EXPECT_NE(std::string::npos, contents(file.get()).find("  1979    12    29    23    59   59.0000000     GPS"));
}

TEST(RinexObsPatch, OddStreamsComeToNoHarm)
{
    const rnx_t opt = options(304);
    rnx_t running = opt;
    const auto raw = epoch(2300, 0, {});
    EXPECT_EQ(0, WriteRinexObsLastEpoch(nullptr, &opt));
    EXPECT_EQ(0, WriteRinexObsApppos(nullptr, raw.get(), &running));

    const FilePtr empty = new_file();
    EXPECT_EQ(1, WriteRinexObsLastEpoch(empty.get(), &opt));
    EXPECT_EQ("", contents(empty.get()));

    // Without its label a line is patched behind the header: required, and nothing moves.
    const FilePtr bare = new_file();
    std::fprintf(bare.get(), "%-60sEND OF HEADER       \n%s", "", std::string(2000, '.').c_str());
    const std::string before = contents(bare.get());
    EXPECT_EQ(1, WriteRinexObsLastEpoch(bare.get(), &opt));
    EXPECT_EQ(before.size(), contents(bare.get()).size());
    EXPECT_EQ(before.substr(0, 81), contents(bare.get()).substr(0, 81));

    const FilePtr whole = observation_file(opt);
    const std::string text = contents(whole.get());
    char path[] = "/tmp/rinex_patch_XXXXXX";
    const int fd = mkstemp(path);
    ASSERT_EQ(static_cast<ssize_t>(text.size()), write(fd, text.data(), text.size()));
    close(fd);
    const std::pair<int, const char*> modes[] = {{O_RDONLY, "rb"}, {O_RDWR, "a+b"}, {O_WRONLY, "ab"}, {O_WRONLY, "wb"}};
    for (const auto& [access, mode] : modes) {
        const FilePtr file(fdopen(open(path, access), mode));
        EXPECT_EQ(1, WriteRinexObsLastEpoch(file.get(), &opt));
        EXPECT_EQ(1, WriteRinexObsApppos(file.get(), raw.get(), &running));
        EXPECT_TRUE(std::ferror(file.get()) == 0 || access == O_RDONLY) << mode;
    }
    EXPECT_EQ(text, contents(FilePtr(std::fopen(path, "rb")).get()));
    unlink(path);

    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    const FilePtr in(fdopen(ends[0], "rb")), out(fdopen(ends[1], "wb"));
    EXPECT_EQ(1, WriteRinexObsLastEpoch(out.get(), &opt));
    std::fflush(out.get());
    fcntl(ends[0], F_SETFL, O_NONBLOCK);
    EXPECT_EQ(EOF, std::fgetc(in.get()));
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
            const std::string event = contents(file.get());
            const auto parts = lines(event);
            if (!parts.empty())
                EXPECT_EQ(std::stoi(parts[0].substr(version > 300 ? 32 : 29)), static_cast<int>(parts.size()) - 1);
            text += event;
        }
    }
    expect_golden("stop_and_go.golden", text);
}

TEST(PositionListing, OneLine)
{
    auto raw = epoch(2303, 434459.95, {});
    raw->pos[0] = -3962108.45574;
    raw->pos[1] = 1e15;
    const FilePtr file = new_file();
    EXPECT_EQ(1, WriteBestxyzFile(file.get(), raw.get()));
    EXPECT_EQ("2303 434459.950 2024 03 01 00 40 59.950  -3962108.45571000000000000000.0000        0.0000\n",
              contents(file.get()));
    EXPECT_EQ(0, WriteBestxyzFile(nullptr, raw.get()));
    EXPECT_EQ(0, WriteBestxyzFile(file.get(), nullptr));
}
