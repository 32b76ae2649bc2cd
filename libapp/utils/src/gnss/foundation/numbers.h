/// @file numbers.h  Doubles to integers without undefined behaviour: out-of-range values stop at the ends, NaN is 0.
#ifndef RTK_NUMBERS_H
#define RTK_NUMBERS_H

#include <cmath>
#include <limits>

/// Integer part, truncated toward zero.
inline int int_part(double x)
{
    if (std::isnan(x)) return 0;
    if (x >= 2147483647.0) return std::numeric_limits<int>::max();
    if (x <= -2147483648.0) return std::numeric_limits<int>::min();
    return static_cast<int>(x);
}

/// Nearest float; beyond its range an infinity.
inline float to_float(double x)
{
    constexpr double kMax = std::numeric_limits<float>::max();
    if (x > kMax) return std::numeric_limits<float>::infinity();
    if (x < -kMax) return -std::numeric_limits<float>::infinity();
    return static_cast<float>(x);
}

#endif
