// Ephemeris messages with Keplerian elements: GPS, QZSS and BeiDou.
#ifndef RTK_KORVEX_KEPLER_H
#define RTK_KORVEX_KEPLER_H

#include <cstdint>

#include "rtk_gnss.h"

namespace korvex {

inline constexpr std::uint32_t kLastWeek = 65534;
inline constexpr int kBdsWeekOffset = 1356;   // BeiDou week 0 in GPS weeks

// Body sizes (bytes).
inline constexpr int kGpsEphemerisSize = 224;
inline constexpr int kQzssEphemerisSize = 228;
inline constexpr int kBdsEphemerisSize = 196;
inline constexpr int kBdsEphemeris2Size = 232;

/// A body read: the week as it came (it may not fit the record) beside the record without its satellite.
struct kepler_t {
    std::uint32_t prn;
    std::uint64_t week;   // GPS week
    eph_t eph;
};

kepler_t read_gps_ephemeris(const std::uint8_t* body);
kepler_t read_qzss_ephemeris(const std::uint8_t* body);
kepler_t read_bds_ephemeris(const std::uint8_t* body);
kepler_t read_bds_ephemeris2(const std::uint8_t* body);

/// SV accuracy index of a standard deviation (m): 0..14 by its bound, 15 above and for no number.
std::uint16_t accuracy_index(double sigma);

}   // namespace korvex

#endif
