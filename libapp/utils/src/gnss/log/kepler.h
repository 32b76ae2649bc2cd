/// @file kepler.h  Ephemeris messages with Keplerian elements, as sent: GPS, QZSS and BeiDou.
#ifndef RTK_LOG_KEPLER_H
#define RTK_LOG_KEPLER_H

#include <cstdint>

namespace korvex {

// Body sizes (bytes).
inline constexpr int kGpsEphemerisSize = 224;
inline constexpr int kQzssEphemerisSize = 228;
inline constexpr int kBdsEphemerisSize = 196;
inline constexpr int kBdsEphemerisSecondSize = 232;

/// Orbit at a reference time, alike in every message.
struct orbit_t {
    double toe;                        // reference time, s of week
    double e;                          // eccentricity
    double i0, omega0, omega, M0;      // rad
    double delta_n, omega_dot, idot;   // rad/s
    double crc, crs;                   // m
    double cuc, cus, cic, cis;         // rad
};

/// A message as it was sent: the fields that are known, whole. Times of BeiDou messages 1696 are BeiDou time.
struct kepler_t {
    std::uint32_t prn;      // receiver PRN
    std::uint32_t week;     // of toe: GPS week; message 1696: BeiDou week
    double tow;             // time of the message, s of week; message 1696: 0, not sent
    std::uint32_t health;   // all bits
    std::uint32_t iode;     // BeiDou: AODE
    std::uint32_t iodc;     // BeiDou: AODC
    orbit_t orbit;
    double A;               // semi-major axis (m); message 1696: 0
    double sqrt_A;          // its root (m^0.5); message 1696 only, else 0
    double toc;             // s of week
    double af0, af1, af2;   // s, s/s, s/s^2
    double tgd, tgd2;       // s; tgd2: BeiDou
    double ura;             // variance (m^2); message 1696: standard deviation (m)
    std::uint8_t fit;       // fit interval; message 1336 only, else 0
};

kepler_t read_gps_ephemeris(const std::uint8_t* body);          // 7
kepler_t read_qzss_ephemeris(const std::uint8_t* body);         // 1336
kepler_t read_bds_ephemeris(const std::uint8_t* body);          // 1696
kepler_t read_bds_ephemeris_second(const std::uint8_t* body);   // 1047

}   // namespace korvex

#endif
