// SBAS ephemeris message.
#ifndef RTK_KORVEX_SBAS_H
#define RTK_KORVEX_SBAS_H

#include <cstdint>

#include "rtk_gnss.h"

namespace korvex {

inline constexpr int kSbasEphemerisSize = 63;   // body (bytes)

seph_t read_sbas_ephemeris(const std::uint8_t* body);

}   // namespace korvex

#endif
