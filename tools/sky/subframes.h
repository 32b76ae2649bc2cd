/// @file subframes.h  GPS navigation subframes 1 to 3 from a data set.
#ifndef SKY_SUBFRAMES_H
#define SKY_SUBFRAMES_H

#include <array>
#include <cstdint>

#include "sky/orbit_kepler.h"

namespace sky {

constexpr int kSubframeBytes = 30;   // ten words of 24 bits, parity removed
constexpr int kAccuracyIndex = 1;    // every satellite: 2 m

/// The value of pi that navigation messages are defined with (IS-GPS-200 20.3.3.4.3.2).

/// Nearest multiple of 2^exponent.
double on_grid(double value, int exponent);

/// Nearest angle (rad) that is a multiple of 2^exponent semicircles, in -pi..pi.
double angle_on_grid(double angle, int exponent);

/// Packs a data set.
///
/// @param set    values must be on the grids of the message, as those of constellation.h are
/// @param tow    seconds of week in the hand-over words, multiple of 6
/// @return subframes 1, 2 and 3 behind each other
/// @note IS-GPS-200 figure 20-1, tables 20-I and 20-III.
std::array<std::uint8_t, 3 * kSubframeBytes> pack_subframes(const kepler_set_t& set, int tow);

}   // namespace sky

#endif
