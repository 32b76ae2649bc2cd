/// @file systems.h  Letters and names of the satellite systems.
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
inline int systems_of(const std::string& letters)
{
    int systems = 0;
    for (const char letter : letters) {
        int sys = SYS_NONE;
        for (const system_name_t& s : kSystems) {
            if (s.letter == letter) sys = s.sys;
        }
        if (sys == SYS_NONE) return 0;
        systems |= sys;
    }
    return systems;
}

}   // namespace kvx

#endif
