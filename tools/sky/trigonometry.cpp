#include "sky/trigonometry.h"

#include <cmath>

namespace sky {

namespace {

double sin_near_zero(double x)
{
    const double z = x * x;
    const double p =
        8.33333333332248946124e-03 +
        z * (-1.98412698298579493134e-04 +
             z * (2.75573137070700676789e-06 + z * (-2.50507602534068634195e-08 + z * 1.58969099521155010221e-10)));
    return x + x * z * (-1.66666666666666324348e-01 + z * p);
}

double cos_near_zero(double x)
{
    const double z = x * x;
    const double p = 4.16666666666666019037e-02 +
                     z * (-1.38888888888741095749e-03 +
                          z * (2.48015872894767294178e-05 +
                               z * (-2.75573143513906633035e-07 +
                                    z * (2.08757232129817482790e-09 - z * 1.13596475577881948265e-11))));
    return 1.0 - (0.5 * z - z * z * p);
}

}   // namespace

sin_cos_t sin_cos(double x)
{
    constexpr double kHalfPiHigh = 1.57079632673412561417;   // 33 bits: its small multiples are exact
    constexpr double kHalfPiLow = 6.07710050650619224932e-11;
    const double quarter = std::floor(x * (2.0 / kPi) + 0.5);
    const double r = (x - quarter * kHalfPiHigh) - quarter * kHalfPiLow;
    const double s = sin_near_zero(r);
    const double c = cos_near_zero(r);
    switch (static_cast<long>(quarter) & 3) {
        case 0:
            return {s, c};
        case 1:
            return {c, -s};
        case 2:
            return {-s, -c};
        default:
            return {-c, s};
    }
}

double wrap(double angle)
{
    return angle - 2.0 * kPi * std::floor(angle / (2.0 * kPi) + 0.5);
}

}   // namespace sky
