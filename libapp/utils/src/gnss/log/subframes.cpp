#include "gnss/log/subframes.h"

#include <cmath>

#include "gnss/foundation/wire.h"
#include "rtk_gnss.h"

// Each reader is a layout table: field, place in the body, unit.
// clang-format off
namespace korvex {

namespace {

int bits(const std::uint8_t* s, int pos, int len)
{
    return static_cast<int>(getbitu(s, pos, len));
}

double scaled(const std::uint8_t* s, int pos, int len, int power)
{
    return std::ldexp(getbits(s, pos, len), power);
}

double scaled_unsigned(const std::uint8_t* s, int pos, int len, int power)
{
    return std::ldexp(getbitu(s, pos, len), power);
}

void read_subframe1(const std::uint8_t* s, subframes_t& out)
{
    out.tow             = bits(s,             24, 17) * 6.0;              // s of week
    out.ten_bit_week    = bits(s,             48, 10);
    out.codes_on_l2     = bits(s,             58,  2);
    out.accuracy_index  = bits(s,             60,  4);
    out.health          = bits(s,             64,  6);
    out.iodc            = bits(s,             70,  2) << 8 | bits(s, 168, 8);
    out.l2p_flag        = bits(s,             72,  1);
    out.tgd             = scaled(s,          160,  8, -31);               // s
    out.toc             = scaled_unsigned(s, 176, 16,   4);               // s of week
    out.af2             = scaled(s,          192,  8, -55);               // s/s^2
    out.af1             = scaled(s,          200, 16, -43);               // s/s
    out.af0             = scaled(s,          216, 22, -31);               // s
}

void read_subframe2(const std::uint8_t* s, subframes_t& out)
{
    out.iode            = bits(s,             48,  8);
    out.orbit.crs       = scaled(s,           56, 16,  -5);               // m
    out.orbit.delta_n   = scaled(s,           72, 16, -43) * kSemicircle; // rad/s
    out.orbit.M0        = scaled(s,           88, 32, -31) * kSemicircle; // rad
    out.orbit.cuc       = scaled(s,          120, 16, -29);               // rad
    out.orbit.e         = scaled_unsigned(s, 136, 32, -33);
    out.orbit.cus       = scaled(s,          168, 16, -29);               // rad
    out.sqrt_A          = scaled_unsigned(s, 184, 32, -19);               // m^0.5
    out.orbit.toe       = scaled_unsigned(s, 216, 16,   4);               // s of week
    out.fit_flag        = bits(s,            232,  1);
    out.aodo            = bits(s,            233,  5);
}

void read_subframe3(const std::uint8_t* s, subframes_t& out)
{
    out.orbit.cic       = scaled(s,           48, 16, -29);               // rad
    out.orbit.omega0    = scaled(s,           64, 32, -31) * kSemicircle; // rad
    out.orbit.cis       = scaled(s,           96, 16, -29);               // rad
    out.orbit.i0        = scaled(s,          112, 32, -31) * kSemicircle; // rad
    out.orbit.crc       = scaled(s,          144, 16,  -5);               // m
    out.orbit.omega     = scaled(s,          160, 32, -31) * kSemicircle; // rad
    out.orbit.omega_dot = scaled(s,          192, 24, -43) * kSemicircle; // rad/s
    out.iode3           = bits(s,            216,  8);
    out.orbit.idot      = scaled(s,          224, 14, -43) * kSemicircle; // rad/s
}

}   // namespace
// clang-format on

subframes_t read_subframes(const std::uint8_t* body)
{
    subframes_t out{};
    out.prn = wire::u32(body);
    out.reference_week = wire::u32(body + 4);
    out.reference_second = wire::u32(body + 8);
    read_subframe1(body + 12, out);
    read_subframe2(body + 42, out);
    read_subframe3(body + 72, out);
    return out;
}

std::int64_t full_week(int ten_bits, std::uint32_t reference)
{
    const std::int64_t ref = reference;
    const std::int64_t back = (ref - ten_bits) & 1023;
    const std::int64_t week = ref - back;
    return back > 512 || week < 0 ? week + 1024 : week;
}

}   // namespace korvex
