#include "gnss/log/glonass.h"

#include <algorithm>
#include <cmath>

#include "gnss/foundation/satellites.h"
#include "gnss/foundation/time_scales.h"
#include "gnss/log/frame.h"
#include "gnss/log/store.h"

namespace korvex {

namespace {

void read_vector(const std::uint8_t* p, double (&v)[3])
{
    for (int i = 0; i < 3; ++i) v[i] = wire::f64(p + 8 * i);
}

}   // namespace

// Each reader is a layout table: field, place in the body, unit.
// clang-format off
glonass_t read_glonass_ephemeris(const std::uint8_t* b)
{
    glonass_t g;
    g.prn            = b[0];
    g.channel        = wire::u16(b +   2) - 7;
    g.type           = b[4];
    g.week           = wire::u16(b +   6);
    g.ms             = wire::u32(b +   8);    // ms of the week
    g.time_offset    = wire::u32(b +  12);    // s
    g.day            = wire::u16(b +  16);
    g.issue          = wire::u32(b +  20);
    g.health         = wire::u32(b +  24);
    read_vector(                 b +  28, g.pos);   // m
    read_vector(                 b +  52, g.vel);   // m/s
    read_vector(                 b +  76, g.acc);   // m/s^2
    g.taun           = wire::f64(b + 100);    // s
    g.dtaun          = wire::f64(b + 108);    // s
    g.gamn           = wire::f64(b + 116);
    g.frame_time     = wire::u32(b + 124);    // s of day
    g.flags          = wire::u32(b + 128);
    g.accuracy_index = wire::u32(b + 132);
    g.age            = wire::u32(b + 136);    // days
    return g;
}
// clang-format on

// ---- The record's share ----

namespace {

constexpr std::uint32_t kMaxTimeOffset = 20000;   // largest credible offset (s)
constexpr std::uint32_t kUnhealthy = 4;           // health from which a satellite counts as such

// Frame time on the day of the reference time, or on the neighbouring day when that is nearer.
double frame_time(double toe, std::uint32_t time_of_day)
{
    const double tof = std::floor(toe / kDay) * kDay + time_of_day % static_cast<std::uint32_t>(kDay);
    if (tof - toe > kDay / 2) return tof - kDay;
    if (tof - toe < -kDay / 2) return tof + kDay;
    return tof;
}

// Times come out as GLONASS time.
geph_t narrowed(const glonass_t& g)
{
    geph_t e{};
    e.frq = static_cast<std::int8_t>(g.channel);
    e.week = static_cast<std::uint16_t>(g.week);
    e.toe = timeadd(std::round(g.ms / 1000.0), g.time_offset, &e.week);
    e.iode = g.issue & 0x7F;
    e.svh = g.health < kUnhealthy ? 0 : 1;
    std::copy_n(g.pos, 3, e.pos);
    std::copy_n(g.vel, 3, e.vel);
    std::copy_n(g.acc, 3, e.acc);
    e.taun = g.taun;
    e.dtaun = g.dtaun;
    e.gamn = g.gamn;
    e.tof = e.tof_alt = frame_time(e.toe, g.frame_time);
    e.age = static_cast<std::uint8_t>(g.age);
    return e;
}

}   // namespace

int decode_glonass_ephemeris(raw_t* raw, const std::uint8_t* body)
{
    const glonass_t sent = read_glonass_ephemeris(body);
    const std::uint8_t sat = satno(SYS_GLO, number_in_system(SYS_GLO, static_cast<std::uint32_t>(sent.prn)));
    if (sat == 0 || sent.week == kWeekUnknown) return DECODE_REFUSED;
    if (sent.time_offset > kMaxTimeOffset) return DECODE_NOTHING;

    geph_t geph = narrowed(sent);
    geph.sat = sat;
    geph_t& entry = raw->geph[sat - system_of(SYS_GLO).first];
    const bool known = entry.sat != 0 && std::fabs(timediff(geph.toe, entry.toe)) < 1.0 && geph.svh == entry.svh;
    if (known) return DECODE_NOTHING;
    entry = geph;
    raw->eph_sat = sat;
    take_week_if_unknown(raw, geph.week);
    return DECODE_EPH;
}

}   // namespace korvex
