/// @file nav_record.h  Navigation data as files have them.
#ifndef RINEX_NAV_RECORD_H
#define RINEX_NAV_RECORD_H

#include <array>
#include <cstdint>
#include <limits>

#include "rinex/satellites.h"

namespace rinex {

/// Kinds of navigation messages, by the names of RINEX 4.
enum class nav_message_t : std::uint8_t { lnav, inav, fnav, d1, d2, fdma, sbas };
inline constexpr const char* kNavMessageNames[] = {"LNAV", "INAV", "FNAV", "D1", "D2", "FDMA", "SBAS"};

/// A field that nobody has told.
inline constexpr double kBlank = std::numeric_limits<double>::quiet_NaN();

/// The largest size of a number whose exponent has two digits; what is beyond fits no field.
inline constexpr double kLargestNumber = 9.9e99;

/// One ephemeris: an epoch with three numbers and the lines of four numbers behind it, in the units of the files.
struct ephemeris_record_t {
    satellite_t satellite;
    nav_message_t message{};
    std::int64_t epoch =
        0;   // time of clock (GLONASS, SBAS: of the state), a date of its time scale: s since 1980-01-06
    std::int64_t reference = 0;   // time of ephemeris, likewise
    std::uint32_t issue = 0;      // of data
    std::uint32_t health = 0;     // may change within an issue
    std::array<double, 3> clock{};
    std::array<std::array<double, 4>, 7> orbit{};
    int lines = 0;   // of the orbit
};

inline constexpr int kMostLeapSeconds = 99;   ///< GPS - UTC that can be

/// Ionosphere and UTC as GPS broadcasts them.
struct ion_utc_record_t {
    std::int64_t sent = 0;   // GPS time (s)
    std::array<double, 4> alpha{}, beta{};
    double a0 = 0.0, a1 = 0.0;
    std::int64_t utc_reference = 0;   // GPS time (s)
    int leap_seconds = 0;

    bool operator==(const ion_utc_record_t& other) const
    {
        return alpha == other.alpha && beta == other.beta && a0 == other.a0 && a1 == other.a1 &&
               utc_reference == other.utc_reference && leap_seconds == other.leap_seconds;
    }
};

}   // namespace rinex

#endif
