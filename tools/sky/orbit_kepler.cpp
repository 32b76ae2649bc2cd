#include "sky/orbit_kepler.h"

#include "gnss/foundation/satellites.h"

namespace sky {

namespace {

constexpr double kTilt = -5.0 * kPi / 180.0;   // of the plane that BeiDou's geostationary orbits refer to

}   // namespace

bool is_beidou_geo(int system, int prn)
{
    return system == SYS_BDS && (prn <= 5 || prn >= 59);
}

double gravity(int system)
{
    return system == SYS_GPS || system == SYS_QZS ? 3.986005e14 : 3.986004418e14;
}

double earth_rate(int system)
{
    return system == SYS_BDS ? 7.2921150e-5 : kEarthRate;
}

namespace {

double eccentric_anomaly(double M, double e)
{
    double E = M;
    for (int i = 0; i < 10; ++i) {
        const sin_cos_t t = sin_cos(E);
        const double step = (E - e * t.sin - M) / (1.0 - e * t.cos);
        E -= step;
        if (std::fabs(step) < 1e-13) break;
    }
    return E;
}

}   // namespace

orbit_point_t evaluate(const kepler_set_t& set, double t)
{
    const double mu = gravity(set.system);
    const double rate = earth_rate(set.system);
    const double tk = t - set.t_toe;
    const double n = std::sqrt(mu / (set.A * set.A * set.A)) + set.delta_n;
    const sin_cos_t E = sin_cos(eccentric_anomaly(set.M0 + n * tk, set.e));

    // Argument of latitude from the sines and cosines of the true anomaly and of the perigee.
    const double root = std::sqrt(1.0 - set.e * set.e);
    const double radius = 1.0 - set.e * E.cos;
    const sin_cos_t nu = {root * E.sin / radius, (E.cos - set.e) / radius};
    const sin_cos_t w = sin_cos(set.omega);
    const sin_cos_t phi = {nu.sin * w.cos + nu.cos * w.sin, nu.cos * w.cos - nu.sin * w.sin};
    const double sin2 = 2.0 * phi.sin * phi.cos;
    const double cos2 = phi.cos * phi.cos - phi.sin * phi.sin;

    const sin_cos_t du = sin_cos(set.cus * sin2 + set.cuc * cos2);
    const double r = set.A * radius + set.crs * sin2 + set.crc * cos2;
    const sin_cos_t i = sin_cos(set.i0 + set.idot * tk + set.cis * sin2 + set.cic * cos2);
    const double x = r * (phi.cos * du.cos - phi.sin * du.sin);
    const double y = r * (phi.sin * du.cos + phi.cos * du.sin);

    const bool geo = is_beidou_geo(set.system, set.prn);
    const sin_cos_t node = sin_cos(set.omega0 + (geo ? set.omega_dot : set.omega_dot - rate) * tk - rate * set.toe);
    vec3_t p = {x * node.cos - y * i.cos * node.sin, x * node.sin + y * i.cos * node.cos, y * i.sin};
    if (geo) {
        const sin_cos_t tilt = sin_cos(kTilt);
        p = {p.x, tilt.cos * p.y + tilt.sin * p.z, tilt.cos * p.z - tilt.sin * p.y};
        p = turn_z(p, rate * tk);
    }
    const double relativity = -2.0 * std::sqrt(mu) / (kLightSpeed * kLightSpeed) * set.e * set.sqrtA * E.sin;
    return {p, set.af0 + set.af1 * tk + set.af2 * tk * tk + relativity};
}

}   // namespace sky
