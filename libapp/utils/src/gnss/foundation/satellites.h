/// @file satellites.h  Satellite systems: their satellite numbers, the other numberings, carrier wavelengths.
#ifndef RTK_SATELLITES_H
#define RTK_SATELLITES_H

#include <cstdint>
#include <iterator>

#include "rtk_gnss.h"

inline constexpr double kLightSpeed = 299792458.0;   // m/s

// Wavelengths (m) of the carriers listed with the observation codes in RINEX 3.04.
inline constexpr double kWavelenL1 = 0.19029367279836487;   // GPS, QZSS, SBAS L1; Galileo E1; BeiDou B1C
inline constexpr double kWavelenL2 = 0.24421021342456825;   // GPS, QZSS L2
inline constexpr double kWavelenL5 = 0.25482804879085386;   // GPS, QZSS, SBAS L5; Galileo E5a; BeiDou B2a
inline constexpr double kWavelenE5b = 0.2483493695843067;   // Galileo E5b; BeiDou B2
inline constexpr double kWavelenE5 = 0.251547000952345;     // Galileo E5 (a+b)
inline constexpr double kWavelenE6 = 0.23444180488758554;   // Galileo E6
inline constexpr double kWavelenB1 = 0.19203948631027648;   // BeiDou B1
inline constexpr double kWavelenB3 = 0.2363324646044209;    // BeiDou B3

/// One satellite system. Its satellites count from 1; every other numbering is told by what lies before its first.
struct system_t {
    int sys;             // gnss_system_t
    char letter;         // of RINEX
    int first, last;     // satellite numbers of the record
    int prn_before;      // receiver PRN before the first
    int last_prn;        // last receiver PRN of the range messages
    int rinex_before;    // RINEX number before the first
    bool has_way_back;   // satno() builds its numbers
};

// Deliberate: GLONASS PRN 62, QZSS 200..202 and SBAS 145..158 run over into the numbers that follow.
// clang-format off
inline constexpr system_t kSatelliteSystems[] = {
    // system letter first last  PRN: before last  RINEX: before  way back
    {SYS_GPS, 'G',     1,   32,          0,   32,             0,  true},
    {SYS_BDS, 'C',    33,   78,          0,   46,             0,  true},
    {SYS_GLO, 'R',    79,  102,         37,   62,             0,  true},
    {SYS_GAL, 'E',   103,  138,          0,   36,             0,  true},
    {SYS_QZS, 'J',   139,  145,        192,  202,             0,  true},
    {SYS_SBS, 'S',   146,  170,        119,  158,            19,  false},
};
// clang-format on

inline constexpr system_t kNoSystem = {SYS_NONE, '\0', 1, 0, 0, 0, 0, false};

/// The row of a system, kNoSystem for any other code.
constexpr const system_t& system_of(int sys)
{
    for (const system_t& system : kSatelliteSystems) {
        if (system.sys == sys) return system;
    }
    return kNoSystem;
}

inline constexpr int kLastGps = system_of(SYS_GPS).last;   // higher PRNs of a GPS ephemeris are those of QZSS
inline constexpr int kBdsHighPrn = 160;                    // what some messages add to the PRNs of BeiDou
inline constexpr int kLastBds2 = 16;                       // BeiDou PRNs above send B2a and B1C instead of B2

/// Usual frequency channel of each orbital slot of GLONASS.
inline constexpr signed char kGlonassChannels[] = {1,  -4, 5, 6,  1, -4, 5, 6, -2, -7, 0, -1,
                                                   -2, -7, 0, -1, 4, -3, 3, 2, 4,  -3, 3, 2};

inline constexpr int kGlonassSlots = std::size(kGlonassChannels);

/// Number within its system of a receiver PRN, from 1; 0 when it lies before the first or far behind the last.
constexpr int number_in_system(int sys, std::uint32_t prn)
{
    const auto before = static_cast<std::uint32_t>(system_of(sys).prn_before);
    return prn > before && prn - before < 256 ? static_cast<int>(prn - before) : 0;
}

/// Entry of raw_t::eph for a satellite of GPS, BeiDou or QZSS.
constexpr int kepler_entry(int sat)
{
    constexpr int kFirstQzs = system_of(SYS_QZS).first, kFirstQzsEntry = system_of(SYS_BDS).last;
    return sat >= kFirstQzs ? kFirstQzsEntry + sat - kFirstQzs : sat - 1;
}

#endif
