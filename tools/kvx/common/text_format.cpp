#include "common/text_format.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <utility>

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

std::string joined(const std::vector<std::string>& parts, const char* between)
{
    std::string all;
    for (const std::string& part : parts) all.append(all.empty() ? "" : between).append(part);
    return all;
}

std::string closed(const std::string& text, char mark)
{
    return text.empty() || text.back() == '?' ? text : text + mark;
}

namespace {

void wrap_paragraph(std::string_view text, std::size_t columns, std::vector<std::string>& lines)
{
    std::string line;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(' '), text.size());
        const std::string_view word = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (!line.empty() && line.size() + 1 + word.size() > columns) lines.push_back(std::exchange(line, ""));
        line.append(line.empty() ? "" : " ").append(word);
    }
    lines.push_back(line);
}

}   // namespace

std::vector<std::string> wrapped(std::string_view text, std::size_t columns)
{
    std::vector<std::string> lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        wrap_paragraph(text.substr(0, end), columns, lines);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
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
