#include "rinex/observation_codes.h"

namespace rinex {

namespace {

struct system_row_t {
    char letter;
    int first, last;                                               // numbers
    int observation_since, observation2_since, navigation_since;   // versions, of RINEX 2 within its own
};

constexpr int kNever = 9999;

// clang-format off
constexpr system_row_t kRows[] = {
    // numbers     obs 3+   obs 2   nav
    {'G',  1, 32,  302,     210,    210},
    {'R',  1, 27,  302,     210,    210},
    {'E',  1, 36,  302,     211,    302},
    {'J',  1, 10,  302,     kNever, 302},
    {'C',  1, 63,  302,     kNever, 302},
    {'I',  1, 14,  303,     kNever, 303},
    {'S', 20, 58,  302,     210,    210},
};

struct signal_row_t {
    char system, band;
    const char* attributes;
    int since, until;
};

// RINEX 3.02 to 4.02, the tables of observation codes by system.
constexpr signal_row_t kSignals[] = {
    {'G', '1', "CSLXPWYMN", 302, kNever},
    {'G', '2', "CDSLXPWYMN",302, kNever},
    {'G', '5', "IQX",       302, kNever},
    {'G', '1', "R",         401, kNever},
    {'G', '2', "R",         401, kNever},
    {'R', '1', "CP",        302, kNever},
    {'R', '2', "CP",        302, kNever},
    {'R', '3', "IQX",       302, kNever},
    {'R', '4', "ABX",       304, kNever},
    {'R', '6', "ABX",       304, kNever},
    {'E', '1', "ABCXZ",     302, kNever},
    {'E', '5', "IQX",       302, kNever},
    {'E', '6', "ABCXZ",     302, kNever},
    {'E', '7', "IQX",       302, kNever},
    {'E', '8', "IQX",       302, kNever},
    {'S', '1', "C",         302, kNever},
    {'S', '5', "IQX",       302, kNever},
    {'J', '1', "CSLXZ",     302, kNever},
    {'J', '1', "E",         401, kNever},
    {'J', '2', "SLX",       302, kNever},
    {'J', '5', "IQX",       302, kNever},
    {'J', '5', "DPZ",       304, kNever},
    {'J', '6', "SLX",       302, kNever},
    {'J', '6', "EZ",        304, kNever},
    {'C', '1', "IQX",       302, 302},
    {'C', '2', "IQX",       303, kNever},
    {'C', '7', "IQX",       302, kNever},
    {'C', '6', "IQX",       302, kNever},
    {'C', '1', "DPX",       304, kNever},
    {'C', '1', "AN",        304, 304},
    {'C', '6', "A",         304, 304},
    {'C', '5', "DPX",       304, kNever},
    {'C', '7', "DPZ",       304, kNever},
    {'C', '8', "DPX",       304, kNever},
    {'C', '1', "SLZ",       305, kNever},
    {'C', '6', "DPZ",       305, kNever},
    {'I', '5', "ABCX",      303, kNever},
    {'I', '9', "ABCX",      303, kNever},
    {'I', '1', "DPX",       401, kNever},
};
// clang-format on

// RINEX 2.10 has two bands, 2.11 those of Galileo and L5 as well; the third row of 2.10 are Transit's.
bool is_code2(const observation_code_t& code, int version)
{
    const std::string_view text(code.letters.data(), 2);
    if (text == "P1" || text == "P2" || text == "T1" || text == "T2" || text == "C1") return code.letters[2] == ' ';
    const std::string_view bands = version == 210 ? "12" : "125678", kinds = "CLDS";
    return code.letters[2] == ' ' && kinds.find(text[0]) != kinds.npos && bands.find(text[1]) != bands.npos &&
           (version > 210 || text != "C2");
}

}   // namespace

bool is_system_of(char letter, char file_type, int version)
{
    const std::size_t at = system_index(letter);
    if (at == kSystemCount) return false;
    const system_row_t& row = kRows[at];
    if (file_type != 'O') return version >= row.navigation_since;
    return version >= (version < 300 ? row.observation2_since : row.observation_since);
}

bool is_satellite(char system, int number)
{
    const std::size_t at = system_index(system);
    return at < kSystemCount && number >= kRows[at].first && number <= kRows[at].last;
}

std::string observation_code_t::text() const
{
    return {letters.data(), letters[2] == ' ' ? 2U : 3U};
}

bool is_observation_code(char system, const observation_code_t& code, int version)
{
    if (version < 300) return is_code2(code, version);
    const auto [kind, band, attribute] = code.letters;
    if (kind == 'X') return band == '1' && attribute == ' ';   // channel number
    const bool ionosphere = kind == 'I' && attribute == ' ';   // phase delay, of the band alone
    if (!ionosphere && std::string_view("CLDS").find(kind) == std::string_view::npos) return false;
    if (system == 'G' && kind == 'C' && attribute == 'N') return false;   // codeless
    for (const signal_row_t& row : kSignals) {
        if (row.system != system || row.band != band || version < row.since || version > row.until) continue;
        if (ionosphere || std::string_view(row.attributes).find(attribute) != std::string_view::npos) return true;
    }
    return false;
}

}   // namespace rinex
