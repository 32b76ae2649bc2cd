#include "rinex/navigation_layouts.h"

#include "rinex/field_formats.h"

namespace rinex {

namespace {

constexpr int kAlways = 9999;

constexpr std::string_view kGps = ".nnn innn nnnn nnnn nnnn njwj nini noss";
constexpr std::string_view kGalileo = ".nnn innn nnnn nnnn nnnn niws nino nsss";
constexpr std::string_view kBeidou = ".nnn innn nnnn nnnn nnnn nsws ninn njss";
constexpr std::string_view kNavic = ".nnn innn nnnn nnnn nnnn nsws nins nsss";
constexpr std::string_view kGlonass = ".nnn nnni nnni nnnn";
constexpr std::string_view kGlonass4 = ".nnn nnni nnni nnnn oooo";
constexpr std::string_view kSbas = ".nnn nnni nnnn nnnj";
constexpr std::string_view kCnav = ".nnn nnnn nnnn nnnn nnnn nnnn nioo oooo njss";
constexpr std::string_view kCnav2 = ".nnn nnnn nnnn nnnn nnnn nnnn nioo oooo ooss njss";
constexpr std::string_view kCnav12 = ".nnn nnnn nnnn nnnn nnnn nnin nnnn oooo niji nssi";   // BeiDou CNAV-1, CNAV-2
constexpr std::string_view kCnav3 = ".nnn nnnn nnnn nnnn nnnn nnin nnnn nijo nsss";         // BeiDou CNAV-3
constexpr std::string_view kOffset = ".abb nnno";
constexpr std::string_view kEarth = ".nnn snnn nnnn";
constexpr std::string_view kKlobuchar = ".nnn nnnn njss";
constexpr std::string_view kNequick = ".nnn njss";
constexpr std::string_view kGlobal = ".nnn nnnn nnss";   // BeiDou's model of nine parameters

// clang-format off
constexpr nav_layout_t kLayouts[] = {
    {"EPH", 'G', "LNAV",      210, kAlways, kGps},
    {"EPH", 'G', "CNAV",      400, kAlways, kCnav},
    {"EPH", 'G', "CNV2",      400, kAlways, kCnav2},
    {"EPH", 'J', "LNAV",      302, kAlways, kGps},
    {"EPH", 'J', "CNAV",      400, kAlways, kCnav},
    {"EPH", 'J', "CNV2",      400, kAlways, kCnav2},
    {"EPH", 'E', "INAV FNAV", 302, kAlways, kGalileo},
    {"EPH", 'C', "D1 D2",     302, kAlways, kBeidou},
    {"EPH", 'C', "CNV1 CNV2", 400, kAlways, kCnav12},
    {"EPH", 'C', "CNV3",      400, kAlways, kCnav3},
    {"EPH", 'R', "FDMA",      210, 304,     kGlonass},
    {"EPH", 'R', "FDMA",      305, kAlways, kGlonass4},
    {"EPH", 'R', "L1OC L3OC", 402, kAlways, ""},
    {"EPH", 'S', "SBAS",      210, kAlways, kSbas},
    {"EPH", 'I', "LNAV",      303, kAlways, kNavic},
    {"EPH", 'I', "L1NV",      402, kAlways, ""},
    {"STO", 'G', "LNAV CNVX", 400, kAlways, kOffset},
    {"STO", 'J', "LNAV CNVX", 400, kAlways, kOffset},
    {"STO", 'E', "IFNV",      400, kAlways, kOffset},
    {"STO", 'C', "D1D2 CNVX", 400, kAlways, kOffset},
    {"STO", 'R', "FDMA",      400, kAlways, kOffset},
    {"STO", 'R', "LXOC",      402, kAlways, kOffset},
    {"STO", 'S', "SBAS",      400, kAlways, kOffset},
    {"STO", 'I', "LNAV",      400, kAlways, kOffset},
    {"STO", 'I', "L1NV",      402, kAlways, kOffset},
    {"EOP", 'G', "CNVX",      400, kAlways, kEarth},
    {"EOP", 'J', "CNVX",      400, kAlways, kEarth},
    {"EOP", 'C', "CNVX",      400, kAlways, kEarth},
    {"EOP", 'I', "LNAV",      400, kAlways, kEarth},
    {"EOP", 'I', "L1NV",      402, kAlways, kEarth},
    {"EOP", 'R', "LXOC",      402, kAlways, ""},
    {"ION", 'G', "LNAV CNVX", 400, kAlways, kKlobuchar},
    {"ION", 'J', "LNAV CNVX", 400, kAlways, kKlobuchar},
    {"ION", 'E', "IFNV",      400, kAlways, kNequick},
    {"ION", 'C', "D1D2",      400, kAlways, kKlobuchar},
    {"ION", 'C', "CNVX",      400, kAlways, kGlobal},
    {"ION", 'I', "LNAV",      400, kAlways, kKlobuchar},
    {"ION", 'I', "L1NV",      402, kAlways, ""},
    {"ION", 'R', "LXOC",      402, kAlways, ""},
};
// clang-format on

bool is_among(std::string_view word, std::string_view words)
{
    for (std::size_t at = 0; at < words.size();) {
        const std::size_t end = words.find(' ', at);
        if (words.substr(at, end - at) == word) return true;
        if (end == std::string_view::npos) break;
        at = end + 1;
    }
    return false;
}

}   // namespace

const nav_layout_t* find_nav_layout(std::string_view record, char system, std::string_view message, int version)
{
    for (const nav_layout_t& row : kLayouts) {
        if (row.record != record || row.system != system || version < row.since || version > row.until) continue;
        if (message.empty() || is_among(message, row.messages)) return &row;
    }
    return nullptr;
}

}   // namespace rinex
