#include "korvex_galileo.h"

#include "wire.h"

// clang-format off: the readers are layout tables
namespace korvex {

namespace {

// Reference time and orbit: the same run of fields in both messages.
void read_orbit(const std::uint8_t* p, galeph_t& g)
{
    g.toe = wire::u32(p + 0);
    g.sqrtA = wire::f64(p + 4);
    g.delta_n = wire::f64(p + 12);
    g.M0 = wire::f64(p + 20);
    g.e = wire::f64(p + 28);
    g.omega = wire::f64(p + 36);
    g.cuc = wire::f64(p + 44);
    g.cus = wire::f64(p + 52);
    g.crc = wire::f64(p + 60);
    g.crs = wire::f64(p + 68);
    g.cic = wire::f64(p + 76);
    g.cis = wire::f64(p + 84);
    g.i0 = wire::f64(p + 92);
    g.idot = wire::f64(p + 100);
    g.omega0 = wire::f64(p + 108);
    g.omega_dot = wire::f64(p + 116);
}

gal_clock_t read_clock(const std::uint8_t* p)
{
    return {static_cast<double>(wire::u32(p)), wire::f64(p + 4), wire::f64(p + 12), wire::f64(p + 20)};
}

}   // namespace

galeph_t read_galileo_ephemeris(const std::uint8_t* b)
{
    galeph_t g{};
    g.fnav = wire::u32(b + 4) != 0;
    g.inav = wire::u32(b + 8) != 0;
    for (int i = 0; i < 3; ++i) {
        g.health[i] = b[12 + i];
        g.validity[i] = b[15 + i];
    }
    g.sisa = b[18];
    g.iodnav = static_cast<std::uint16_t>(wire::u32(b + 20));
    read_orbit(b + 24, g);
    g.fnav_clock = read_clock(b + 148);
    g.inav_clock = read_clock(b + 176);
    g.bgd_e5a = wire::f64(b + 204);
    g.bgd_e5b = wire::f64(b + 212);
    return g;
}

galeph_t read_galileo_inav_ephemeris(const std::uint8_t* b)
{
    galeph_t g{};
    g.inav = 1;
    g.health[0] = b[4];
    g.health[2] = b[5];
    g.validity[0] = b[6];
    g.validity[2] = b[7];
    g.sisa = b[8];
    g.iodnav = static_cast<std::uint16_t>(wire::u32(b + 12));
    read_orbit(b + 16, g);
    g.inav_clock = read_clock(b + 140);
    g.bgd_e5a = wire::f64(b + 168);
    g.bgd_e5b = wire::f64(b + 176);
    return g;
}

}   // namespace korvex
