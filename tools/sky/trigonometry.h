/// @file trigonometry.h  Sine and cosine that give the same bits on every processor.
///
/// The C library picks other instructions, and so other last digits, on other machines. A log must not
/// depend on where it was made.
#ifndef SKY_TRIGONOMETRY_H
#define SKY_TRIGONOMETRY_H

namespace sky {

constexpr double kPi = 3.1415926535897932;
constexpr double kDegree = kPi / 180.0;   // rad

struct sin_cos_t {
    double sin, cos;
};

/// Sine and cosine of an angle.
///
/// @param x  angle (rad), magnitude below 1e5
/// @return both, to 2e-16
/// @note Reduction after Cody and Waite; minimax polynomials of the freely distributable FDLIBM.
sin_cos_t sin_cos(double x);

/// The angle (rad) moved by whole turns into -pi..pi.
double wrap(double angle);

}   // namespace sky

#endif
