/// @file fixed_point.h  Fortran's Fw.d numbers as integers that count their last digit.
#ifndef RINEX_FIXED_POINT_H
#define RINEX_FIXED_POINT_H

#include <cstdint>

namespace rinex {

/// Reads a field: blanks, perhaps a minus, digits, the point where the format has it, and all decimals. Digits before
/// the point may be missing.
/// @param width at most 18
/// @return false when the field is anything else
inline bool read_fixed(const char* field, int width, int decimals, std::int64_t& value)
{
    const char* const point = field + (width - decimals - 1);
    const char* at = field;
    while (at < point && *at == ' ') ++at;
    const bool negative = at < point && *at == '-';
    at += negative;
    unsigned wrong = *point != '.';
    std::uint64_t n = 0;
    const auto digits_until = [&](const char* end) {
        for (; at < end; ++at) {
            const unsigned digit = static_cast<unsigned char>(*at) - unsigned{'0'};
            wrong |= digit > 9;
            n = n * 10 + digit;
        }
    };
    digits_until(point);
    ++at;
    digits_until(field + width);
    value = negative ? -static_cast<std::int64_t>(n) : static_cast<std::int64_t>(n);
    return wrong == 0;
}

/// Writes a number at the right of a field of blanks, with a digit at least before the point.
/// @return false when it does not fit
inline bool put_fixed(char* field, int width, int decimals, std::int64_t value)
{
    std::uint64_t n = value < 0 ? 0 - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value);
    char* at = field + width;
    const auto put_digit = [&] {
        *--at = static_cast<char>('0' + n % 10);
        n /= 10;
    };
    for (int i = 0; i < decimals; ++i) put_digit();
    *--at = '.';
    do {
        if (at == field) return false;
        put_digit();
    } while (n > 0);
    if (value < 0 && at == field) return false;
    if (value < 0) *--at = '-';
    return true;
}

}   // namespace rinex

#endif
