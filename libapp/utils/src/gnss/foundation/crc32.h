/// @file crc32.h  CRC-32 of logs, dumps and device messages, the fastest way that the processor has.
///
/// A library that compiles the source for itself keeps these names to itself.
#ifndef RTK_CRC32_H
#define RTK_CRC32_H

#include <cstdint>
#include <span>

#pragma GCC visibility push(hidden)

namespace checksum {

inline constexpr std::uint32_t kPolynomial = 0xEDB88320;   // reflected: the highest bit is the coefficient of x^0

/// CRC-32 with initial value 0 and no final inversion.
///
/// @param data  bytes; may be null when len is below 1
/// @param len   number of bytes
/// @return checksum, 0 when len is below 1
using crc32_t = std::uint32_t(const unsigned char* data, int len) noexcept;

/// The fastest way. May be called at any time, also before the program's variables are initialised.
crc32_t crc32;

/// One way of several, all with the same results.
struct way_t {
    const char* name;
    bool (*available)() noexcept;   // on this processor
    crc32_t* crc32;
};

/// Every way that is compiled for this architecture, the fastest first; the last is available everywhere.
std::span<const way_t> ways() noexcept;

}   // namespace checksum

#pragma GCC visibility pop

#endif
