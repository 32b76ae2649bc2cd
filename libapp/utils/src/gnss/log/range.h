/// @file range.h  Range messages: their records as sent, and the epoch that the record keeps of them.
#ifndef RTK_LOG_RANGE_H
#define RTK_LOG_RANGE_H

#include <cstdint>

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

range_t read_range(const std::uint8_t* p);

/// The accumulated Doppler range is as sent: see unrolled_phase().
range_t read_compressed_range(const std::uint8_t* p);

/// Phase (cycles) from an accumulated Doppler range without its multiples of 2^23 cycles, which the pseudorange tells.
double unrolled_phase(double pseudorange, double wavelength, double adr);

// ---- The record's share ----

/// Store the observations of a message into the epoch of the record; results as decode_result_t.
int decode_range(raw_t* raw, const std::uint8_t* body);
int decode_range_compressed(raw_t* raw, const std::uint8_t* body);

}   // namespace korvex

#endif
