/// @file observation_number.h  "%14.3f", the number of observation records, straight into its columns.
#ifndef RTK_RINEX_OBSERVATION_NUMBER_H
#define RTK_RINEX_OBSERVATION_NUMBER_H

#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>

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

/// The point and the three digits behind it.
inline constexpr auto kDecimals = [] {
    std::array<std::array<char, 4>, 1000> decimals{};
    for (std::size_t i = 0; i < 1000; ++i) {
        const auto digit = [](std::size_t n) { return static_cast<char>('0' + n % 10); };
        decimals[i] = {'.', digit(i / 100), digit(i / 10), digit(i)};
    }
    return decimals;
}();

/// Prints a whole number that has one or two digits in front of so many pairs of them. Scaled to a fraction of the
/// first digits, each product with 100 brings the next pair before the point: no division, no difference.
/// @param end  of its columns
/// @return its first digit
template <int Pairs>
char* put_whole(char* end, std::uint32_t n)
{
    constexpr std::uint64_t kPowers[] = {1, 100, 10'000, 1'000'000, 100'000'000};
    constexpr int kShifts[] = {0, 0, 0, 16, 25};   // bits more than 32 that the scale needs, and there is room for
    constexpr int kShift = kShifts[Pairs];
    constexpr std::uint64_t kScale = ((std::uint64_t{1} << (32 + kShift)) + kPowers[Pairs] - 1) / kPowers[Pairs];
    std::uint64_t scaled = (n * kScale >> kShift) + (Pairs == 4);   // never below the number, by less than a last digit
    char* const pairs = end - 2 * Pairs;
    const std::uint64_t leading = scaled >> 32;
    for (char* to = pairs; to != end; to += 2) {
        scaled = (scaled & 0xFFFFFFFF) * 100;
        put_pair(to, scaled >> 32);
    }
    if (leading >= 10) {
        put_pair(pairs - 2, leading);
        return pairs - 2;
    }
    pairs[-1] = static_cast<char>('0' + leading);
    return pairs - 1;
}

/// Of numbers with more than nine digits before the point the 14 columns hold positive ones only.
inline constexpr std::uint64_t kTenDigits = 1'000'000'000'000;   // thousandths

/// Prints a number below that. Nothing is read back: a load behind smaller stores would wait for all of them.
/// @param columns  14 blanks
inline void put_thousandths(char* columns, std::uint64_t n, bool negative)
{
    const auto whole = static_cast<std::uint32_t>(n / 1000);
    char* const point = columns + kValueWidth - 4;
    std::memcpy(point, kDecimals[n - std::uint64_t{whole} * 1000].data(), 4);
    char* const first = whole >= 100'000'000 ? put_whole<4>(point, whole)
                        : whole >= 1'000'000 ? put_whole<3>(point, whole)
                        : whole >= 10'000    ? put_whole<2>(point, whole)
                        : whole >= 100       ? put_whole<1>(point, whole)
                                             : put_whole<0>(point, whole);
    if (negative) first[-1] = '-';
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
