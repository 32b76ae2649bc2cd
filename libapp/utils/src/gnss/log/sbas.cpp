#include "gnss/log/sbas.h"

#include <algorithm>
#include <iterator>

#include "gnss/foundation/satellites.h"
#include "gnss/foundation/wire.h"

namespace korvex {

// Each reader is a layout table: field, place in the body, unit.
// clang-format off
sbas_t read_sbas_ephemeris(const std::uint8_t* b)
{
    sbas_t s;
    s.index = b[0];
    s.iodn  = b[1];
    s.ura   = b[2];
    s.t0    = wire::u16(b + 3);   // 16 s
    for (int i = 0; i < 3; ++i) {
        s.pos[i] = wire::f64(b +  7 + 8 * i);   // m
        s.vel[i] = wire::f32(b + 31 + 4 * i);   // m/s
        s.acc[i] = wire::f32(b + 43 + 4 * i);   // m/s^2
    }
    s.af0   = wire::f32(b + 55);   // s
    s.af1   = wire::f32(b + 59);   // s/s
    return s;
}
// clang-format on

// ---- The record's share ----

namespace {

constexpr system_t kSbas = system_of(SYS_SBS);
constexpr int kLastIndex = kSbas.last_prn - kSbas.prn_before;   // beyond it a message names no satellite

seph_t narrowed(const sbas_t& s)
{
    seph_t e{};
    e.index = s.index;
    e.iodn = s.iodn;
    e.ura = s.ura;
    e.t0 = s.t0;
    std::copy_n(s.pos, 3, e.pos);
    std::copy_n(s.vel, 3, e.vel);
    std::copy_n(s.acc, 3, e.acc);
    e.af0 = s.af0;
    e.af1 = s.af1;
    return e;
}

}   // namespace

int decode_sbas_ephemeris(raw_t* raw, const std::uint8_t* body)
{
    const sbas_t sent = read_sbas_ephemeris(body);
    const int n = sent.index;
    if (n >= 1 && n <= static_cast<int>(std::size(raw->seph))) {   // any other index has no place in the table
        seph_t& entry = raw->seph[n - 1];
        if (entry.index != 0 && timediff(entry.t0, sent.t0) == 0.0) return DECODE_NOTHING;
        entry = narrowed(sent);
    }
    raw->eph_sat = static_cast<std::uint16_t>(n <= kLastIndex ? kSbas.first - 1 + n : 0);
    return DECODE_EPH;
}

}   // namespace korvex
