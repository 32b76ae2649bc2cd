#include "korvex_subframes.h"

#include <cmath>

#include "wire.h"

// clang-format off: the readers are layout tables
namespace korvex {

namespace {

constexpr double kSemicircle = 3.1415926535898;   // pi of the interface document

double scaled(double bits, int power)
{
    return std::ldexp(bits, power);
}

void read_subframe1(const std::uint8_t* s, subframes_t& out)
{
    eph_t& e = out.eph;
    out.ten_bit_week = static_cast<int>(getbitu(s, 48, 10));
    e.aux_flag = static_cast<std::int16_t>(getbitu(s, 58, 2));   // codes on L2
    e.ura_index = static_cast<std::uint16_t>(getbitu(s, 60, 4));
    e.health = static_cast<std::uint8_t>(getbitu(s, 64, 6));
    e.iodc = static_cast<std::int16_t>(getbitu(s, 70, 2) << 8 | getbitu(s, 168, 8));
    e.l2p_flag = static_cast<std::int16_t>(getbitu(s, 72, 1));
    e.tgd = scaled(getbits(s, 160, 8), -31);
    e.toc = scaled(getbitu(s, 176, 16), 4);
    e.af2 = scaled(getbits(s, 192, 8), -55);
    e.af1 = scaled(getbits(s, 200, 16), -43);
    e.af0 = scaled(getbits(s, 216, 22), -31);
}

void read_subframe2(const std::uint8_t* s, eph_t& e)
{
    e.iode = static_cast<std::int16_t>(getbitu(s, 48, 8));
    e.crs = scaled(getbits(s, 56, 16), -5);
    e.delta_n = scaled(getbits(s, 72, 16), -43) * kSemicircle;
    e.M0 = scaled(getbits(s, 88, 32), -31) * kSemicircle;
    e.cuc = scaled(getbits(s, 120, 16), -29);
    e.e = scaled(getbitu(s, 136, 32), -33);
    e.cus = scaled(getbits(s, 168, 16), -29);
    const double sqrt_a = scaled(getbitu(s, 184, 32), -19);
    e.A = sqrt_a * sqrt_a;
    e.toe = scaled(getbitu(s, 216, 16), 4);
    e.fit = static_cast<std::uint8_t>(getbitu(s, 232, 1));
}

void read_subframe3(const std::uint8_t* s, eph_t& e)
{
    e.cic = scaled(getbits(s, 48, 16), -29);
    e.omega0 = scaled(getbits(s, 64, 32), -31) * kSemicircle;
    e.cis = scaled(getbits(s, 96, 16), -29);
    e.i0 = scaled(getbits(s, 112, 32), -31) * kSemicircle;
    e.crc = scaled(getbits(s, 144, 16), -5);
    e.omega = scaled(getbits(s, 160, 32), -31) * kSemicircle;
    e.omega_dot = scaled(getbits(s, 192, 24), -43) * kSemicircle;
    e.idot = scaled(getbits(s, 224, 14), -43) * kSemicircle;
}

// The week that ends in these ten bits and lies nearest the reference; of two the earlier one.
std::int64_t full_week(int ten_bits, std::uint32_t reference)
{
    const std::int64_t ref = reference;
    const std::int64_t back = (ref - ten_bits) & 1023;
    const std::int64_t week = ref - back;
    return back > 512 || week < 0 ? week + 1024 : week;
}

}   // namespace

subframes_t read_subframes(const std::uint8_t* body)
{
    subframes_t out{};
    out.prn = wire::u32(body);
    read_subframe1(body + 12, out);
    read_subframe2(body + 42, out.eph);
    read_subframe3(body + 72, out.eph);
    out.week = full_week(out.ten_bit_week, wire::u32(body + 4));
    out.eph.week = static_cast<std::uint16_t>(out.week);
    return out;
}

}   // namespace korvex
