// Headers of navigation files and what is patched into them.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <iterator>
#include <limits>

#include "fakes/fake_clock.h"
#include "support/navigation_records.h"
#include "support/temporary_folder.h"

namespace {

constexpr std::time_t kLeapDay = 1709197503;    // 2024-02-29 09:05:03 UTC
constexpr std::time_t kNewYears = 1704067199;   // 2023-12-31 23:59:59 UTC

using header_writer_t = int (*)(std::FILE*, const rnx_t*);
struct header_case_t {
    const char* name;
    header_writer_t write;
    bool rewinds;
    int exists_from;   // version
};

const header_case_t kHeaders[] = {
    {"GPS", WriteRinexGpsEphHeader, true, 0},      {"QZSS", WriteRinexQzssEphHeader, true, 0},
    {"GLONASS", WriteRinexGloEphHeader, false, 0}, {"Galileo", WriteRinexGalEphHeader, false, 300},
    {"BeiDou", WriteRinexBDsEphHeader, false, 0},  {"mixed", WriteRinexALLEphHeader, true, 300},
};

FilePtr headed_file(header_writer_t write, int number)
{
    FilePtr file = new_file();
    const rnx_t opt = version(number);
    EXPECT_EQ(1, write(file.get(), &opt));
    return file;
}

std::string header(header_writer_t write, int number)
{
    return contents(headed_file(write, number).get());
}

class RinexNavHeader : public testing::Test {
protected:
    ~RinexNavHeader() override { g_curleap = 18; }
};
using RinexNavPatch = RinexNavHeader;

TEST_F(RinexNavHeader, EveryLayoutOnBothSidesOfTheThresholds)
{
    const FakeClock clock(kLeapDay);
    g_curleap = 7;   // of the headers only GLONASS prints it
    std::string all;
    for (const int number : {211, 299, 300, 301, 304}) {
        for (const header_case_t& h : kHeaders) {
            all += "# " + std::string(h.name) + " " + std::to_string(number) + "\n" + header(h.write, number);
        }
    }
    expect_golden("nav_headers.golden", all);
}

TEST_F(RinexNavHeader, DecemberAndOddClocks)
{
    {
        const FakeClock clock(kNewYears);   // Deliberate: RINEX 2 calls December by the name of September.
        EXPECT_NE(std::string::npos, header(WriteRinexGpsEphHeader, 211).find("  31-SEP-23 23:59     PGM"));
        EXPECT_NE(std::string::npos, header(WriteRinexGpsEphHeader, 304).find("  20231231 235959 UTC PGM"));
    }
    for (const std::time_t now : {std::time_t(0), std::time_t(2147483648), std::time_t(4294967296)}) {
        const FakeClock clock(now);
        for (const header_case_t& h : kHeaders) {
            const auto program = lines(header(h.write, 304))[1];
            EXPECT_EQ(60U, program.find("PGM / RUN BY / DATE")) << program;
        }
    }
}

TEST_F(RinexNavHeader, PlaceInTheStream)
{
    for (const header_case_t& h : kHeaders) {
        SCOPED_TRACE(h.name);
        for (const int number : {211, 304}) {
            const FilePtr file = new_file();
            const std::string before(2000, '-');
            std::fputs(before.c_str(), file.get());
            std::fseek(file.get(), 1000, SEEK_SET);
            const rnx_t opt = version(number);
            EXPECT_EQ(1, h.write(file.get(), &opt));
            const std::string text = header(h.write, number);
            const long start = h.rewinds ? 0 : 1000;
            EXPECT_EQ(start + static_cast<long>(text.size()), std::ftell(file.get()));
            EXPECT_EQ(number < h.exists_from, text.empty());
            const std::string after = contents(file.get());
            EXPECT_EQ(before.size(), after.size());
            EXPECT_EQ(std::string(static_cast<std::size_t>(start), '-'),
                      after.substr(0, static_cast<std::size_t>(start)));
        }
    }
}

TEST_F(RinexNavHeader, RefusesNullAndKeepsColumns)
{
    const rnx_t opt = version(304);
    for (const header_case_t& h : kHeaders) {
        EXPECT_EQ(0, h.write(nullptr, &opt));
        const FilePtr file = new_file();
        EXPECT_EQ(0, h.write(file.get(), nullptr));
        EXPECT_EQ("", contents(file.get()));
        EXPECT_EQ(20U, header(h.write, std::numeric_limits<int>::max())
                           .find(h.exists_from == 0 || h.write == WriteRinexGalEphHeader ? "N: GNSS" : "NAVI"));
    }
    g_curleap = 12345;   // does not fit its two columns
    EXPECT_EQ("     0", lines(header(WriteRinexGloEphHeader, 304))[2].substr(0, 6));
}

double kIon[8] = {1.1176e-08, -1.4901e-08, -5.9605e-08, 0.0, 1.1264e+05, 9.8304e+04, -6.5536e+04, -5.2429e+05};

TEST_F(RinexNavPatch, IonosphericLinesOfRinex3RunIntoTheEndOfTheHeader)
{
    const FilePtr file = headed_file(WriteRinexGpsEphHeader, 304);
    std::fputs("G01 the first record\n", file.get());
    const std::string before = contents(file.get());
    const rnx_t opt = version(304);
    EXPECT_EQ(1, WriteRinexGpsEphIonPara(file.get(), kIon, &opt));
    EXPECT_EQ(static_cast<long>(before.size()), std::ftell(file.get()));
    const auto was = lines(before), now = lines(contents(file.get()));
    ASSERT_EQ(was.size(), now.size());
    EXPECT_EQ(was[0] + was[1], now[0] + now[1]);
    EXPECT_EQ("GPSA   0.1118E-07 -0.1490E-07 -0.5960E-07  0.0000E+00       IONOSPHERIC CORR ", now[2]);
    EXPECT_EQ("GPSB   0.1126E+06  0.9830E+05 -0.6554E+05 -0.5243E+06       IONOSPHERIC CORR ", now[3]);
    EXPECT_EQ(was[4].substr(2), now[4]);
    EXPECT_EQ(58U, now[4].find("END OF HEADER"));
    EXPECT_EQ(was[5], now[5]);
}

TEST_F(RinexNavPatch, IonosphericLinesOfRinex2KeepTheLayout)
{
    const FilePtr file = headed_file(WriteRinexGpsEphHeader, 211);
    const std::string before = contents(file.get());
    const rnx_t opt = version(299);
    EXPECT_EQ(1, WriteRinexGpsEphIonPara(file.get(), kIon, &opt));
    const auto was = lines(before), now = lines(contents(file.get()));
    EXPECT_EQ("      0.1118E-07 -0.1490E-07 -0.5960E-07  0.0000E+00        ION ALPHA           ", now[2]);
    EXPECT_EQ("      0.1126E+06  0.9830E+05 -0.6554E+05 -0.5243E+06        ION BETA            ", now[3]);
    EXPECT_EQ(was[4], now[4]);
    EXPECT_EQ(before.size(), contents(file.get()).size());
}

TEST_F(RinexNavPatch, CoefficientsThatDoNotFitAreZero)
{
    for (const double odd : {std::nan(""), HUGE_VAL, -1e150, 0.99999, 1e100}) {
        const FilePtr file = headed_file(WriteRinexGpsEphHeader, 304);
        const std::size_t size = contents(file.get()).size();
        double ion[8] = {odd, 1e-8, odd, odd, odd, odd, 1.0, odd};
        const rnx_t opt = version(304);
        WriteRinexGpsEphIonPara(file.get(), ion, &opt);
        const auto now = lines(contents(file.get()));
        EXPECT_EQ("GPSA   0.0000E+00  0.1000E-07  0.0000E+00  0.0000E+00       IONOSPHERIC CORR ", now[2]) << odd;
        EXPECT_EQ("GPSB   0.0000E+00  0.0000E+00  0.1000E+01  0.0000E+00       IONOSPHERIC CORR ", now[3]) << odd;
        EXPECT_EQ(size, contents(file.get()).size());
    }
}

TEST_F(RinexNavPatch, LeapSecondsOfBothLayouts)
{
    for (const int number : {211, 302}) {
        const FilePtr file = headed_file(WriteRinexGloEphHeader, number);
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

/// Both patches, one after the other.
void patch(std::FILE* file)
{
    const rnx_t opt = version(304);
    EXPECT_EQ(1, WriteRinexGpsEphIonPara(file, kIon, &opt));
    EXPECT_EQ(1, WriteRinexGloEphCurleap(file));
}

TEST_F(RinexNavPatch, StreamsThatCannotBePatchedStayAsTheyAre)
{
    const TemporaryFolder folder;
    const std::string whole = header(WriteRinexGpsEphHeader, 304), path = folder.file("nav.rnx");
    struct {
        const char* name;
        const char* mode;
        std::string text;
    } const kCases[] = {
        {"empty", "r+", ""},          {"no label", "r+", "a file of another kind\n"},
        {"no newline", "r+", "text"}, {"a line longer than the buffer", "r+", std::string(5000, 'x')},
        {"read-only", "r", whole},    {"append", "a+", whole},
        {"write-only", "a", whole},
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.name);
        write_file(path, c.text);
        FilePtr file(std::fopen(path.c_str(), c.mode));
        patch(file.get());
        file.reset();
        EXPECT_EQ(c.text, contents_of(path));
    }
    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    const FilePtr reading(fdopen(ends[0], "r")), writing(fdopen(ends[1], "w"));
    patch(writing.get());
    const rnx_t opt = version(304);
    EXPECT_EQ(0, WriteRinexGpsEphIonPara(nullptr, kIon, &opt));
    EXPECT_EQ(0, WriteRinexGpsEphIonPara(writing.get(), kIon, nullptr));
    EXPECT_EQ(0, WriteRinexGloEphCurleap(nullptr));
}

TEST_F(RinexNavPatch, AHeaderWithoutTheLabelIsPatchedBehindItsEnd)
{
    const FilePtr file = new_file();
    const std::string end = "                                                            END OF HEADER \n";
    std::fputs((end + std::string(200, '-')).c_str(), file.get());
    EXPECT_EQ(1, WriteRinexGloEphCurleap(file.get()));
    const std::string text = contents(file.get());
    EXPECT_EQ(end + "     18", text.substr(0, end.size() + 7));
    EXPECT_EQ(std::string(200 - 72, '-'), text.substr(end.size() + 72));
}

}   // namespace
