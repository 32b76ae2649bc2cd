/// @file galileo.h  Galileo ephemeris messages: as sent, and what the record keeps of them.
#ifndef RTK_LOG_GALILEO_H
#define RTK_LOG_GALILEO_H

#include <cstdint>

#include "gnss/log/kepler.h"

struct raw_t;

namespace korvex {

// Body sizes (bytes).
inline constexpr int kGalEphemerisSize = 220;
inline constexpr int kGalInavEphemerisSize = 184;

/// Clock polynomial as it was sent.
struct clock_polynomial_t {
    double toc;             // s of week
    double af0, af1, af2;   // s, s/s, s/s^2
};

/// A message as it was sent. Arrays of three are in the order E1B, E5a, E5b. What message 1309 does not carry is 0.
struct galileo_t {
    std::uint32_t prn;
    std::uint32_t fnav, inav;   // not 0: received; message 1309 is I/NAV
    std::uint8_t health[3];
    std::uint8_t validity[3];   // data validity
    std::uint8_t sisa;          // index
    std::uint32_t iodnav;
    orbit_t orbit;
    double sqrt_A;   // m^0.5
    clock_polynomial_t fnav_clock, inav_clock;
    double bgd_e5a, bgd_e5b;   // s
};

galileo_t read_galileo_ephemeris(const std::uint8_t* body);        // 1122
galileo_t read_galileo_inav_ephemeris(const std::uint8_t* body);   // 1309

// ---- The record's share ----

/// Store a message into the record; results as decode_result_t.
int decode_galileo_ephemeris(raw_t* raw, const std::uint8_t* body);
int decode_galileo_inav_ephemeris(raw_t* raw, const std::uint8_t* body);

}   // namespace korvex

#endif
