#include "rinex/signals.h"

#include <algorithm>
#include <charconv>

#include "gnss/log/signals.h"

namespace rinex {

namespace {

struct carrier_t {
    char letter, band;
    double frequency, step;   // Hz, Hz a GLONASS channel
};

// clang-format off
constexpr carrier_t kCarriers[] = {
    {'G', '1', 1575.42e6,  0},     {'G', '2', 1227.60e6,  0},     {'G', '5', 1176.45e6,  0},
    {'R', '1', 1602e6, 562.5e3},   {'R', '2', 1246e6, 437.5e3},   {'R', '3', 1202.025e6, 0},
    {'R', '4', 1600.995e6, 0},     {'R', '6', 1248.06e6,  0},
    {'E', '1', 1575.42e6,  0},     {'E', '5', 1176.45e6,  0},     {'E', '6', 1278.75e6,  0},
    {'E', '7', 1207.14e6,  0},     {'E', '8', 1191.795e6, 0},
    {'J', '1', 1575.42e6,  0},     {'J', '2', 1227.60e6,  0},     {'J', '5', 1176.45e6,  0},
    {'J', '6', 1278.75e6,  0},
    {'C', '1', 1575.42e6,  0},     {'C', '2', 1561.098e6, 0},     {'C', '5', 1176.45e6,  0},
    {'C', '6', 1268.52e6,  0},     {'C', '7', 1207.14e6,  0},     {'C', '8', 1191.795e6, 0},
    {'S', '1', 1575.42e6,  0},     {'S', '5', 1176.45e6,  0},
    {'I', '5', 1176.45e6,  0},     {'I', '9', 2492.028e6, 0},     {'I', '1', 1575.42e6,  0},
};

// RINEX 2.11 has one pseudorange of a code and one of a precise code a band.
struct range_name_t {
    char letter;
    std::string_view bands, attributes;
    char name;
};
constexpr range_name_t kRanges211[] = {
    {'G', "1",     "C",     'C'},   // L1C came later
    {'G', "2",     "CDSLX", 'C'},
    {'G', "12",    "PWYM",  'P'},
    {'G', "5",     "IQX",   'C'},
    {'R', "12",    "C",     'C'},
    {'R', "12",    "P",     'P'},
    {'E', "15678", "ABCXZIQ", 'C'},
    {'S', "15",    "CIQX",  'C'},
};
// clang-format on

}   // namespace

double carrier_frequency(char letter, char band, int channel)
{
    for (const carrier_t& c : kCarriers) {
        if (c.letter == letter && c.band == band) return c.frequency + channel * c.step;
    }
    return 0.0;
}

char range_letter_211(char letter, std::string_view code)
{
    for (const range_name_t& r : kRanges211) {
        if (r.letter == letter && r.bands.find(code[0]) != r.bands.npos &&
            r.attributes.find(code[1]) != r.attributes.npos)
            return r.name;
    }
    return '\0';
}

signals_t::signals_t()
{
    for (int key = 0; key < kTrackingKeys; ++key) {
        const std::uint32_t status = static_cast<std::uint32_t>(key >> 5) << 16 | static_cast<std::uint32_t>(key & 31)
                                                                                      << 21;
        const korvex::trackstat_t track = korvex::read_trackstat(status);
        const korvex::signal_t* signal = korvex::find_signal(track.sys, track.type);
        const auto k = static_cast<std::size_t>(key);
        places_[k].constellation = static_cast<std::int16_t>(constellation_of_sys(track.sys));
        if (signal != nullptr && signal->rinex != nullptr) names_[k] = signal->rinex;
    }
    number();
}

// Gives every name of a system its place, in the order of band and attribute.
void signals_t::number()
{
    for (auto& codes : codes_) codes.clear();
    for (std::size_t k = 0; k < names_.size(); ++k) {
        if (!names_[k].empty()) codes_[static_cast<std::size_t>(places_[k].constellation)].push_back(names_[k]);
    }
    for (auto& codes : codes_) {
        std::sort(codes.begin(), codes.end());
        codes.erase(std::unique(codes.begin(), codes.end()), codes.end());
    }
    for (std::size_t k = 0; k < names_.size(); ++k) {
        places_[k].signal = -1;
        if (names_[k].empty()) continue;
        const auto& codes = codes_[static_cast<std::size_t>(places_[k].constellation)];
        places_[k].signal = static_cast<std::int16_t>(std::find(codes.begin(), codes.end(), names_[k]) - codes.begin());
    }
}

std::string signals_t::rename(std::string_view rule)
{
    const std::string quoted = "'" + std::string(rule) + "' ";
    int type = -1;
    const char* const end = rule.data() + rule.size();
    const bool begun = rule.size() > 4 && rule[1] == ':';
    const char* at = begun ? std::from_chars(rule.data() + 2, end, type).ptr : end;
    if (end - at != 3 || *at != '=' || type < 0 || type > 31) return quoted + "is not like G:17=2L";
    const int constellation = constellation_of(rule[0]);
    if (constellation < 0) return quoted + "begins with no letter of GREJCS";
    const std::string code(at + 1, end);
    if (carrier_frequency(rule[0], code[0]) == 0.0 || code[1] < 'A' || code[1] > 'Z')
        return quoted + "names no signal of that system";
    for (std::size_t k = 0; k < names_.size(); ++k) {
        if ((k & 31) == static_cast<std::size_t>(type) && places_[k].constellation == constellation) names_[k] = code;
    }
    number();
    return codes_[static_cast<std::size_t>(constellation)].size() <= kMostSignals ? ""
                                                                                  : quoted + "is one signal too many";
}

}   // namespace rinex
