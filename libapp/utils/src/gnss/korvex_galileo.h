// Galileo ephemeris messages.
#ifndef RTK_KORVEX_GALILEO_H
#define RTK_KORVEX_GALILEO_H

#include <cstdint>

#include "rtk_gnss.h"

namespace korvex {

// Body sizes (bytes).
inline constexpr int kGalEphemerisSize = 220;
inline constexpr int kGalInavEphemerisSize = 184;

/// Read the two forms of the message; satellite and week are left to the caller.
galeph_t read_galileo_ephemeris(const std::uint8_t* body);
galeph_t read_galileo_inav_ephemeris(const std::uint8_t* body);

}   // namespace korvex

#endif
