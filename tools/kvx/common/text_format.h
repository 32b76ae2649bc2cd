/// @file text_format.h  Numbers and words in texts. kvx never sets a locale: numbers have a decimal point.
#ifndef KVX_TEXT_FORMAT_H
#define KVX_TEXT_FORMAT_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kvx {

/// printf into a string, at most 255 characters.
[[gnu::format(printf, 1, 2)]] std::string text(const char* format, ...);

/// A number at the right of a column.
std::string right(std::uint64_t n, int width);

/// "1 epoch", "2 epochs".
std::string plural(std::uint64_t n, const char* one);

/// The parts with something between them.
std::string joined(const std::vector<std::string>& parts, const char* between);

/// The text with a mark behind it, unless it ends with a question mark.
std::string closed(const std::string& text, char mark);

/// Words in lines of so many columns. An empty line of the text stays one, between paragraphs.
std::vector<std::string> wrapped(std::string_view text, std::size_t columns);

/// Two hexadecimal digits a byte.
std::string to_hex(const unsigned char* bytes, std::size_t n);

}   // namespace kvx

#endif
