// Records of the two range messages.
#ifndef RTK_KORVEX_RANGE_H
#define RTK_KORVEX_RANGE_H

#include <cstdint>

namespace korvex {

/// One signal of a range message, plain or compressed.
struct range_t {
    int prn;                // receiver PRN
    std::int8_t channel;    // GLONASS frequency channel
    double pseudorange;     // m
    double adr;             // accumulated Doppler range (cycles), sign opposite to RINEX phase
    float doppler;          // Hz
    float cn0;              // dB-Hz
    float locktime;         // s
    std::uint32_t status;   // channel tracking status
};

inline constexpr int kCountSize = 4;              // number of records, u32
inline constexpr int kRangeSize = 44;             // bytes a record
inline constexpr int kRangeCompressedSize = 24;   // bytes a record

range_t read_range(const std::uint8_t* p);
range_t read_compressed_range(const std::uint8_t* p);

/// Phase (cycles) from an accumulated Doppler range that rolls over every 2^23 cycles.
double unrolled_phase(double pseudorange, double wavelength, double adr);

}   // namespace korvex

#endif
