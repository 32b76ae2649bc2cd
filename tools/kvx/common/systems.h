/// @file systems.h  Letters and names of the satellite systems and satellites.
#ifndef KVX_SYSTEMS_H
#define KVX_SYSTEMS_H

#include <rtk_gnss.h>

#include <array>
#include <string>

#include "gnss/foundation/satellites.h"

namespace kvx {

struct system_name_t {
    int sys;   ///< gnss_system_t
    const char* name;

    char letter() const { return system_of(sys).letter; }   ///< of RINEX
};

/// In the order of a RINEX header.
constexpr std::array<system_name_t, 6> kSystems = {{
    {SYS_GPS, "GPS"},
    {SYS_GLO, "GLONASS"},
    {SYS_GAL, "Galileo"},
    {SYS_BDS, "BeiDou"},
    {SYS_QZS, "QZSS"},
    {SYS_SBS, "SBAS"},
}};

/// Bits of gnss_system_t for letters; 0 when there is none or another character among them.
int systems_of(const std::string& letters);

/// "G07" for a satellite number (SBAS: "S20" is PRN 120).
std::string satellite_name(int sat);

}   // namespace kvx

#endif
