#include "common/text_format.h"

#include <cstdarg>
#include <cstdio>

namespace kvx {

std::string text(const char* format, ...)
{
    char out[256];
    va_list values;
    va_start(values, format);
    std::vsnprintf(out, sizeof out, format, values);
    va_end(values);
    return out;
}

std::string right(std::uint64_t n, int width)
{
    return text("%*llu", width, static_cast<unsigned long long>(n));
}

std::string plural(std::uint64_t n, const char* one)
{
    return std::to_string(n) + " " + one + (n == 1 ? "" : "s");
}

std::string to_hex(const unsigned char* bytes, std::size_t n)
{
    constexpr char kDigits[] = "0123456789abcdef";
    std::string out(2 * n, '0');
    for (std::size_t k = 0; k < n; ++k) {
        out[2 * k] = kDigits[bytes[k] >> 4];
        out[2 * k + 1] = kDigits[bytes[k] & 15];
    }
    return out;
}

}   // namespace kvx
