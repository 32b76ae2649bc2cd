#include "gnss/rinex/text.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "gnss/rinex/observation_number.h"

namespace rinex {

namespace {

bool is_control(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7F;
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
    if (end_ - at_ < kValueWidth) return fixed(value, kValueWidth, 3);
    std::memset(at_, ' ', kValueWidth);
    if (!put_observation(at_, value)) return fixed(value, kValueWidth, 3);
    at_ += kValueWidth;
    return *this;
}

}   // namespace rinex
