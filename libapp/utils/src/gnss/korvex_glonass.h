// GLONASS ephemeris message.
#ifndef RTK_KORVEX_GLONASS_H
#define RTK_KORVEX_GLONASS_H

#include <cstdint>

#include "rtk_gnss.h"

namespace korvex {

inline constexpr int kGlonassEphemerisSize = 144;           // body (bytes)
inline constexpr std::uint32_t kMaxGlonassOffset = 20000;   // largest credible GLONASS - GPS offset (s)

/// GLONASS - GPS time offset (s) of the message.
std::uint32_t glonass_offset(const std::uint8_t* body);

/// Reads the message; the satellite is left to the caller. Times come out as GLONASS time.
geph_t read_glonass_ephemeris(const std::uint8_t* body);

}   // namespace korvex

#endif
