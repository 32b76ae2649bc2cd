#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "fakes/fake_clock.h"
#include "support/rinex_records.h"
#include "support/text_file.h"

namespace {

constexpr std::time_t kLeapDay = 1709251140;   // 2024-02-29 23:59:00 UTC

std::string header(const rnx_t& opt, const raw_t* raw)
{
    const FilePtr file = new_file();
    EXPECT_EQ(1, WriteRinexObsHeader(file.get(), raw, &opt));
    return contents(file.get());
}

/// "G16:C1C-S1L R8:C1C-S2C ...": system, number of types, first and last code; continuations joined.
std::string type_signature(const std::string& text)
{
    std::string out;
    std::vector<std::string> codes;
    const auto close = [&] {
        if (!codes.empty()) out += ":" + codes.front() + "-" + codes.back() + "/" + std::to_string(codes.size()) + " ";
        codes.clear();
    };
    for (const std::string& line : lines(text)) {
        if (line.find("SYS / # / OBS TYPES") != 60 && line.find("# / TYPES OF OBSERV") != 60) continue;
        const bool rinex3 = line[60] == 'S';
        if (line[rinex3 ? 0 : 5] != ' ') {
            close();
            out += rinex3 ? line[0] + std::to_string(std::stoi(line.substr(3, 3))) : std::to_string(std::stoi(line));
        }
        std::istringstream in(line.substr(6, 54));
        for (std::string code; in >> code;) codes.push_back(code);
    }
    close();
    return out;
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
        expect_golden("obs_header_" + std::to_string(version) + ".golden",
                      header(opt, epoch(2303, 434459.95, {1}).get()));
    }
}

TEST(RinexObsHeader, TypesFollowVersionAndBoard)
{
    struct Case {
        int version, kind;
        const char* type;
        const char* off;   // systems switched off
        const char* types;
    };
    constexpr Case kCases[] = {
        {304, 9, "", "", "G16:C1C-S1L/16 R8:C1C-S2C/8 C20:C2I-S1D/20 E20:C1B-S6C/20 J16:C1C-S1L/16 "},
        {304, 5, "KV4A0", "", "G16:C1C-S1L/16 R8:C1C-S2C/8 C20:C2I-S1D/20 E20:C1B-S6C/20 J16:C1C-S1L/16 S4:C1C-S1C/4 "},
        {302, 9, "KV4A0", "GE", "R8:C1C-S2C/8 C12:C1I-S6I/12 S4:C1C-S1C/4 "},
        {304, 6, "", "", "G12:C1C-S5Q/12 R8:C1C-S2P/8 C16:C2I-S6I/16 E12:C1B-S5Q/12 J12:C1C-S5Q/12 "},
        {304, 6, "KV4A0", "GEJS", "R8:C1C-S2P/8 C20:C2I-S1D/20 "},
        {303, 5, "KV3A0", "", "G12:C1C-S5Q/12 R8:C1C-S2C/8 C12:C1I-S6I/12 E12:C1B-S5Q/12 J12:C1C-S5Q/12 S4:C1C-S1C/4 "},
        {304, 5, "xxKV3A0yy", "GRES", "C16:C2I-S6I/16 "},
        {304, 1, "SEPT POLARX5", "", "G12:C1C-S5Q/12 R4:C1C-S1C/4 C8:C2I-S6I/8 "},
        {302, 1, "", "", "G8:C1C-S2W/8 R4:C1C-S1C/4 C8:C1I-S6I/8 "},
        {303, 3, "", "", "G8:C1C-S2W/8 R8:C1C-S2C/8 C8:C2I-S7I/8 "},
        {302, 5, "", "", "G8:C1C-S2W/8 R8:C1C-S2C/8 C8:C1I-S7I/8 E12:C1B-S5Q/12 "},
        {302, 2, "KV220", "", "G8:C1C-S2W/8 C8:C1I-S7I/8 R8:C1C-S2C/8 "},
        {302, 2, "a Trimble", "C", "G8:C1C-S2W/8 R8:C1C-S2C/8 "},
        {302, 2, "", "", ""},
        {302, 2, "KV210", "", "G8:C1C-S2W/8 R8:C1C-S2C/8 C8:C1I-S7I/8 "},
        {302, 0, "", "GRC", "G4:C1C-S1C/4 C4:C1I-S1I/4 R4:C1C-S1C/4 "},
        {302, -1, "", "", ""},
        {211, 0, "", "", "4:C1-S1/4 "},
        {211, 2, "KV220", "", "12:C1-S7/12 "},
        {300, 2, "KV220", "C", "8:C1-S2/8 "},
        {211, 9, "KV4A0", "", "12:C1-S7/12 "},
        {211, 1, "", "", "12:C1-S6/12 "},
        {211, 6, "", "", "8:C1-S2/8 "},
        {211, 9, "", "C", "8:C1-S2/8 "},
    };
    const auto raw = epoch(2300, 0, {1});
    for (const Case& c : kCases) {
        rnx_t opt = options(c.version, c.kind, c.type);
        struct {
            char letter;
            int* on;
        } const switches[] = {
            {'G', &opt.sys_gps}, {'R', &opt.sys_glo}, {'C', &opt.sys_bds}, {'E', &opt.sys_gal}, {'S', &opt.sys_sbs}};
        for (const auto& s : switches) *s.on = std::strchr(c.off, s.letter) == nullptr;
        EXPECT_EQ(c.types, type_signature(header(opt, raw.get()))) << c.version << " kind " << c.kind << " " << c.type;
    }
    rnx_t opt = options(302, 3, "");
    const auto l2x = epoch(2300, 0, {1});
    l2x->obs[0].code[1] = 18;
    EXPECT_EQ("G8:C1C-S2X/8 R8:C1C-S2C/8 C8:C1I-S7I/8 ", type_signature(header(opt, l2x.get())));
}

