// Raw GPS subframes 1 to 3.
#ifndef RTK_KORVEX_SUBFRAMES_H
#define RTK_KORVEX_SUBFRAMES_H

#include <cstdint>

#include "rtk_gnss.h"

namespace korvex {

inline constexpr int kRawEphemerisSize = 102;   // body (bytes): PRN, reference week and seconds, 3 x 30 bytes

struct subframes_t {
    std::uint32_t prn;
    int ten_bit_week;    // as transmitted, 0..1023
    std::int64_t week;   // the same week near the reference week
    eph_t eph;           // without its satellite
};

/// Reads the message of three subframes, ten words of 24 data bits each (parity removed).
///
/// Fields and scale factors as in the public interface document IS-GPS-200, section 20.3.3.
subframes_t read_subframes(const std::uint8_t* body);

}   // namespace korvex

#endif
