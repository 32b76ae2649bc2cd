// Compact RINEX in both directions: texts worked out by hand, the law that nothing changes, and what is refused.
#include <common/compressor.h>
#include <common/output_file.h>
#include <common/text_format.h>
#include <gmock/gmock.h>
#include <rinex/crinex_compress.h>
#include <rinex/crinex_expand.h>
#include <rinex/line_error.h>
#include <zlib.h>

#include <random>

#include "support/temporary_folder.h"

namespace {

using kvx::text;

rinex::byte_lines_t lines_of(std::string_view& bytes)
{
    return rinex::byte_lines_t([&bytes](char* to, std::size_t n) {
        const std::size_t got = bytes.copy(to, n);
        bytes.remove_prefix(got);
        return got;
    });
}

std::string error_text(const rinex::line_error_t& e)
{
    return std::to_string(e.line()) + ": " + e.what();
}

// Both work a text over; where that fails, the error stands behind what came before.
std::string compressed(std::string_view rinex)
{
    std::string compact;
    rinex::crinex_compressor_t compressor([&](std::string_view piece) { compact += piece; }, "kvx", "21-Nov-26 08:05");
    auto lines = lines_of(rinex);
    try {
        for (std::string_view line; lines.next(line);) compressor.put(std::string(line) + "  ");
        compressor.finish();
    } catch (const rinex::line_error_t& e) {
        compact += error_text(e);
    }
    return compact;
}

std::string expanded(std::string_view compact)
{
    std::string rinex;
    auto lines = lines_of(compact);
    rinex::crinex_expander_t expander(lines);
    try {
        for (std::string_view line; expander.next(line);) rinex.append(line) += '\n';
    } catch (const rinex::line_error_t& e) {
        rinex += error_text(e);
    }
    return rinex;
}

constexpr char kRinex3[] = R"(     3.04           OBSERVATION DATA    M                   RINEX VERSION / TYPE
G    2 C1C L1C                                              SYS / # / OBS TYPES
E    1 C1C                                                  SYS / # / OBS TYPES
                                                            END OF HEADER
> 2024 03 10 12 00  0.0000000  0  2       0.000000001000
G01  20000000.123 7 105000000.45607
E11  23000000.500
> 2024 03 10 12 00 30.0000000  0  2
G01  20000010.123 8
E11  23000001.000
> 2024 03 10 12 01  0.0000000  0  2       0.000000002000
G01  20000015.123 8 105000100.000 6
E12        -0.500
> 2024 03 10 12 01  5.0000000  5  1
                                                            COMMENT
> 2024 03 10 12 01 30.0000000  0  1
G01  20000020.123
> 2024 03 10 12 02 30.0000000  0  0
)";

constexpr char kCompact3[] = R"(3.0                 COMPACT RINEX FORMAT                    CRINEX VERS   / TYPE
kvx                                     21-Nov-26 08:05     CRINEX PROG / DATE
     3.04           OBSERVATION DATA    M                   RINEX VERSION / TYPE
G    2 C1C L1C                                              SYS / # / OBS TYPES
E    1 C1C                                                  SYS / # / OBS TYPES
                                                            END OF HEADER
> 2024 03 10 12 00  0.0000000  0  2      G01E11
3&1000
3&20000000123 3&105000000456 &707
3&23000000500 &&
                   3

10000   8&&
500
                 1 &                          2
3&2000
-5000 3&105000100000    6
3&-500 &&
> 2024 03 10 12 01  5.0000000  5  1
                                                            COMMENT
> 2024 03 10 12 01 30.0000000  0  1      G01

3&20000020123  &&&&
                 2                0      &&&

)";

constexpr char kRinex2[] = R"(     2.11           OBSERVATION DATA    G (GPS)             RINEX VERSION / TYPE
     6    C1    L1    D1    S1    P2    L2                  # / TYPES OF OBSERV
                                                            END OF HEADER
 24  3 10 12  0  0.0000000  0  1G05                                  0.000000001
  20000000.000    99999999.99917
        -1.000 5
 24  3 10 12  0 30.0000000  0  1G05                                  0.000000003
  20000001.000                           4.000
        -3.000 5
 24  3 10 12  1  0.0000000  0  1G05
  20000003.000          12.0001          4.000
        -6.000 5
 24  3 10 12  1 30.0000000  0  1G05
  31000003.000          12.0001
       -10.000 4
)";

constexpr char kCompact2[] = R"(1.0                 COMPACT RINEX FORMAT                    CRINEX VERS   / TYPE
kvx                                     21-Nov-26 08:05     CRINEX PROG / DATE
     2.11           OBSERVATION DATA    G (GPS)             RINEX VERSION / TYPE
     6    C1    L1    D1    S1    P2    L2                  # / TYPES OF OBSERV
                                                            END OF HEADER
