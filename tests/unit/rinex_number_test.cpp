// The two hot number formats of RINEX files against their definitions in C formats. What is no number, and other counts
// of digits, are kept by a digest.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>
#include <string>

#include "gnss/rinex/nav_number.h"

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();

std::string navigation(double value, int digits)
{
    rinex::text_buffer_t<64> out;
    rinex::put_nav_number(out, value, digits);
    return std::string(out.view());
}

// log10, floor, pow and printf: what the format is.
std::string defined_navigation(double value, int digits)
{
    volatile double ten = 10.0;   // pow is to be called, not folded
    const double x = std::fabs(value);
    double exponent = 0.0, scale = -digits;
    if (!(x < 1e-99)) {
        exponent = std::floor(std::log10(x) + 1);
        scale = exponent - digits;
    }
    char text[64];
    std::snprintf(text, sizeof text, "%s.%0*.0fE%+03.0f", value < 0.0 ? "-0" : " 0", digits, x / std::pow(ten, scale),
                  exponent);
    return text;
}

std::string observation(double value)
{
    rinex::text_buffer_t<24> text;
    text.observation(value);
    return std::string(text.view());
}

std::string defined_observation(double value)
{
    char text[24];
    std::snprintf(text, sizeof text, "%14.3f", value);
    return text;
}

}   // namespace

TEST(RinexNumbers, WhatDoesNotFitIsLeftOut)
{
    rinex::text_buffer_t<20> text;
    text.observation(-1.0).observation(1.0).put('x');
    EXPECT_EQ("        -1.000      ", text.view());
    EXPECT_EQ(nullptr, text.columns(1));
}

TEST(RinexNumbers, AsDefined)
{
    const auto check = [](double x, int digits) {
        for (const double signed_x : {x, -x}) {
            ASSERT_EQ(defined_navigation(signed_x, digits), navigation(signed_x, digits)) << std::hexfloat << x;
            if (std::fabs(x) < 1e9)
                ASSERT_EQ(defined_observation(signed_x), observation(signed_x)) << std::hexfloat << x;
        }
    };
    for (const double x : {0.0, 0.0004, 0.0005, 999999999.9994, 999999999.9996}) check(x, 12);
    // Below every power up to a hundred doubles already have the logarithm of the power.
    for (int e = -98; e <= 100; ++e) {
        double x = std::strtod(("1e" + std::to_string(e)).c_str(), nullptr);
        for (int i = 0; i < 200; ++i) x = std::nextafter(x, 0.0);
        for (int i = 0; i <= 400; ++i, x = std::nextafter(x, kInf)) check(x, i % 2 == 0 ? 12 : 4);
    }
    std::mt19937_64 random(1);
    const auto uniform = [&random](double a, double b) { return std::uniform_real_distribution(a, b)(random); };
    for (int i = 0; i < 100000; ++i) {
        const double whole = std::floor(uniform(0.0, 1e12));
        const double values[] = {
            std::bit_cast<double>(random()),                         // any bits
            std::bit_cast<double>(random() & 0x000FFFFFFFFFFFFFU),   // denormals
            std::pow(10.0, uniform(-20.0, 12.0)),                    // the size of broadcast parameters
            std::ldexp(std::floor(uniform(-2e9, 2e9)), -(i % 56)),   // integers scaled by powers of two
            std::nextafter((whole + 0.5) * 1e-12, i % 2),            // next to a tie of the last digit
            std::nextafter((std::floor(whole * 1e-3) + 0.5) * 1e-3, i % 2 * 1e12),
            (2.0 * std::floor(whole * 1e-3) + 1.0) / 16.0,               // a tie of the third decimal
            std::pow(10.0, i % 40 - 20) * (1.0 - uniform(0.0, 1e-12)),   // the mantissa rounds up or nearly so
            double(float(uniform(-1e7, 1e7))),
        };
        for (const double x : values)
            if (std::isfinite(x)) check(x, i % 4 == 0 ? 1 + i % 15 : 12);
    }
}
