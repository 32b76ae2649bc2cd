#include "rinex/header_labels.h"

#include <algorithm>
#include <cstdlib>

namespace rinex {

namespace {

constexpr const char* kAny = "A60";
constexpr const char* kTime = "5I6,F13.7,5X,a3,9X";
constexpr const char* kVector = "3F14.4,18X";

// One column a version: 2.10, 2.11, 3.02, 3.03, 3.04, 3.05, 4.00, 4.01, 4.02.
// clang-format off
constexpr header_label_t kLabels[] = {
    // label                  observation  navigation   repeated format
    {"RINEX VERSION / TYPE",  "mmmmmmmmm", "mmmmmmmmm", false, "F9.2,11X,A20,A20"},
    {"PGM / RUN BY / DATE",   "mmmmmmmmm", "mmmmmmmmm", false, kAny},
    {"COMMENT",               "ooooooooo", "ooooooooo", true,  kAny},
    {"MARKER NAME",           "mmmmmmmmm", "---------", false, kAny},
    {"MARKER NUMBER",         "ooooooooo", "---------", false, "A20,40X"},
    {"MARKER TYPE",           "--mmmmmmm", "---------", false, "A20,40X"},
    {"OBSERVER / AGENCY",     "mmmmmmmmm", "---------", false, kAny},
    {"REC # / TYPE / VERS",   "mmmmmmmmm", "------ooo", false, kAny},
    {"ANT # / TYPE",          "mmmmmmmmm", "---------", false, "A40,20X"},
    {"APPROX POSITION XYZ",   "mmmmmmmmm", "---------", false, kVector},
    {"ANTENNA: DELTA H/E/N",  "mmmmmmmmm", "---------", false, kVector},
    {"ANTENNA: DELTA X/Y/Z",  "--ooooooo", "---------", false, kVector},
    {"ANTENNA: PHASECENTER",  "--ooooooo", "---------", true,  "A1,1X,A3,F9.4,2F14.4,18X"},
    {"ANTENNA: B.SIGHT XYZ",  "--ooooooo", "---------", false, kVector},
    {"ANTENNA: ZERODIR AZI",  "--ooooooo", "---------", false, "F14.4,46X"},
    {"ANTENNA: ZERODIR XYZ",  "--ooooooo", "---------", false, kVector},
    {"CENTER OF MASS: XYZ",   "--ooooooo", "---------", false, kVector},
    {"WAVELENGTH FACT L1/2",  "mo-------", "---------", true,  "2I6,i6,7(3X,a1,i2)"},
    {"# / TYPES OF OBSERV",   "mm-------", "---------", true,  "i6,a54"},
    {"SYS / # / OBS TYPES",   "--mmmmmmm", "---------", true,  "a1,2X,i3,a54"},
    {"SIGNAL STRENGTH UNIT",  "--ooooooo", "---------", false, "A20,40X"},
    {"INTERVAL",              "ooooooooo", "---------", false, "F10.3,50X"},
    {"TIME OF FIRST OBS",     "mmmmmmmmm", "---------", false, kTime},
    {"TIME OF LAST OBS",      "ooooooooo", "---------", false, kTime},
    {"RCV CLOCK OFFS APPL",   "ooooooooo", "---------", false, "I6,54X"},
    {"SYS / DCBS APPLIED",    "--ooooooo", "---------", true,  "A1,1X,a17,1X,a40"},
    {"SYS / PCVS APPLIED",    "--ooooooo", "---------", true,  "A1,1X,a17,1X,a40"},
    {"SYS / SCALE FACTOR",    "--ooooooo", "---------", true,  "a1,1X,i4,2X,i2,12(1X,a3),2X"},
    {"SYS / PHASE SHIFT",     "--mmmmddd", "---------", true,  "a1,1X,a3,1X,f8.5,2X,i2,10(1X,a3),2X"},
    {"GLONASS SLOT / FRQ #",  "--ggggggg", "---------", true,  "i3,1X,8(a1,i2,1X,i2,1X)"},
    {"GLONASS COD/PHS/BIS",   "--ggggddd", "---------", false, "4(1X,a3,1X,f8.3),8X"},
    {"LEAP SECONDS",          "oo-------", "oo-------", false, "I6,54X"},
    {"LEAP SECONDS",          "--ooooooo", "--ooooooo", false, "I6,3i6,a3,33X"},
    {"# OF SATELLITES",       "ooooooooo", "---------", false, "I6,54X"},
    {"PRN / # OF OBS",        "ooooooooo", "---------", true,  "3X,a1,i2,9i6"},
    {"DOI",                   "------ooo", "------ooo", false, kAny},
    {"LICENSE OF USE",        "------ooo", "------ooo", true,  kAny},
    {"STATION INFORMATION",   "------ooo", "------ooo", true,  kAny},
    {"MERGED FILE",           "---------", "------ooo", false, "I9,51X"},
    {"ION ALPHA",             "---------", "oo-------", false, "2X,4D12.4,10X"},
    {"ION BETA",              "---------", "oo-------", false, "2X,4D12.4,10X"},
    {"DELTA-UTC: A0,A1,T,W",  "---------", "oo-------", false, "3X,2D19.12,2I9,1X"},
    {"CORR TO SYSTEM TIME",   "---------", "oo-------", false, "3I6,3X,D19.12,20X"},
    {"D-UTC A0,A1,T,W,S,U",   "---------", "oo-------", true,  "2D19.12,I7,I5,1X,a5,1X,i2,1X"},
    {"IONOSPHERIC CORR",      "---------", "--oooo---", true,  "A4,1X,3D12.4,d12.4,1X,a1,1X,i2,2X"},
    {"TIME SYSTEM CORR",      "---------", "--oooo---", true,  "A4,1X,D17.10,D16.9,I7,I5,1X,a5,1X,i2,1X"},
    {"END OF HEADER",         "mmmmmmmmm", "mmmmmmmmm", false, "60X"},
};
// clang-format on

}   // namespace

int nearest_version(int version)
{
    return *std::min_element(std::begin(kKnownVersions), std::end(kKnownVersions),
                             [version](int a, int b) { return std::abs(a - version) < std::abs(b - version); });
}

char header_label_t::use(char file_type, int version) const
{
    const auto column = std::lower_bound(std::begin(kKnownVersions), std::end(kKnownVersions), version);
    return (file_type == 'O' ? observation : navigation)[column - std::begin(kKnownVersions)];
}

std::span<const header_label_t> label_table()
{
    return kLabels;
}

const header_label_t* find_label(std::string_view label, char file_type, int version)
{
    const header_label_t* found = nullptr;
    for (const header_label_t& row : kLabels) {
        if (row.label != label) continue;
        if (row.use(file_type, version) != '-') return &row;
        if (found == nullptr) found = &row;
    }
    return found;
}

}   // namespace rinex