&24  3 10 12  0  0.0000000  0  1G05
3&1
3&20000000000 3&99999999999    3&-1000   17       5
                3
2
1000  3&4000   -2000
              1 &

1000 3&12000 0   -1000   1
                3

3&31000003000 0    0            4
)";

// A file with whatever makes a compressor stumble.
class random_file_t {
public:
    random_file_t(bool second, unsigned seed) : second_(second), random_(seed)
    {
        add_line(text("%9.2f%27s%44s", second ? 2.11 : 4.01, "OBSERVATION DATA", "RINEX VERSION / TYPE"));
        file += type_lines() + text("%73s\n", "END OF HEADER");
        for (int i = 0; i < 30; ++i) below(8) == 0 ? add_event(2 + below(4)) : add_epoch(i);
    }

    std::string file;

private:
    int below(int n) { return static_cast<int>(random_() % static_cast<unsigned>(n)); }

    void add_line(std::string line)
    {
        line.resize(line.find_last_not_of(' ') + 1);
        file += line + '\n';
    }

    std::string type_lines()
    {
        types_ = 1 + below(second_ ? 12 : 20);
        if (second_) return text("%6d%73s\n", types_, "# / TYPES OF OBSERV");
        std::string lines;
        for (const char letter : {'G', 'R', 'E', 'C'})
            lines += text("%c%5d%73s\n", letter, types_, "SYS / # / OBS TYPES");
        return lines;
    }

    std::string head(int second, int flag, std::size_t count)
    {
        return text(second_ ? " 24  3 10 12  0%11.7f  %d%3d" : "> 2024 03 10 12 00%11.7f  %d%3d", second * 1.0, flag,
                    static_cast<int>(count));
    }

    void add_event(int flag)
    {
        const std::string lines = flag == 4 ? type_lines() : below(2) == 0 ? text("%67s\n", "COMMENT") : "";
        add_line(head(0, flag, static_cast<std::size_t>(std::count(lines.begin(), lines.end(), '\n'))));
        file += lines;
    }

    void add_epoch(int second)
    {
        std::vector<std::string> satellites;
        const int density = below(5);
        for (const char letter : std::string("GREC").substr(0, second_ ? 2 : 4))
            for (int n = 1; n <= 35; ++n)
                if (below(4) < density) satellites.push_back(text("%c%02d", letter, n));
        std::string line = head(second, below(2), satellites.size()), more;
        for (std::size_t i = 0; second_ && i < satellites.size(); ++i) {
            if (i > 0 && i % 12 == 0) more += '\n' + std::string(32, ' ');
            (i < 12 ? line : more) += satellites[i];
        }
        if (below(2) == 0) {
            line.resize(second_ ? 68 : 41, ' ');
            line += text(second_ ? "%12.9f" : "%15.12f", (below(2000) - 1000) * 1e-9);
        }
        add_line(line + more);
        for (const std::string& satellite : satellites) add_values(second_ ? "" : satellite, second);
    }

    void add_values(std::string line, int second)
    {
        for (int i = 0; i < types_; ++i) {
            if (second_ && i > 0 && i % 5 == 0) add_line(std::exchange(line, ""));
            const bool blank = below(5) == 0, jump = below(9) == 0;
            const double value = jump ? static_cast<double>(random_() % 10'999'999'999'999) / 1e3 - 999'999'999.999
                                      : second * 1e4 - below(1000000) / 1e3;
            line += blank ? std::string(14, ' ') : text("%14.3f", value);
            for (int flag = 0; flag < 2; ++flag)
                line += below(3) == 0 && !(blank && second_) ? static_cast<char>('0' + below(10)) : ' ';
        }
        add_line(line);
    }

    bool second_;
    std::mt19937_64 random_;
    int types_ = 0;
};

}   // namespace

TEST(Crinex, TextsWorkedOutByHand)
{
    for (const auto& [rinex, compact] : {std::pair(kRinex3, kCompact3), std::pair(kRinex2, kCompact2)}) {
        EXPECT_EQ(compact, compressed(rinex));
        EXPECT_EQ(rinex, expanded(compact));
    }
    // What others write: other orders, epochs told whole, CR LF, no end of the last line.
    std::string other = kCompact2;
    other.replace(other.find("                3\n2\n"), other.npos,
                  "&24  3 10 12  0 30.0000000  0  1G05\r\n0&3\r\n1&20000001000  9&-5   1&-3000            5\r\n"
                  "              1 &\r\n-7\r\n2000  6   -3000");
    EXPECT_THAT(expanded(other),
                testing::EndsWith(" 24  3 10 12  1  0.0000000  0  1G05                                 -0.000000007\n"
                                  "  20000003.000                           0.001\n        -6.000 5\n"));
}

