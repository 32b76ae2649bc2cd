/// @file atmosphere.h  Signal delays in ionosphere and troposphere.
#ifndef SKY_ATMOSPHERE_H
#define SKY_ATMOSPHERE_H

#include <array>

namespace sky {

/// Direction from the antenna to a satellite.
struct direction_t {
    double sin_elevation;
    double elevation;   ///< rad
    double sin_azimuth, cos_azimuth;
};

/// Broadcast ionosphere: alpha 0..3, beta 0..3 (s, s/semicircle, ...).
extern const std::array<double, 8> kIonosphere;

/// Ionospheric delay at L1.
///
/// @param model     broadcast: alpha 0..3, beta 0..3
/// @param lat, lon  antenna (rad)
/// @param tow       GPS seconds of week
/// @return delay (m)
/// @note J. A. Klobuchar, Ionospheric time-delay algorithm for single-frequency GPS users, 1987;
///       IS-GPS-200 20.3.3.5.2.5.
double ionosphere_delay(const std::array<double, 8>& model, double lat, double lon, const direction_t& to, double tow);

/// Tropospheric delay in the standard atmosphere at 70 % humidity.
///
/// @param lat            antenna (rad)
/// @param height         above the ellipsoid (m), -500..10000
/// @param sin_elevation  sine of the elevation
/// @return delay (m)
/// @note J. Saastamoinen, Atmospheric correction for the troposphere and stratosphere in radio ranging
///       satellites, 1972; mapping function of RTCA DO-229 A.4.2.4 (Black and Eisner, 1984).
double troposphere_delay(double lat, double height, double sin_elevation);

}   // namespace sky

#endif
