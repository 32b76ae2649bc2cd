/// @file nav_record.h  Navigation data as files have them.
#ifndef RINEX_NAV_RECORD_H
#define RINEX_NAV_RECORD_H

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>

#include "rinex/satellites.h"

namespace rinex {

/// Kinds of navigation messages, by the names of RINEX 4.
enum class nav_message_t : std::uint8_t { lnav, inav, fnav, d1, d2, fdma, sbas };
inline constexpr const char* kNavMessageNames[] = {"LNAV", "INAV", "FNAV", "D1", "D2", "FDMA", "SBAS"};

/// A field that nobody has told: a NaN of its own, which no arithmetic makes.
inline constexpr double kBlank = std::bit_cast<double>(std::uint64_t{0x7FF8000000626C6B});

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

/// Numbers of a record that were told and have no room in their columns: they are blank.
inline unsigned numbers_without_room(const ephemeris_record_t& r)
{
    const auto count = [](const auto& numbers) {
        return std::count_if(numbers.begin(), numbers.end(), [](double x) {
            return !(std::fabs(x) <= kLargestNumber) &&
                   std::bit_cast<std::uint64_t>(x) != std::bit_cast<std::uint64_t>(kBlank);
        });
    };
    auto n = count(r.clock);
    for (const auto& line : r.orbit) n += count(line);
    return static_cast<unsigned>(n);
}

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
