/// @file range.h  Range messages: their records as sent, and the epoch that the record keeps of them.
#ifndef RTK_LOG_RANGE_H
#define RTK_LOG_RANGE_H

#include <cstdint>

#include "gnss/foundation/wire.h"

struct raw_t;

namespace korvex {

/// One signal of a range message, plain or compressed.
struct range_t {
    int prn;                    // receiver PRN
    int channel;                // GLONASS frequency channel
    double pseudorange;         // m
    double pseudorange_sigma;   // m, 0: not sent
    double adr;                 // accumulated Doppler range (cycles), sign opposite to RINEX phase
    double adr_sigma;           // cycles, 0: not sent
    double doppler;             // Hz
    double cn0;                 // dB-Hz
    double locktime;            // s
    std::uint32_t status;       // channel tracking status
};

inline constexpr int kCountSize = 4;              // number of records, u32
inline constexpr int kRangeSize = 44;             // bytes a record
inline constexpr int kRangeCompressedSize = 24;   // bytes a record

inline constexpr int kAtDoppler = 28, kAtLocktime = 36;   // of the plain record

// Each reader is a layout table: field, place in the body, unit.
// clang-format off
inline range_t read_range(const std::uint8_t* p)
{
    range_t r;
    r.prn               = wire::u16(p +  0);
    r.channel           = wire::u16(p +  2) - 7;
    r.pseudorange       = wire::f64(p +  4);            // m
    r.pseudorange_sigma = wire::f32(p + 12);            // m
    r.adr               = wire::f64(p + 16);            // cycles
    r.adr_sigma         = wire::f32(p + 24);            // cycles
    r.doppler           = wire::f32(p + kAtDoppler);    // Hz
    r.cn0               = wire::f32(p + 32);            // dB-Hz
    r.locktime          = wire::f32(p + kAtLocktime);   // s
    r.status            = wire::u32(p + 40);
    return r;
}

/// The accumulated Doppler range is as sent: see unrolled_phase().
inline range_t read_compressed_range(const std::uint8_t* p)
{
    range_t r;
    r.status            = wire::u32(p +  0);
    r.doppler           = (wire::i32(p + 4) << 4 >> 4) / 256.0;                  // 28 bits, 1/256 Hz
    r.pseudorange       = (wire::u32(p + 7) >> 4) / 128.0 + p[11] * 2097152.0;   // 36 bits, 1/128 m
    r.pseudorange_sigma = 0.0;
    r.adr               = wire::i32(p + 12) / 256.0;                             // 1/256 cycle
    r.adr_sigma         = 0.0;
    r.prn               = p[17];
    r.locktime          = (wire::u32(p + 18) & 0x1FFFFF) / 32.0;                 // 21 bits, 1/32 s
    r.cn0               = (wire::u16(p + 20) >> 5 & 0x1F) + 20;                  // dB-Hz over 20
    r.channel           = (p[21] >> 2 & 0x3F) - 7;
    return r;
}
// clang-format on

/// Phase (cycles) from an accumulated Doppler range without its multiples of 2^23 cycles, which the pseudorange tells.
double unrolled_phase(double pseudorange, double wavelength, double adr);

// ---- The record's share ----

/// Store the observations of a message into the epoch of the record; results as decode_result_t.
int decode_range(raw_t* raw, const std::uint8_t* body);
int decode_range_compressed(raw_t* raw, const std::uint8_t* body);

}   // namespace korvex

#endif
