#include "sky/subframes.h"

#include <cmath>

#include "gnss/log/subframes.h"
#include "rtk_gnss.h"

namespace sky {

namespace {

struct field_t {
    int subframe;
    int bit, bits;   // within the subframe's 240 bits
    double kepler_set_t::*value;
    int exponent;   // of the scale factor, a power of two
    bool angle;     // in semicircles
};

// clang-format off
const field_t kFields[] = {
    // subframe, bit, bits, value,         exponent, angle
    {1, 160,  8, &kepler_set_t::tgd,       -31, false},
    {1, 176, 16, &kepler_set_t::toc,         4, false},
    {1, 192,  8, &kepler_set_t::af2,       -55, false},
    {1, 200, 16, &kepler_set_t::af1,       -43, false},
    {1, 216, 22, &kepler_set_t::af0,       -31, false},
    {2,  56, 16, &kepler_set_t::crs,        -5, false},
    {2,  72, 16, &kepler_set_t::delta_n,   -43, true},
    {2,  88, 32, &kepler_set_t::M0,        -31, true},
    {2, 120, 16, &kepler_set_t::cuc,       -29, false},
    {2, 136, 32, &kepler_set_t::e,         -33, false},
    {2, 168, 16, &kepler_set_t::cus,       -29, false},
    {2, 184, 32, &kepler_set_t::sqrtA,     -19, false},
    {2, 216, 16, &kepler_set_t::toe,         4, false},
    {3,  48, 16, &kepler_set_t::cic,       -29, false},
    {3,  64, 32, &kepler_set_t::omega0,    -31, true},
    {3,  96, 16, &kepler_set_t::cis,       -29, false},
    {3, 112, 32, &kepler_set_t::i0,        -31, true},
    {3, 144, 16, &kepler_set_t::crc,        -5, false},
    {3, 160, 32, &kepler_set_t::omega,     -31, true},
    {3, 192, 24, &kepler_set_t::omega_dot, -43, true},
    {3, 224, 14, &kepler_set_t::idot,      -43, true},
};
// clang-format on

}   // namespace

double on_grid(double value, int exponent)
{
    return std::ldexp(std::round(std::ldexp(value, -exponent)), exponent);
}

double angle_on_grid(double angle, int exponent)
{
    return on_grid(wrap(angle) / korvex::kSemicircle, exponent) * korvex::kSemicircle;
}

std::array<std::uint8_t, 3 * kSubframeBytes> pack_subframes(const kepler_set_t& set, int tow)
{
    std::array<std::uint8_t, 3 * kSubframeBytes> out{};
    for (int id = 1; id <= 3; ++id) {
        std::uint8_t* frame = out.data() + (id - 1) * kSubframeBytes;
        setbitu(frame, 0, 8, 0x8B);                                               // preamble
        setbitu(frame, 24, 17, static_cast<unsigned>((tow / 6 + id) % 100800));   // start of the next subframe
        setbitu(frame, 43, 3, static_cast<unsigned>(id));
    }
    for (const field_t& f : kFields) {
        const double scaled = std::ldexp(f.angle ? set.*f.value / korvex::kSemicircle : set.*f.value, -f.exponent);
        setbitu(out.data() + (f.subframe - 1) * kSubframeBytes, f.bit, f.bits,
                static_cast<unsigned>(std::llround(scaled)));
    }
    const unsigned issue = static_cast<unsigned>(set.issue);
    setbitu(out.data(), 48, 10, static_cast<unsigned>(set.week) % 1024);
    setbitu(out.data(), 58, 2, 1);   // P code on L2
    setbitu(out.data(), 60, 4, kAccuracyIndex);
    setbitu(out.data(), 70, 2, issue >> 8);
    setbitu(out.data(), 168, 8, issue);
    setbitu(out.data() + kSubframeBytes, 48, 8, issue);
    setbitu(out.data() + 2 * kSubframeBytes, 216, 8, issue);
    return out;
}

}   // namespace sky
