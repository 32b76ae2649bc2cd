// Geodetic positions on WGS 84.
#include <cmath>

#include "rtk_gnss.h"

namespace {
constexpr double kSemiMajor = 6378137.0;                         // m
constexpr double kEccentricitySquared = 0.0066943799901413165;   // first eccentricity squared
constexpr double kOneMinusEccentricity2 = 0.9933056200098587;
}   // namespace

void pos2ecef(const double* pos, double* ecef)
{
    const double sin_lat = std::sin(pos[0]), cos_lat = std::cos(pos[0]);
    const double sin_lon = std::sin(pos[1]), cos_lon = std::cos(pos[1]);
    const double n = kSemiMajor / std::sqrt(1.0 - kEccentricitySquared * sin_lat * sin_lat);
    const double h = pos[2];
    ecef[0] = (n + h) * cos_lat * cos_lon;
    ecef[1] = (n + h) * cos_lat * sin_lon;
    ecef[2] = (n * kOneMinusEccentricity2 + h) * sin_lat;
}
