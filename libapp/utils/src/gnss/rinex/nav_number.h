/// @file nav_number.h  Number format of navigation files.
#ifndef RTK_RINEX_NAV_NUMBER_H
#define RTK_RINEX_NAV_NUMBER_H

#include <cstddef>

#include "gnss/rinex/text.h"

namespace rinex {

inline constexpr int kRecordDigits = 12;      // mantissa digits of a record's fields, 19 columns
inline constexpr int kIonosphereDigits = 4;   // of the coefficients in header lines, 11 columns

inline constexpr std::size_t kLongestNavNumber = 32;

/// "%s.%0*.0fE%+03.0f": the prefix " 0" or "-0", the mantissa, the exponent. What is not finite is printed as 0.
///
/// @param to      kLongestNavNumber characters
/// @param digits  mantissa digits, held to 1..15. A mantissa that rounds up to the next power of ten has one more
/// @return end of the text
char* write_nav_number(char* to, double value, int digits);

inline void put_nav_number(text_t& out, double value, int digits)
{
    char field[kLongestNavNumber];
    out.put({field, static_cast<std::size_t>(write_nav_number(field, value, digits) - field)});
}

}   // namespace rinex

#endif
