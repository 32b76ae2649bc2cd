#include "korvex_sbas.h"

#include "wire.h"

// clang-format off: the readers are layout tables
namespace korvex {

seph_t read_sbas_ephemeris(const std::uint8_t* b)
{
    seph_t s{};
    s.index = b[0];
    s.iodn = b[1];
    s.ura = b[2];
    s.t0 = wire::u16(b + 3);
    for (int i = 0; i < 3; ++i) {
        s.pos[i] = wire::f64(b + 7 + 8 * i);
        s.vel[i] = wire::f32(b + 31 + 4 * i);
        s.acc[i] = wire::f32(b + 43 + 4 * i);
    }
    s.af0 = wire::f32(b + 55);
    s.af1 = wire::f32(b + 59);
    return s;
}

}   // namespace korvex
