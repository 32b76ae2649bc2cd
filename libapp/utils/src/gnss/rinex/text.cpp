#include "gnss/rinex/text.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "gnss/rinex/digits.h"
#include "gnss/rinex/observation_number.h"

namespace rinex {

namespace {

bool is_control(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7F;
}

// Decimal digits of n, written backwards from end; returns their start.
char* put_digits(std::uint64_t n, char* end)
{
    while (n >= 100) {
        end -= 2;
        put_pair(end, n % 100);
        n /= 100;
    }
    if (n >= 10) {
        end -= 2;
        put_pair(end, n);
        return end;
    }
    *--end = static_cast<char>('0' + n);
    return end;
}

// Longest text of a double in fixed notation: 309 digits, sign, point and decimals.
constexpr std::size_t kLongestFixed = 340;

}   // namespace

text_t& text_t::put(std::string_view s)
{
    const std::size_t n = std::min(s.size(), static_cast<std::size_t>(end_ - at_));
    std::memcpy(at_, s.data(), n);
    at_ += n;
    return *this;
}

text_t& text_t::blanks(int n)
{
    const std::size_t fit = std::min(static_cast<std::size_t>(std::max(n, 0)), static_cast<std::size_t>(end_ - at_));
    std::memset(at_, ' ', fit);
    at_ += fit;
    return *this;
}

text_t& text_t::label(std::string_view s, int width)
{
    s = s.substr(0, static_cast<std::size_t>(width));
    char* const start = at_;
    put(s);
    std::replace_if(start, at_, is_control, ' ');
    return blanks(width - static_cast<int>(s.size()));
}

text_t& text_t::padded(const char* digits, std::size_t n, int width, char fill)
{
    const int missing = width - static_cast<int>(n);
    if (fill == '0' && missing > 0) {
        const bool negative = n > 0 && *digits == '-';
        if (negative) put('-');
        for (int i = 0; i < missing; ++i) put('0');
        return put({digits + negative, n - negative});
    }
    return blanks(missing).put({digits, n});
}

text_t& text_t::integer(long long value, int width, char fill)
{
    char digits[24];
    const char* end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    return padded(digits, static_cast<std::size_t>(end - digits), width, fill);
}

text_t& text_t::fixed(double value, int width, int decimals)
{
    char digits[kLongestFixed];
    const auto end = std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed, decimals).ptr;
    return padded(digits, static_cast<std::size_t>(end - digits), width);
}

text_t& text_t::header_number(double value, int width, int decimals)
{
    char* const start = at_;
    fixed(std::isfinite(value) ? value : 0.0, width, decimals);
    if (at_ - start <= width) return *this;
    at_ = start;
    return fixed(0.0, width, decimals);
}

text_t& text_t::header_integer(long long value, int width)
{
    char* const start = at_;
    integer(value, width);
    if (at_ - start <= width) return *this;
    at_ = start;
    return integer(0, width);
}

text_t& text_t::observation(double value)
{
    if (end_ - at_ >= kValueWidth) {
        std::memset(at_, ' ', kValueWidth);
        if (put_observation(at_, value)) {
            at_ += kValueWidth;
            return *this;
        }
    }
    char field[24];
    char* const end = field + sizeof field;
    std::memset(field, ' ', sizeof field);
    const std::uint64_t n = thousandths(std::fabs(value));
    char* at = put_digits(n % 1000 + 1000, end);   // the leading 1 keeps the zeros and makes room for the point
    *at = '.';
    at = put_digits(n / 1000, at);
    if (std::signbit(value)) *--at = '-';
    at = std::min(at, end - kValueWidth);
    return put({at, static_cast<std::size_t>(end - at)});
}

}   // namespace rinex
