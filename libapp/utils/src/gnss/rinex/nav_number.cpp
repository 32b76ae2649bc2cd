#include "gnss/rinex/nav_number.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

#include "gnss/rinex/digits.h"
#include "rtk_gnss.h"

namespace rinex {

namespace {

constexpr int kMostDigits = 15;   // whole numbers with as many are far from the end of the doubles' precision
constexpr double kSmallest = 1e-99;
constexpr double kLargest = std::numeric_limits<double>::max();
constexpr int kLowest = -98 - kMostDigits, kHighest = 309;   // decimal exponents that occur

// The exponent of a number as the format defines it.
int defined_exponent(double x)
{
    return static_cast<int>(std::floor(std::log10(x) + 1.0));
}

struct decade_t {
    double power;   // pow(10, e) as it is at run time: the literals 1e23 and 1e210 are other doubles
    int exponent;   // defined_exponent(power)
    int size;       // of the text
    char text[8];   // "E+00"
};

class decades_t {
public:
    decades_t()
    {
        for (int e = kLowest; e <= kHighest; ++e) decades_[e - kLowest] = make(e);
    }
    const decade_t& operator[](int e) const { return decades_[e - kLowest]; }

private:
    static decade_t make(int e)
    {
        volatile double ten = 10.0;   // keeps the compiler from computing the power itself
        decade_t d = {std::pow(ten, e), 0, 0, "E"};
        if (d.power <= kLargest) d.exponent = defined_exponent(d.power);
        const int size = std::abs(e);
        char* at = d.text + 1;
        *at++ = e < 0 ? '-' : '+';
        if (size >= 100) *at++ = static_cast<char>('0' + size / 100);
        *at++ = static_cast<char>('0' + size / 10 % 10);
        *at++ = static_cast<char>('0' + size % 10);
        d.size = static_cast<int>(at - d.text);
        return d;
    }

    decade_t decades_[kHighest - kLowest + 1];
};
const decades_t kDecades;

constexpr auto kIntegerPowers = [] {
    std::array<std::uint64_t, kMostDigits + 1> powers{1};
    for (std::size_t i = 1; i < powers.size(); ++i) powers[i] = powers[i - 1] * 10;
    return powers;
}();

// Next to a power of ten only the logarithm itself tells how it is rounded.
bool near(double x, double power)
{
    return std::fabs(x - power) <= 1e-12 * power;
}

// defined_exponent() of 1e-99 and above, mostly without the logarithm.
int decimal_exponent(double x)
{
    const int binary = static_cast<int>(std::bit_cast<std::uint64_t>(x) >> 52) - 1023;
    int e = (binary * 78913 >> 18) + 1;   // floor(binary * log10(2)) + 1: right, or one too small
    e += x >= kDecades[e].power;
    const decade_t& below = kDecades[e - 1];
    if (x == below.power) return below.exponent;
    return near(x, kDecades[e].power) || near(x, below.power) ? defined_exponent(x) : e;
}

// Ties to even, as printf rounds a double that it prints without decimals.
std::uint64_t rounded(double x)
{
    return static_cast<std::uint64_t>(static_cast<std::int64_t>(nearest_whole(x)));
}

// The twelve digits of a record's field, in two halves that do not wait for each other.
void put_twelve(char* to, std::uint64_t n)
{
    const auto high = static_cast<std::uint32_t>(n / 1000000), low = static_cast<std::uint32_t>(n % 1000000);
    put_pair(to + 0, high / 10000);
    put_pair(to + 2, high / 100 % 100);
    put_pair(to + 4, high % 100);
    put_pair(to + 6, low / 10000);
    put_pair(to + 8, low / 100 % 100);
    put_pair(to + 10, low % 100);
}

// "%0*d" of any width; n has no more digits than that. Returns the end.
char* put_padded(char* to, int digits, std::uint64_t n)
{
    char* at = to + digits;
    for (; at > to; n /= 10) *--at = static_cast<char>('0' + n % 10);
    return to + digits;
}

}   // namespace

char* write_nav_number(char* to, double value, int digits)
{
    const int n = std::clamp(digits, 1, kMostDigits);
    const double x = std::fabs(value);
    int e = 0;
    std::uint64_t mantissa = 0;
    if (x >= kSmallest && x <= kLargest) {
        e = decimal_exponent(x);
        mantissa = rounded(x / kDecades[e - n].power);
    }
    to[0] = value < 0.0 && x <= kLargest ? '-' : ' ';
    to[1] = '0';
    to[2] = '.';
    const bool rounded_up = mantissa >= kIntegerPowers[static_cast<std::size_t>(n)];
    if (n == kRecordDigits && !rounded_up) {
        put_twelve(to + 3, mantissa);
        to += 3 + kRecordDigits;
    } else {
        to = put_padded(to + 3, n + rounded_up, mantissa);
    }
    std::memcpy(to, kDecades[e].text, sizeof decade_t::text);
    return to + kDecades[e].size;
}

}   // namespace rinex

int WriteRinexNavNum(std::FILE* fp, double value, int digits)
{
    if (fp == nullptr) return 0;
    char field[rinex::kLongestNavNumber];
    const auto size = static_cast<std::size_t>(rinex::write_nav_number(field, value, digits) - field);
    (void)std::fwrite(field, 1, size, fp);
    return 1;
}
