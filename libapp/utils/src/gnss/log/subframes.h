/// @file subframes.h  Raw GPS subframes 1 to 3, as sent.
#ifndef RTK_LOG_SUBFRAMES_H
#define RTK_LOG_SUBFRAMES_H

#include <cstdint>

#include "gnss/log/kepler.h"

namespace korvex {

inline constexpr double kSemicircle = 3.1415926535898;   // rad; pi of the GPS interface document

inline constexpr int kRawEphemerisSize = 102;   // body (bytes): PRN, reference week and seconds, 3 x 30 bytes

/// The message as it was sent, scaled to units.
struct subframes_t {
    std::uint32_t prn;
    std::uint32_t reference_week;     // GPS week
    std::uint32_t reference_second;   // s of week
    int ten_bit_week;                 // of subframe 1, 0..1023
    double tow;                       // start of the subframe behind subframe 1, s of week
    int codes_on_l2;                  // 2 bits
    int accuracy_index;               // 0..15
    int health;                       // 6 bits
    int iodc;                         // 10 bits
    int l2p_flag;                     // 1: no data on the P code of L2
    int iode;                         // of subframe 2
    int iode3;                        // of subframe 3
    int fit_flag;                     // 1: longer than 4 h
    int aodo;                         // age of data offset (900 s)
    orbit_t orbit;
    double sqrt_A;          // m^0.5
    double toc;             // s of week
    double af0, af1, af2;   // s, s/s, s/s^2
    double tgd;             // s
};

/// Reads the message of three subframes, ten words of 24 data bits each (parity removed).
///
/// Fields and scale factors as in the public interface document IS-GPS-200, section 20.3.3.
subframes_t read_subframes(const std::uint8_t* body);

/// The week that ends in the ten bits and lies nearest the reference; of two the earlier one.
std::int64_t full_week(int ten_bits, std::uint32_t reference);

}   // namespace korvex

#endif
