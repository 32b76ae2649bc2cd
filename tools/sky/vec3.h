/// @file vec3.h  Earth-centred, Earth-fixed vectors in metres or metres per second.
#ifndef SKY_VEC3_H
#define SKY_VEC3_H

#include <cmath>

#include "sky/trigonometry.h"

namespace sky {

constexpr double kEarthRate = 7.2921151467e-5;   // rad/s, IS-GPS-200

struct vec3_t {
    double x, y, z;
};

/// A satellite at an instant.
struct orbit_point_t {
    vec3_t position;   ///< ECEF (m)
    double clock;      ///< offset from system time (s), relativistic part included
};

inline vec3_t operator+(const vec3_t& a, const vec3_t& b)
{
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline vec3_t operator-(const vec3_t& a, const vec3_t& b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline vec3_t operator*(double k, const vec3_t& a)
{
    return {k * a.x, k * a.y, k * a.z};
}
inline double dot(const vec3_t& a, const vec3_t& b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
inline double norm(const vec3_t& a)
{
    return std::sqrt(dot(a, a));
}

/// Coordinates of a fixed point in axes that turned by an angle (rad) about z.
inline vec3_t turn_z(const vec3_t& a, double angle)
{
    const sin_cos_t t = sin_cos(angle);
    return {t.cos * a.x + t.sin * a.y, t.cos * a.y - t.sin * a.x, a.z};
}

}   // namespace sky

#endif
