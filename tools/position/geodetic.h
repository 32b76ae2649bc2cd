/// @file geodetic.h  Places on the ellipsoid, and directions from there.
#ifndef POSITION_GEODETIC_H
#define POSITION_GEODETIC_H

#include "sky/vec3.h"

namespace position {

using sky::vec3_t;

constexpr double kRadian = 180.0 / sky::kPi;   // degrees

struct geodetic_t {
    double lat, lon;   ///< rad
    double height;     ///< above the WGS 84 ellipsoid (m)
};

/// @param ecef  m, not at the centre of the Earth
/// @note B. R. Bowring, The accuracy of geodetic latitude and height equations, 1985; below 0.1 mm near the Earth.
geodetic_t geodetic_of(const vec3_t& ecef);

/// East, north and up at a place.
struct axes_t {
    vec3_t east, north, up;

    explicit axes_t(const geodetic_t& at);
    vec3_t local(const vec3_t& difference) const   ///< ECEF to east, north, up
    {
        return {dot(difference, east), dot(difference, north), dot(difference, up)};
    }
};

}   // namespace position

#endif
