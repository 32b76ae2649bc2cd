#include "gnss/log/galileo.h"

#include <algorithm>

#include "gnss/foundation/satellites.h"
#include "gnss/foundation/time_scales.h"
#include "gnss/foundation/wire.h"
#include "gnss/log/store.h"

namespace korvex {

// Each reader is a layout table: field, place in the body, unit.
// clang-format off
namespace {

// Reference time and orbit: the same run of fields in both messages.
void read_orbit(const std::uint8_t* p, galileo_t& g)
{
    g.orbit.toe       = wire::u32(p +   0);   // s of week
    g.sqrt_A          = wire::f64(p +   4);   // m^0.5
    g.orbit.delta_n   = wire::f64(p +  12);   // rad/s
    g.orbit.M0        = wire::f64(p +  20);   // rad
    g.orbit.e         = wire::f64(p +  28);
    g.orbit.omega     = wire::f64(p +  36);   // rad
    g.orbit.cuc       = wire::f64(p +  44);   // rad
    g.orbit.cus       = wire::f64(p +  52);   // rad
    g.orbit.crc       = wire::f64(p +  60);   // m
    g.orbit.crs       = wire::f64(p +  68);   // m
    g.orbit.cic       = wire::f64(p +  76);   // rad
    g.orbit.cis       = wire::f64(p +  84);   // rad
    g.orbit.i0        = wire::f64(p +  92);   // rad
    g.orbit.idot      = wire::f64(p + 100);   // rad/s
    g.orbit.omega0    = wire::f64(p + 108);   // rad
    g.orbit.omega_dot = wire::f64(p + 116);   // rad/s
}

clock_polynomial_t read_clock(const std::uint8_t* p)
{
    clock_polynomial_t c;
    c.toc = wire::u32(p +  0);   // s of week
    c.af0 = wire::f64(p +  4);   // s
    c.af1 = wire::f64(p + 12);   // s/s
    c.af2 = wire::f64(p + 20);   // s/s^2
    return c;
}

}   // namespace

galileo_t read_galileo_ephemeris(const std::uint8_t* b)
{
    galileo_t g{};
    g.prn        = wire::u32(b +   0);
    g.fnav       = wire::u32(b +   4);
    g.inav       = wire::u32(b +   8);
    std::copy_n(             b +  12, 3, g.health);
    std::copy_n(             b +  15, 3, g.validity);
    g.sisa       = b[18];
    g.iodnav     = wire::u32(b +  20);
    read_orbit(              b +  24, g);
    g.fnav_clock = read_clock(b + 148);
    g.inav_clock = read_clock(b + 176);
    g.bgd_e5a    = wire::f64(b + 204);   // s
    g.bgd_e5b    = wire::f64(b + 212);   // s
    return g;
}

galileo_t read_galileo_inav_ephemeris(const std::uint8_t* b)
{
    galileo_t g{};
    g.inav        = 1;
    g.prn         = wire::u32(b +   0);
    g.health[0]   = b[4];
    g.health[2]   = b[5];
    g.validity[0] = b[6];
    g.validity[2] = b[7];
    g.sisa        = b[8];
    g.iodnav      = wire::u32(b +  12);
    read_orbit(               b +  16, g);
    g.inav_clock  = read_clock(b + 140);
    g.bgd_e5a     = wire::f64(b + 168);   // s
    g.bgd_e5b     = wire::f64(b + 176);   // s
    return g;
}
// clang-format on

// ---- The record's share ----

namespace {

galeph_t narrowed(const galileo_t& g)
{
    galeph_t e{};
    e.fnav = g.fnav != 0;
    e.inav = g.inav != 0;
    std::copy_n(g.health, 3, e.health);
    std::copy_n(g.validity, 3, e.validity);
    e.sisa = g.sisa;
    e.iodnav = static_cast<std::uint16_t>(g.iodnav);
    keep_orbit(e, g.orbit);
    e.sqrtA = g.sqrt_A;
    e.fnav_clock = {g.fnav_clock.toc, g.fnav_clock.af0, g.fnav_clock.af1, g.fnav_clock.af2};
    e.inav_clock = {g.inav_clock.toc, g.inav_clock.af0, g.inav_clock.af1, g.inav_clock.af2};
    e.bgd_e5a = g.bgd_e5a;
    e.bgd_e5b = g.bgd_e5b;
    return e;
}

// The messages carry no week: it is the record's, or a neighbour when toe lies over half a week away.
std::uint16_t week_of(const raw_t* raw, double toe)
{
    const double ahead = toe - raw->tow;
    const int step = ahead > kWeek / 2 ? -1 : ahead < -kWeek / 2 ? 1 : 0;
    return static_cast<std::uint16_t>(raw->week + step);
}

int store(raw_t* raw, const galileo_t& sent)
{
    const std::uint8_t sat = satno(SYS_GAL, number_in_system(SYS_GAL, sent.prn));
    if (sat == 0 || !usable_time(sent.orbit.toe)) return DECODE_REFUSED;
    if (!usable_time(sent.inav_clock.toc) || !usable_time(sent.fnav_clock.toc)) return DECODE_REFUSED;
    galeph_t& entry = raw->galeph[sat - system_of(SYS_GAL).first];
    if (is_known(entry, sent.orbit.toe)) return DECODE_NOTHING;
    entry = narrowed(sent);
    entry.sat = sat;
    entry.week = week_of(raw, entry.toe);
    raw->eph_sat = sat;
    return DECODE_EPH;
}

}   // namespace

int decode_galileo_ephemeris(raw_t* raw, const std::uint8_t* body)
{
    return store(raw, read_galileo_ephemeris(body));
}

int decode_galileo_inav_ephemeris(raw_t* raw, const std::uint8_t* body)
{
    const galileo_t sent = read_galileo_inav_ephemeris(body);
    const int result = store(raw, sent);
    if (result == DECODE_EPH) raw->tow = sent.orbit.toe;
    return result;
}

}   // namespace korvex
