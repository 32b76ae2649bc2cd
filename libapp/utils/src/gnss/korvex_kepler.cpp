#include "korvex_kepler.h"

#include <cmath>

#include "wire.h"

// clang-format off: the readers are layout tables
namespace korvex {

namespace {

// What the GPS message and its two relatives have in common: body 0..171.
kepler_t read_common(const std::uint8_t* b)
{
    kepler_t k{};
    eph_t& e = k.eph;
    k.prn = wire::u32(b + 0);
    e.health = static_cast<std::uint8_t>(wire::u32(b + 12) & 1);   // Deliberate: only bit 0 is kept.
    e.iode = static_cast<std::int16_t>(wire::u16(b + 20));
    k.week = wire::u32(b + 24);
    e.week = wire::u16(b + 24);
    e.toe = wire::f64(b + 32);
    e.A = wire::f64(b + 40);
    e.delta_n = wire::f64(b + 48);
    e.M0 = wire::f64(b + 56);
    e.e = wire::f64(b + 64);
    e.omega = wire::f64(b + 72);
    e.cuc = wire::f64(b + 80);
    e.cus = wire::f64(b + 88);
    e.crc = wire::f64(b + 96);
    e.crs = wire::f64(b + 104);
    e.cic = wire::f64(b + 112);
    e.cis = wire::f64(b + 120);
    e.i0 = wire::f64(b + 128);
    e.idot = wire::f64(b + 136);
    e.omega0 = wire::f64(b + 144);
    e.omega_dot = wire::f64(b + 152);
    e.iodc = static_cast<std::int16_t>(wire::u16(b + 160));
    e.toc = wire::f64(b + 164);
    return k;
}

}   // namespace

kepler_t read_gps_ephemeris(const std::uint8_t* b)
{
    kepler_t k = read_common(b);
    k.eph.tgd = wire::f64(b + 172);
    k.eph.af0 = wire::f64(b + 180);
    k.eph.af1 = wire::f64(b + 188);
    k.eph.af2 = wire::f64(b + 196);
    k.eph.ura_index = accuracy_index(std::sqrt(wire::f64(b + 216)));
    return k;
}

kepler_t read_qzss_ephemeris(const std::uint8_t* b)
{
    kepler_t k = read_gps_ephemeris(b);
    k.eph.fit = b[224];
    return k;
}

kepler_t read_bds_ephemeris2(const std::uint8_t* b)
{
    kepler_t k = read_common(b);
    k.eph.tgd = wire::f64(b + 172);
    k.eph.tgd2 = wire::f64(b + 180);
    k.eph.af0 = wire::f64(b + 188);
    k.eph.af1 = wire::f64(b + 196);
    k.eph.af2 = wire::f64(b + 204);
    k.eph.ura_index = accuracy_index(std::sqrt(wire::f64(b + 224)));
    return k;
}

kepler_t read_bds_ephemeris(const std::uint8_t* b)
{
    kepler_t k{};
    eph_t& e = k.eph;
    k.prn = wire::u32(b + 0);
    k.week = std::uint64_t{wire::u32(b + 4)} + kBdsWeekOffset;
    e.week = static_cast<std::uint16_t>(k.week);
    e.ura_index = accuracy_index(wire::f64(b + 8));
    e.health = static_cast<std::uint8_t>(wire::u32(b + 16) & 1);
    e.tgd = wire::f64(b + 20);
    e.tgd2 = wire::f64(b + 28);
    e.iodc = static_cast<std::int16_t>(wire::u16(b + 36));   // AODC
    e.toc = wire::u32(b + 40);
    e.af0 = wire::f64(b + 44);
    e.af1 = wire::f64(b + 52);
    e.af2 = wire::f64(b + 60);
    e.iode = static_cast<std::int16_t>(wire::u16(b + 68));   // AODE
    e.toe = wire::u32(b + 72);
    const double sqrt_a = wire::f64(b + 76);
    e.A = sqrt_a * sqrt_a;
    e.e = wire::f64(b + 84);
    e.omega = wire::f64(b + 92);
    e.delta_n = wire::f64(b + 100);
    e.M0 = wire::f64(b + 108);
    e.omega0 = wire::f64(b + 116);
    e.omega_dot = wire::f64(b + 124);
    e.i0 = wire::f64(b + 132);
    e.idot = wire::f64(b + 140);
    e.cuc = wire::f64(b + 148);
    e.cus = wire::f64(b + 156);
    e.crc = wire::f64(b + 164);
    e.crs = wire::f64(b + 172);
    e.cic = wire::f64(b + 180);
    e.cis = wire::f64(b + 188);
    return k;
}

std::uint16_t accuracy_index(double sigma)
{
    // Deliberate: the bounds with a fraction are single precision, so 2.8 itself lies above its bound.
    constexpr double kBounds[] = {1, 2.8f, 4, 5.7f, 8, 11.3f, 16, 32, 64, 128, 256, 512, 1024, 2048, 4096};
    constexpr std::uint16_t kNone = 15;
    if (!(sigma >= 0.0)) return kNone;
    std::uint16_t index = 0;
    for (const double bound : kBounds) {
        if (sigma <= bound) return index;
        ++index;
    }
    return kNone;
}

}   // namespace korvex
