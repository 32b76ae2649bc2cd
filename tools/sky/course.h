/// @file course.h  Where the antenna is: at rest, or on a drive that ends where it began.
#ifndef SKY_COURSE_H
#define SKY_COURSE_H

#include "sky/vec3.h"

namespace sky {

/// The antenna at an instant.
struct site_t {
    double lat, lon, height;   ///< degrees, degrees, m above WGS 84
    vec3_t position;           ///< ECEF (m)
    vec3_t velocity;           ///< ECEF (m/s)
    vec3_t east, north, up;    ///< unit vectors
};

/// The drive is a level figure of eight at 10 m/s, 153 m from north to south and 306 m from east to west, whose
/// crossing is the place that was asked for: the antenna is there in every whole 48 seconds of the week and heads
/// north.
class course_t {
public:
    /// @param lat, lon  degrees; a drive keeps within 89 degrees of latitude
    /// @param height    m above WGS 84
    course_t(double lat, double lon, double height, bool moving);

    /// @param t  s from the beginning of a week, not negative
    site_t at(double t) const;

private:
    site_t home_;
    bool moving_;
};

}   // namespace sky

#endif
