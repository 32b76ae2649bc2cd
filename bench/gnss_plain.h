/// @file gnss_plain.h  The hot paths in their straightforward form: the benchmarks' baseline.
///
/// Written for itself and sharing no code with the library but the record, the calendar and satsys().
#ifndef GNSS_PLAIN_H
#define GNSS_PLAIN_H

#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "rtk_gnss.h"

namespace plain {

/// CRC-32 of the receiver log, bit by bit.
std::uint32_t crc32(const std::uint8_t* data, int len);

/// Takes one byte of the receiver log. Decodes the two range messages; other messages set the record's time
/// and give 0.
///
/// @return as input_korvex()
int input_byte(raw_t* raw, std::uint8_t byte);

/// "%14.3f".
///
/// @param to  24 bytes
/// @return characters
std::size_t observation(char* to, double value);
std::size_t observation_fmt(char* to, double value);   ///< by fmt, the format compiled

/// Writes the epoch of a record in RINEX 3 form, one fprintf a field.
void write_epoch3(std::FILE* fp, const raw_t& raw, const rnx_t& opt);

/// The same by compiled fmt into a buffer, and one fwrite.
void write_epoch3_fmt(std::FILE* fp, const raw_t& raw, const rnx_t& opt);

}   // namespace plain

#endif
