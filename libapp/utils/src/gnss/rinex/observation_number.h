/// @file observation_number.h  "%14.3f", the number of observation records, straight into its columns.
#ifndef RTK_RINEX_OBSERVATION_NUMBER_H
#define RTK_RINEX_OBSERVATION_NUMBER_H

#include <cmath>
#include <cstdint>

#include "gnss/rinex/digits.h"

namespace rinex {

inline constexpr int kValueWidth = 14;

/// |value| * 1000 as an integer, rounded as printf rounds: exactly, ties to even.
/// @param magnitude  below 1e12; to 1e15 the result is beyond all columns, if not exact
inline std::uint64_t thousandths(double magnitude)
{
    const double product = magnitude * 1000.0;
    double n = nearest_whole(product);
    const double d = product - n;
    if (std::fabs(d) == 0.5) {   // the product itself was rounded: its residual decides
        const double r = std::fma(magnitude, 1000.0, -product);
        if (d > 0.0 && r > 0.0) n += 1.0;
        if (d < 0.0 && r < 0.0) n -= 1.0;
    }
    return static_cast<std::uint64_t>(static_cast<std::int64_t>(n));   // one instruction everywhere
}

/// Of numbers with more than nine digits before the point the 14 columns hold positive ones only.
inline constexpr std::uint64_t kTenDigits = 1'000'000'000'000;   // thousandths

/// Prints a number below that. Nothing is read back: a load behind smaller stores would wait for all of them.
/// @param columns  14 blanks
inline void put_thousandths(char* columns, std::uint64_t n, bool negative)
{
    auto whole = static_cast<std::uint32_t>(n / 1000);   // divisions of 32 bits take half the time
    const auto decimals = static_cast<std::uint32_t>(n - std::uint64_t{whole} * 1000);
    char* at = columns + kValueWidth - 4;
    at[0] = '.';
    at[1] = static_cast<char>('0' + decimals / 100);
    put_pair(at + 2, decimals % 100);
    for (; whole >= 100; whole /= 100) put_pair(at -= 2, whole % 100);
    if (whole >= 10) {
        put_pair(at -= 2, whole);
    } else {
        *--at = static_cast<char>('0' + whole);
    }
    if (negative) *--at = '-';
}

/// Prints a value of up to nine digits before the point.
/// @param columns  14 blanks
/// @return false: it is wider, the columns are left as they are
inline bool put_observation(char* columns, double value)
{
    const std::uint64_t n = thousandths(std::fabs(value));
    if (n >= kTenDigits) return false;
    put_thousandths(columns, n, std::signbit(value));
    return true;
}

}   // namespace rinex

#endif
