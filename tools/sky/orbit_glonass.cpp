#include "sky/orbit_glonass.h"

#include <algorithm>

namespace sky {

namespace {

constexpr double kMu = 3.986004418e14;   // m^3/s^2
constexpr double kEquator = 6378136.0;   // m
constexpr double kJ2 = 1.08262575e-3;
constexpr double kStep = 60.0;   // s

glonass_state_t derivative(const glonass_state_t& s, const vec3_t& accel)
{
    const vec3_t& p = s.position;
    const vec3_t& v = s.velocity;
    const double r2 = dot(p, p);
    const double central = kMu / (r2 * std::sqrt(r2));
    const double zonal = 1.5 * kJ2 * central * kEquator * kEquator / r2;
    const double polar = 5.0 * p.z * p.z / r2;
    const double turning = kEarthRate * kEarthRate;
    const double plane = -central - zonal * (1.0 - polar) + turning;
    return {v,
            {plane * p.x + 2.0 * kEarthRate * v.y + accel.x, plane * p.y - 2.0 * kEarthRate * v.x + accel.y,
             (-central - zonal * (3.0 - polar)) * p.z + accel.z}};
}

glonass_state_t moved(const glonass_state_t& s, const glonass_state_t& d, double h)
{
    return {s.position + h * d.position, s.velocity + h * d.velocity};
}

}   // namespace

glonass_state_t advance(const glonass_state_t& s, const vec3_t& accel, double step)
{
    const glonass_state_t k1 = derivative(s, accel);
    const glonass_state_t k2 = derivative(moved(s, k1, 0.5 * step), accel);
    const glonass_state_t k3 = derivative(moved(s, k2, 0.5 * step), accel);
    const glonass_state_t k4 = derivative(moved(s, k3, step), accel);
    const double h = step / 6.0;
    return {s.position + h * (k1.position + 2.0 * k2.position + 2.0 * k3.position + k4.position),
            s.velocity + h * (k1.velocity + 2.0 * k2.velocity + 2.0 * k3.velocity + k4.velocity)};
}

glonass_arc_t::glonass_arc_t(double reference, const glonass_state_t& state, const vec3_t& accel)
    : reference_(reference), accel_(accel)
{
    states_[kHalf] = state;
    for (int i = kHalf; i > 0; --i) states_[i - 1] = advance(states_[i], accel, -kStep);
    for (int i = kHalf; i < 2 * kHalf; ++i) states_[i + 1] = advance(states_[i], accel, kStep);
}

glonass_state_t glonass_arc_t::at(double t) const
{
    const double minutes = std::floor((t - reference_) / kStep + 0.5);
    const int i = static_cast<int>(std::clamp(minutes, -1.0 * kHalf, 1.0 * kHalf));
    return advance(states_[i + kHalf], accel_, t - reference_ - i * kStep);
}

glonass_state_t glonass_arc_t::next() const
{
    glonass_state_t s = states_.back();
    for (int i = 0; i < kHalf; ++i) s = advance(s, accel_, kStep);
    return s;
}

}   // namespace sky
