/// @file elevations.h  Numbers by the elevation of the satellite.
#ifndef QUALITY_ELEVATIONS_H
#define QUALITY_ELEVATIONS_H

#include <algorithm>
#include <array>
#include <cstddef>

#include "position/geodetic.h"

namespace quality {

/// Where a satellite stands for the antenna.
struct direction_t {
    bool known = false;
    float elevation = 0.0F, azimuth = 0.0F;   ///< rad; azimuth 0..2 pi, clockwise from north
};

inline constexpr double kLowElevation = 10.0 / position::kRadian;   // rad; below it nothing is expected

/// Steps of ten degrees, and one for satellites of which it is not known.
inline constexpr std::size_t kElevationSteps = 9;
inline constexpr std::size_t kUnknownElevation = kElevationSteps;

inline std::size_t step_of(const direction_t& to)
{
    if (!to.known) return kUnknownElevation;
    const double degrees = static_cast<double>(to.elevation) * position::kRadian;
    return static_cast<std::size_t>(std::clamp(degrees / 10.0, 0.0, kElevationSteps - 1.0));
}

template <typename T>
using by_elevation_t = std::array<T, kElevationSteps + 1>;

}   // namespace quality

#endif
