/// @file sbas.h  SBAS ephemeris message: as sent, and what the record keeps of it.
#ifndef RTK_LOG_SBAS_H
#define RTK_LOG_SBAS_H

#include <cstdint>

struct raw_t;

namespace korvex {

inline constexpr int kSbasEphemerisSize = 63;   // body (bytes)

/// The message as it was sent, in part in single precision.
struct sbas_t {
    std::uint8_t index;   // 1 is PRN 120
    std::uint8_t iodn;    // issue of data navigation
    std::uint8_t ura;     // accuracy code
    std::uint16_t t0;     // reference time of day (16 s)
    double pos[3];        // m
    float vel[3];         // m/s
    float acc[3];         // m/s^2
    float af0, af1;       // s, s/s
};

sbas_t read_sbas_ephemeris(const std::uint8_t* body);

// ---- The record's share ----

/// Stores the message into the record; result as decode_result_t.
int decode_sbas_ephemeris(raw_t* raw, const std::uint8_t* body);

}   // namespace korvex

#endif