TEST(RinexObsHeader, HostileTextsAndNumbersKeepTheColumns)
{
    rnx_t opt = options(304, 6);
    std::memset(opt.marker, 'M', sizeof opt.marker);   // full, without a NUL
    std::memset(opt.agency, '%', sizeof opt.agency);
    std::strcpy(opt.observer, "a\nb\r\x7f\t\x1bz");
    std::strcpy(opt.runby, "\xC3\xA9t\xC3\xA9");
    const double odd[] = {std::numeric_limits<double>::quiet_NaN(), HUGE_VAL, -1e300, 123456789.5, -99999999.99996};
    const unsigned short leaps = g_curleap;
    g_curleap = 65535;
    for (const double x : odd) {
        opt.apppos[0] = opt.antdel[1] = opt.interval = x;
        for (const std::string& line : lines(header(opt, epoch(2300, 0, {}).get()))) {
            ASSERT_EQ(line.find("LEAP SECONDS") == line.npos ? 80u : 72u, line.size()) << line;
        }
    }
    g_curleap = leaps;
    const std::vector<std::string> text = lines(header(opt, epoch(2300, 0, {}).get()));
    EXPECT_EQ(std::string(60, 'M') + "MARKER NAME         ", text[2]);
    EXPECT_EQ(0u, text[4].find("a b    z            " + std::string(32, '%') + "        OBSERVER"));
    EXPECT_EQ("        0.0000        0.0000        0.0000                  APPROX POSITION XYZ ", text[7]);
}

TEST(RinexObsHeader, NullPointersWriteNothing)
{
    const rnx_t opt = options(304);
    const auto raw = epoch(2300, 0, {});
    const FilePtr file = new_file();
    EXPECT_EQ(0, WriteRinexObsHeader(nullptr, raw.get(), &opt));
    EXPECT_EQ(0, WriteRinexObsHeader(file.get(), raw.get(), nullptr));
    EXPECT_EQ("", contents(file.get()));
}

TEST(RinexOptions, DefaultsAndWhatIsLeftAlone)
{
    rnx_t opt;
    std::memset(&opt, 0x7E, sizeof opt);
    EXPECT_EQ(1, Initial_Rnx(&opt));
    EXPECT_EQ(-1, opt.lastweek);
    EXPECT_EQ(302, opt.version);
    EXPECT_EQ(-1.0, opt.firsttow);
    EXPECT_EQ(-1.0, opt.lasttow);
    EXPECT_EQ(0.0, opt.interval);
    EXPECT_STREQ("    ", opt.marker);
    EXPECT_STREQ("         ", opt.markerno);
    EXPECT_EQ(0x7E, opt.markerno[10]);   // behind the text the array stays
    EXPECT_STREQ("ADVNULLANTENNA  NONE", opt.anttype);
    EXPECT_EQ(0, opt.anttype[31]);
    EXPECT_EQ(0, opt.rectype[31]);
    EXPECT_EQ(0x7E7E7E7E, opt.rcvkind);
    EXPECT_EQ(0x7E7E7E7E, opt.firstweek);
    EXPECT_EQ(1, opt.sys_sbs);
}
