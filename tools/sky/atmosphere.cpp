#include "sky/atmosphere.h"

#include <algorithm>
#include <cmath>

#include "gnss/foundation/satellites.h"
#include "gnss/foundation/time_scales.h"
#include "sky/vec3.h"

namespace sky {

const std::array<double, 8> kIonosphere = {
    0x1.4p-27, 0x1p-26, -0x1p-24,  -0x1p-24,   // about 1e-8, 1.5e-8, -6e-8, -6e-8
    90112.0,   65536.0, -131072.0, -196608.0};

double ionosphere_delay(const std::array<double, 8>& model, double lat, double lon, const direction_t& to, double tow)
{
    const double* alpha = model.data();
    const double* beta = alpha + 4;
    const double elevation = to.elevation / kPi;   // from here on angles are in semicircles
    const double psi = 0.0137 / (elevation + 0.11) - 0.022;
    const double phi = std::clamp(lat / kPi + psi * to.cos_azimuth, -0.416, 0.416);
    const double lambda = lon / kPi + psi * to.sin_azimuth / sin_cos(phi * kPi).cos;
    const double magnetic = phi + 0.064 * sin_cos((lambda - 1.617) * kPi).cos;
    const double day = 43200.0 * lambda + tow;
    const double local = day - kDay * std::floor(day / kDay);
    const auto cubic = [magnetic](const double* c) {
        return c[0] + magnetic * (c[1] + magnetic * (c[2] + magnetic * c[3]));
    };
    const double amplitude = std::max(cubic(alpha), 0.0);
    const double period = std::max(cubic(beta), 72000.0);
    const double x = 2.0 * kPi * (local - 50400.0) / period;
    const double low = 0.53 - elevation;
    const double slant = 1.0 + 16.0 * low * low * low;
    // The series that users of the message compute breaks off with a step, of 2 %, that no sky has.
    const double wave = std::fabs(x) < kPi / 2.0 ? amplitude * sin_cos(x).cos : 0.0;
    return kLightSpeed * slant * (5e-9 + wave);
}

double troposphere_delay(double lat, double height, double sin_elevation)
{
    const double h = std::clamp(height, -500.0, 10000.0);
    const double pressure = 1013.25 * std::pow(1.0 - 2.2557e-5 * h, 5.2568);                                // hPa
    const double temperature = 288.16 - 6.5e-3 * h;                                                         // K
    const double vapour = 6.108 * 0.7 * std::exp((17.15 * temperature - 4684.0) / (temperature - 38.45));   // hPa
    const double gravity = 1.0 - 0.00266 * sin_cos(2.0 * lat).cos - 0.28e-6 * h;
    const double zenith = 0.0022768 * pressure / gravity + 0.0022768 * (1255.0 / temperature + 0.05) * vapour;
    return zenith * 1.001 / std::sqrt(0.002001 + sin_elevation * sin_elevation);
}

}   // namespace sky
