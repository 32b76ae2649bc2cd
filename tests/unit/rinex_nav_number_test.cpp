// The number format of navigation files against its definition in C formats.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <random>
#include <string>

#include "gnss/rinex/nav_number.h"
#include "rtk_gnss.h"

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();

std::string printed(double value, int digits)
{
    rinex::text_buffer_t<64> out;
    rinex::put_nav_number(out, value, digits);
    return std::string(out.view());
}

/// log10, floor, pow and printf: what the format is.
std::string defined(double value, int digits)
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

TEST(RinexNavNumber, HandWorkedExamples)
{
    struct {
        double value;
        int digits;
        const char* text;
    } const kCases[] = {
        {0.0, 12, " 0.000000000000E+00"},
        {-0.0, 12, " 0.000000000000E+00"},
        {1.0, 12, " 0.100000000000E+01"},
        {-1.5e-9, 12, "-0.150000000000E-08"},
        {0.9999999999999, 12, " 0.1000000000000E+00"},   // rounds up: one digit more, the exponent stays
        {9.99e-100, 12, " 0.000000000000E+00"},
        {-9.99e-100, 12, "-0.000000000000E+00"},
        {5e-324, 12, " 0.000000000000E+00"},
        {1e100, 12, " 0.100000000000E+101"},
        {1.7976931348623157e308, 12, " 0.179769313486E+309"},
        {1.1176e-08, 4, " 0.1118E-07"},
        {-5.9605e-08, 4, "-0.5960E-07"},
        {99999.0, 4, " 0.10000E+05"},
        {std::nan(""), 12, " 0.000000000000E+00"},
        {kInf, 12, " 0.000000000000E+00"},
        {-kInf, 4, " 0.0000E+00"},
    };
    for (const auto& c : kCases) EXPECT_EQ(c.text, printed(c.value, c.digits)) << c.value;
}

TEST(RinexNavNumber, NeighboursOfPowersOfTen)
{
    // Below every power up to a hundred doubles already have the logarithm of the power.
    constexpr int kSteps = 200;
    for (int e = -98; e <= 100; ++e) {
        double x = std::strtod(("1e" + std::to_string(e)).c_str(), nullptr);
        for (int i = 0; i < kSteps; ++i) x = std::nextafter(x, 0.0);
        for (int i = 0; i <= 2 * kSteps; ++i, x = std::nextafter(x, kInf)) {
            for (const int digits : {12, 4}) {
                ASSERT_EQ(defined(x, digits), printed(x, digits)) << e << " " << std::hexfloat << x;
                ASSERT_EQ(defined(-x, digits), printed(-x, digits)) << e << " " << std::hexfloat << x;
            }
        }
    }
}

TEST(RinexNavNumber, DoublesOfEveryKind)
{
    std::mt19937_64 random(1);
    const auto uniform = [&random](double a, double b) { return std::uniform_real_distribution(a, b)(random); };
    for (int i = 0; i < 200000; ++i) {
        const double whole = std::floor(uniform(0.0, 1e12));
        const double values[] = {
            std::bit_cast<double>(random()),                         // any bits
            std::pow(10.0, uniform(-20.0, 12.0)),                    // the size of broadcast parameters
            std::ldexp(std::floor(uniform(-2e9, 2e9)), -(i % 56)),   // as broadcast: integers scaled by powers of two
            std::nextafter((whole + 0.5) * 1e-12, i % 2),            // next to a tie of the last digit
            std::pow(10.0, i % 40 - 20) * (1.0 - uniform(0.0, 1e-12)),   // the mantissa rounds up or nearly so
            std::bit_cast<double>(random() & 0x000FFFFFFFFFFFFFU),       // denormals
            double(float(uniform(-1e7, 1e7))),
        };
        for (const double x : values) {
            if (!std::isfinite(x)) continue;
            ASSERT_EQ(defined(x, 12), printed(x, 12)) << std::hexfloat << x;
            if (i % 4 == 0) ASSERT_EQ(defined(x, 1 + i % 15), printed(x, 1 + i % 15)) << std::hexfloat << x;
        }
    }
}

TEST(RinexNavNumber, WritesToTheStream)
{
    EXPECT_EQ(0, WriteRinexNavNum(nullptr, 1.0, 12));
    char text[64] = {};
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(fmemopen(text, sizeof text, "w"), std::fclose);
    EXPECT_EQ(1, WriteRinexNavNum(file.get(), -2.5, 12));
    EXPECT_EQ(1, WriteRinexNavNum(file.get(), 2.5, 4));
    EXPECT_EQ(1, WriteRinexNavNum(file.get(), 123.0, -7));     // held to one digit
    EXPECT_EQ(1, WriteRinexNavNum(file.get(), 123.0, 1000));   // and to fifteen
    std::fflush(file.get());
    EXPECT_STREQ("-0.250000000000E+01 0.2500E+01 0.1E+03 0.123000000000000E+03", text);
}

}   // namespace