TEST(Crinex, NothingChanges)
{
    for (unsigned seed = 0; seed < 40; ++seed) {
        const std::string rinex = random_file_t(seed % 2 == 0, seed).file;
        ASSERT_EQ(rinex, expanded(compressed(rinex))) << seed;
    }
}

TEST(Crinex, RefusesWhatIsNotWhole)
{
    const struct {
        std::string text, from, to, error;
    } kCases[] = {
        {kRinex3, "3.04", "4.02", "1: RINEX '4.02' belongs to CRINEX 3.1, whose details are not public"},
        {kRinex3, "OBSERVATION", "NAVIGATION ", "1: this is no RINEX observation file"},
        {kRinex3, " 0.000000001", " 0.00000001 ", "5: ' 0.00000001 000' is no clock offset"},
        {kRinex3, "0  2    ", "0  2  x ", "5: there must be a blank in column 38"},
        {kRinex3, ".45607", ".456&7", "6: '&7' are no flags of an observation"},
        {kRinex3, "0000.500", "0000.5 0", "7: '  23000000.5 0' is no value of an observation"},
        {kRinex3, "E11  ", "G01  ", "7: satellite G01 a second time in one epoch"},
        {kRinex3, "E12  ", "S12  ", "13: no observation types are listed for satellite S12"},
        {kRinex3, "0  0\n", "0  1\n", "18: the file ends in the middle of an epoch"},
        {kRinex2, "9.99917", "9,99917", "5: '  99999999,999' is no value of an observation"},
        {kRinex2, "1.000                  ", "1.000                17",
         "8: flags beside a blank value, which CRINEX 1.0 cannot hold"},
        {kCompact3, "3.0", "3.1", "1: CRINEX 3.1 cannot be expanded: its details are not public"},
        {kCompact3, "3.0", "1.0", "3: CRINEX 1.0 holds RINEX 2 only"},
        {kCompact3, "G01E11", "G01", "7: the number of satellites and their list do not agree"},
        {kCompact3, "3&23", "23", "10: '23000000500' leads to no value of an observation"},
        {kCompact3, "-5000", "9000000000000000000", "17: '9000000000000000000' leads to no value of an observation"},
        {kCompact3, "-5000", "9999999999999999999", "17: '9999999999999999999' leads to no value of an observation"},
        {kCompact3, "8&&", "8&&&", "13: ' 8&&&' leads to no flags of observations"},
        {kCompact3, "> 2024 03 10 12 01 30", "  2024 03 10 12 01 30",
         "21: an epoch told as a difference, and there is none before it"},
    };
    for (auto [text, from, to, error] : kCases) {
        text.replace(text.find(from), from.size(), to);
        const bool compact = rinex::crinex_expander_t::is_compact(text.substr(0, 80));
        EXPECT_THAT((compact ? expanded : compressed)(text), testing::EndsWith(error));
    }
}

TEST(Crinex, DamageCostsNoEpochBefore)
{
    for (unsigned seed = 0; seed < 60; ++seed) {
        const std::string rinex = random_file_t(seed % 2 == 0, seed).file;
        const std::string compact = compressed(rinex);
        const std::size_t at = compact.find('\n', std::mt19937(seed)() % compact.size()) + 1;
        // Cut behind a line: whole epochs come out, then the error if it was not the last line of one.
        std::string part = expanded(compact.substr(0, at));
        part.resize(part.rfind('\n') + 1);
        EXPECT_TRUE(rinex.starts_with(part)) << seed;
        const std::string next = rinex.substr(part.size(), 6);
        EXPECT_TRUE(at < 1000 || next.empty() || next == "> 2024" || next == " 24  3") << next;
        // Changed from there on: the same comes out, before anything else.
        std::string damaged = compact;
        for (std::size_t i = at; i < damaged.size(); i += 200) damaged[i] ^= static_cast<char>(1 << i % 8);
        EXPECT_TRUE(expanded(damaged).starts_with(part)) << seed;
    }
}

TEST(GzipFile, HasNeitherNameNorTime)
{
    const TemporaryFolder folder;
    const std::string text = random_file_t(false, 1).file;
    kvx::output_file_t plain(folder.path()), packed(folder.path());
    std::fputs(text.c_str(), plain.stream());
    kvx::compress(plain, packed, ".gz");
    packed.check("packed.gz");
    const std::string& path = packed.path();
    EXPECT_EQ(std::string("\x1f\x8b\x08\0\0\0\0\0", 8), contents_of(path).substr(0, 8));
    std::string back(text.size() + 1, '?');
    gzFile file = gzopen(path.c_str(), "rb");
    EXPECT_EQ(text.size(), gzread(file, back.data(), static_cast<unsigned>(back.size())));
    gzclose(file);
    EXPECT_EQ(text, back.substr(0, text.size()));
}
