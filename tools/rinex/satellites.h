/// @file satellites.h  Satellites by the names that RINEX files give them.
#ifndef RINEX_SATELLITES_H
#define RINEX_SATELLITES_H

#include <array>
#include <cstdint>
#include <string>

#include "rtk_gnss.h"

namespace rinex {

/// A satellite system: its letter and the numbers that RINEX gives its satellites.
struct constellation_t {
    char letter;
    int sys;           // gnss_system_t
    int first, last;   // numbers in files
    int prn_offset;    // receiver PRN less the number
    const char* name;
};

/// In the order of a file's header and epochs.
// clang-format off
inline constexpr constellation_t kConstellations[] = {
    {'G', SYS_GPS,  1, 32,   0, "GPS"},
    {'R', SYS_GLO,  1, 25,  37, "GLONASS"},
    {'E', SYS_GAL,  1, 36,   0, "Galileo"},
    {'J', SYS_QZS,  1, 10, 192, "QZSS"},
    {'C', SYS_BDS,  1, 63,   0, "BeiDou"},
    {'S', SYS_SBS, 20, 58, 100, "SBAS"},
};
// clang-format on
inline constexpr int kConstellationCount = 6;
inline constexpr int kGps = 0, kGlonass = 1, kGalileo = 2, kQzss = 3, kBeidou = 4, kSbas = 5;   // places in the table

inline constexpr const char* kLetters = "GREJCS";

/// Place in kConstellations of a letter or of a gnss_system_t; -1 for any other.
constexpr int constellation_of(char letter)
{
    for (int i = 0; i < kConstellationCount; ++i) {
        if (kConstellations[i].letter == letter) return i;
    }
    return -1;
}

constexpr int constellation_of_sys(int sys)
{
    for (int i = 0; i < kConstellationCount; ++i) {
        if (kConstellations[i].sys == sys) return i;
    }
    return -1;
}

/// A satellite, ordered as files list them.
struct satellite_t {
    std::int16_t constellation = -1;   // place in kConstellations; -1: none
    std::int16_t number = 0;

    bool valid() const { return constellation >= 0; }
    const constellation_t& system() const { return kConstellations[constellation]; }
    char letter() const { return system().letter; }
    std::string name() const   ///< "G07"
    {
        return {letter(), static_cast<char>('0' + number / 10), static_cast<char>('0' + number % 10)};
    }
    bool operator==(const satellite_t&) const = default;
    bool operator<(const satellite_t& other) const
    {
        return constellation != other.constellation ? constellation < other.constellation : number < other.number;
    }
};

/// The satellite of a system's number; invalid when the system has no such one.
constexpr satellite_t satellite_of(int constellation, std::int64_t number)
{
    if (constellation < 0) return {};
    const constellation_t& c = kConstellations[constellation];
    if (number < c.first || number > c.last) return {};
    return {static_cast<std::int16_t>(constellation), static_cast<std::int16_t>(number)};
}

constexpr satellite_t satellite_of_prn(int constellation, std::int64_t prn)
{
    return constellation < 0 ? satellite_t{}
                             : satellite_of(constellation, prn - kConstellations[constellation].prn_offset);
}

/// Satellites counted through all systems, in file order: places in tables. Those of a system begin with its first one.
inline constexpr auto kFirstPlaces = [] {
    std::array<int, kConstellationCount + 1> first{};
    for (std::size_t i = 0; i < kConstellationCount; ++i)
        first[i + 1] = first[i] + kConstellations[i].last - kConstellations[i].first + 1;
    return first;
}();
inline constexpr int kSatellites = kFirstPlaces[kConstellationCount];

constexpr int place_of(const satellite_t& satellite)
{
    const auto c = static_cast<std::size_t>(satellite.constellation);
    return kFirstPlaces[c] + satellite.number - kConstellations[c].first;
}

inline constexpr auto kSatelliteAt = [] {
    std::array<satellite_t, kSatellites> satellites{};
    for (std::int16_t c = 0; c < kConstellationCount; ++c) {
        for (int number = kConstellations[c].first; number <= kConstellations[c].last; ++number) {
            const satellite_t satellite{c, static_cast<std::int16_t>(number)};
            satellites[static_cast<std::size_t>(place_of(satellite))] = satellite;
        }
    }
    return satellites;
}();

constexpr satellite_t satellite_at(int place)
{
    return kSatelliteAt[static_cast<std::size_t>(place)];
}

}   // namespace rinex

#endif
