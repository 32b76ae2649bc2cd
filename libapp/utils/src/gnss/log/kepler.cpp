#include "gnss/log/kepler.h"

#include "gnss/foundation/wire.h"

// Each reader is a layout table: field, place in the body, unit.
// clang-format off
namespace korvex {

namespace {

// What the GPS message and its two relatives have in common: body 0..171.
kepler_t read_common(const std::uint8_t* b)
{
    kepler_t k{};
    k.prn             = wire::u32(b +   0);
    k.tow             = wire::f64(b +   4);   // s of week
    k.health          = wire::u32(b +  12);
    k.iode            = wire::u32(b +  20);
    k.week            = wire::u32(b +  24);
    k.orbit.toe       = wire::f64(b +  32);   // s of week
    k.A               = wire::f64(b +  40);   // m
    k.orbit.delta_n   = wire::f64(b +  48);   // rad/s
    k.orbit.M0        = wire::f64(b +  56);   // rad
    k.orbit.e         = wire::f64(b +  64);
    k.orbit.omega     = wire::f64(b +  72);   // rad
    k.orbit.cuc       = wire::f64(b +  80);   // rad
    k.orbit.cus       = wire::f64(b +  88);   // rad
    k.orbit.crc       = wire::f64(b +  96);   // m
    k.orbit.crs       = wire::f64(b + 104);   // m
    k.orbit.cic       = wire::f64(b + 112);   // rad
    k.orbit.cis       = wire::f64(b + 120);   // rad
    k.orbit.i0        = wire::f64(b + 128);   // rad
    k.orbit.idot      = wire::f64(b + 136);   // rad/s
    k.orbit.omega0    = wire::f64(b + 144);   // rad
    k.orbit.omega_dot = wire::f64(b + 152);   // rad/s
    k.iodc            = wire::u32(b + 160);
    k.toc             = wire::f64(b + 164);   // s of week
    return k;
}

}   // namespace

kepler_t read_gps_ephemeris(const std::uint8_t* b)
{
    kepler_t k = read_common(b);
    k.tgd = wire::f64(b + 172);   // s
    k.af0 = wire::f64(b + 180);   // s
    k.af1 = wire::f64(b + 188);   // s/s
    k.af2 = wire::f64(b + 196);   // s/s^2
    k.ura = wire::f64(b + 216);   // m^2
    return k;
}

kepler_t read_qzss_ephemeris(const std::uint8_t* b)
{
    kepler_t k = read_gps_ephemeris(b);
    k.fit = b[224];
    return k;
}

kepler_t read_bds_ephemeris_second(const std::uint8_t* b)
{
    kepler_t k = read_common(b);
    k.tgd  = wire::f64(b + 172);   // s
    k.tgd2 = wire::f64(b + 180);   // s
    k.af0  = wire::f64(b + 188);   // s
    k.af1  = wire::f64(b + 196);   // s/s
    k.af2  = wire::f64(b + 204);   // s/s^2
    k.ura  = wire::f64(b + 224);   // m^2
    return k;
}

kepler_t read_bds_ephemeris(const std::uint8_t* b)
{
    kepler_t k{};
    k.prn             = wire::u32(b +   0);
    k.week            = wire::u32(b +   4);   // BeiDou week
    k.ura             = wire::f64(b +   8);   // m
    k.health          = wire::u32(b +  16);
    k.tgd             = wire::f64(b +  20);   // s
    k.tgd2            = wire::f64(b +  28);   // s
    k.iodc            = wire::u32(b +  36);   // AODC
    k.toc             = wire::u32(b +  40);   // s of BeiDou week
    k.af0             = wire::f64(b +  44);   // s
    k.af1             = wire::f64(b +  52);   // s/s
    k.af2             = wire::f64(b +  60);   // s/s^2
    k.iode            = wire::u32(b +  68);   // AODE
    k.orbit.toe       = wire::u32(b +  72);   // s of BeiDou week
    k.sqrt_A          = wire::f64(b +  76);   // m^0.5
    k.orbit.e         = wire::f64(b +  84);
    k.orbit.omega     = wire::f64(b +  92);   // rad
    k.orbit.delta_n   = wire::f64(b + 100);   // rad/s
    k.orbit.M0        = wire::f64(b + 108);   // rad
    k.orbit.omega0    = wire::f64(b + 116);   // rad
    k.orbit.omega_dot = wire::f64(b + 124);   // rad/s
    k.orbit.i0        = wire::f64(b + 132);   // rad
    k.orbit.idot      = wire::f64(b + 140);   // rad/s
    k.orbit.cuc       = wire::f64(b + 148);   // rad
    k.orbit.cus       = wire::f64(b + 156);   // rad
    k.orbit.crc       = wire::f64(b + 164);   // m
    k.orbit.crs       = wire::f64(b + 172);   // m
    k.orbit.cic       = wire::f64(b + 180);   // rad
    k.orbit.cis       = wire::f64(b + 188);   // rad
    return k;
}

}   // namespace korvex
