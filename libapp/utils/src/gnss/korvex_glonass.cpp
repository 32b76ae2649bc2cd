#include "korvex_glonass.h"

#include <cmath>

#include "wire.h"

// clang-format off: the readers are layout tables
namespace korvex {

namespace {

constexpr double kDay = 86400.0;   // s

// Frame time on the day of the reference time, or on the neighbouring day when that is nearer.
double frame_time(double toe, std::uint32_t time_of_day)
{
    const double tof = std::floor(toe / kDay) * kDay + time_of_day % 86400;
    if (tof - toe > kDay / 2) return tof - kDay;
    if (tof - toe < -kDay / 2) return tof + kDay;
    return tof;
}

void read_vector(const std::uint8_t* p, double (&v)[3])
{
    for (int i = 0; i < 3; ++i) v[i] = wire::f64(p + 8 * i);
}

}   // namespace

std::uint32_t glonass_offset(const std::uint8_t* b)
{
    return wire::u32(b + 12);
}

geph_t read_glonass_ephemeris(const std::uint8_t* b)
{
    geph_t g{};
    g.frq = static_cast<std::int8_t>(wire::u16(b + 2) - 7);
    g.week = wire::u16(b + 6);
    g.toe = timeadd(std::round(wire::u32(b + 8) / 1000.0), glonass_offset(b), &g.week);
    g.iode = wire::u32(b + 20) & 0x7F;
    g.svh = wire::u32(b + 24) < 4 ? 0 : 1;
    read_vector(b + 28, g.pos);
    read_vector(b + 52, g.vel);
    read_vector(b + 76, g.acc);
    g.taun = wire::f64(b + 100);
    g.dtaun = wire::f64(b + 108);
    g.gamn = wire::f64(b + 116);
    g.tof = g.tof_alt = frame_time(g.toe, wire::u32(b + 124));
    g.age = static_cast<std::uint8_t>(wire::u32(b + 136));
    return g;
}

}   // namespace korvex
