/// @file digits.h  Decimal digits, two at a time.
#ifndef RTK_RINEX_DIGITS_H
#define RTK_RINEX_DIGITS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace rinex {

/// "00", "01", ... "99".
inline constexpr auto kDigitPairs = [] {
    std::array<char, 200> pairs{};
    for (std::size_t i = 0; i < 100; ++i) {
        pairs[2 * i] = static_cast<char>('0' + i / 10);
        pairs[2 * i + 1] = static_cast<char>('0' + i % 10);
    }
    return pairs;
}();

/// Both digits of a number below 100.
inline void put_pair(char* to, std::uint64_t n)
{
    std::memcpy(to, &kDigitPairs[2 * n], 2);
}

/// The whole number nearest x, below 2^51 in magnitude; ties to even, as printf rounds. Sums with 2^52 are whole.
inline double nearest_whole(double x)
{
    constexpr double kRounder = 4503599627370496.0;
    return (x + kRounder) - kRounder;
}

}   // namespace rinex

#endif
