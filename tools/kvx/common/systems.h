/// @file systems.h  Letters and names of the satellite systems and satellites.
#ifndef KVX_SYSTEMS_H
#define KVX_SYSTEMS_H

#include <rtk_gnss.h>

#include <array>
#include <string>

namespace kvx {

struct system_name_t {
    int sys;   ///< gnss_system_t
    char letter;
    const char* name;
};

/// In the order of a RINEX header.
constexpr std::array<system_name_t, 6> kSystems = {{
    {SYS_GPS, 'G', "GPS"},
    {SYS_GLO, 'R', "GLONASS"},
    {SYS_GAL, 'E', "Galileo"},
    {SYS_BDS, 'C', "BeiDou"},
    {SYS_QZS, 'J', "QZSS"},
    {SYS_SBS, 'S', "SBAS"},
}};

/// Bits of gnss_system_t for letters; 0 when there is none or another character among them.
int systems_of(const std::string& letters);

/// "G07" for a satellite number (SBAS: "S20" is PRN 120).
std::string satellite_name(int sat);

}   // namespace kvx

#endif
