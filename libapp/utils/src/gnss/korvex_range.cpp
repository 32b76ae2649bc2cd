#include "korvex_range.h"

#include <cmath>

#include "wire.h"

// clang-format off: the readers are layout tables
namespace korvex {

range_t read_range(const std::uint8_t* p)
{
    range_t r;
    r.prn = wire::u16(p + 0);
    r.channel = static_cast<std::int8_t>(p[2] - 7);
    r.pseudorange = wire::f64(p + 4);
    r.adr = wire::f64(p + 16);
    r.doppler = wire::f32(p + 28);
    r.cn0 = wire::f32(p + 32);
    r.locktime = wire::f32(p + 36);
    r.status = wire::u32(p + 40);
    return r;
}

range_t read_compressed_range(const std::uint8_t* p)
{
    range_t r;
    r.status = wire::u32(p + 0);
    r.doppler = static_cast<float>(static_cast<std::int32_t>(wire::u32(p + 4) << 4) >> 4) / 256.0f;
    r.pseudorange = (wire::u32(p + 7) >> 4) / 128.0 + p[11] * 2097152.0;
    r.adr = wire::i32(p + 12) / 256.0;
    r.prn = p[17];
    r.locktime = static_cast<float>((wire::u32(p + 18) & 0x1FFFFF) / 32);   // whole seconds
    r.cn0 = static_cast<float>((wire::u16(p + 20) >> 5 & 0x1F) + 20);
    r.channel = static_cast<std::int8_t>((p[21] >> 2 & 0x3F) - 7);
    return r;
}

double unrolled_phase(double pseudorange, double wavelength, double adr)
{
    constexpr double kRoll = 8388608.0;   // 2^23 cycles
    const double rolls = (pseudorange / wavelength + adr) / kRoll;
    return std::trunc(rolls > 0.0 ? rolls + 0.5 : rolls - 0.5) * kRoll - adr;
}

}   // namespace korvex
