#include "position/geodetic.h"

namespace position {

geodetic_t geodetic_of(const vec3_t& p)
{
    constexpr double kEquator = 6378137.0, kFlattening = 1.0 / 298.257223563;   // m
    constexpr double kPole = kEquator * (1.0 - kFlattening);
    constexpr double kE2 = kFlattening * (2.0 - kFlattening), kSecondE2 = kE2 / (1.0 - kE2);
    const double flat = std::hypot(p.x, p.y), r = std::hypot(flat, p.z);
    const double beta = std::atan2(kPole * p.z * (1.0 + kSecondE2 * kPole / r), kEquator * flat);
    const double s = std::sin(beta), c = std::cos(beta);
    const double lat = std::atan2(p.z + kSecondE2 * kPole * s * s * s, flat - kE2 * kEquator * c * c * c);
    const double sine = std::sin(lat);
    const double height = flat * std::cos(lat) + p.z * sine - kEquator * std::sqrt(1.0 - kE2 * sine * sine);
    return {lat, std::atan2(p.y, p.x), height};
}

axes_t::axes_t(const geodetic_t& at)
{
    const double sin_lat = std::sin(at.lat), cos_lat = std::cos(at.lat);
    const double sin_lon = std::sin(at.lon), cos_lon = std::cos(at.lon);
    east = {-sin_lon, cos_lon, 0.0};
    north = {-sin_lat * cos_lon, -sin_lat * sin_lon, cos_lat};
    up = {cos_lat * cos_lon, cos_lat * sin_lon, sin_lat};
}

}   // namespace position
