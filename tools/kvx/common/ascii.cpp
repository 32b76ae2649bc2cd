#include "common/ascii.h"

#include <cstdint>
#include <string_view>

namespace kvx {

namespace {

// U+00C0 to U+017F, one after the other; an empty place has no letter that is like it.
constexpr std::string_view kLatin[] = {
    "A",  "A",  "A",  "A",  "Ae", "Aa", "AE", "C", "E",  "E", "E",  "E",  "I",  "I", "I",  "I",    // U+00C0
    "D",  "N",  "O",  "O",  "O",  "O",  "Oe", "",  "Oe", "U", "U",  "U",  "Ue", "Y", "Th", "ss",   // U+00D0
    "a",  "a",  "a",  "a",  "ae", "aa", "ae", "c", "e",  "e", "e",  "e",  "i",  "i", "i",  "i",    // U+00E0
    "d",  "n",  "o",  "o",  "o",  "o",  "oe", "",  "oe", "u", "u",  "u",  "ue", "y", "th", "y",    // U+00F0
    "A",  "a",  "A",  "a",  "A",  "a",  "C",  "c", "C",  "c", "C",  "c",  "C",  "c", "D",  "d",    // U+0100
    "D",  "d",  "E",  "e",  "E",  "e",  "E",  "e", "E",  "e", "E",  "e",  "G",  "g", "G",  "g",    // U+0110
    "G",  "g",  "G",  "g",  "H",  "h",  "H",  "h", "I",  "i", "I",  "i",  "I",  "i", "I",  "i",    // U+0120
    "I",  "i",  "IJ", "ij", "J",  "j",  "K",  "k", "k",  "L", "l",  "L",  "l",  "L", "l",  "L",    // U+0130
    "l",  "L",  "l",  "N",  "n",  "N",  "n",  "N", "n",  "n", "Ng", "ng", "O",  "o", "O",  "o",    // U+0140
    "Oe", "oe", "OE", "oe", "R",  "r",  "R",  "r", "R",  "r", "S",  "s",  "S",  "s", "S",  "s",    // U+0150
    "S",  "s",  "T",  "t",  "T",  "t",  "T",  "t", "U",  "u", "U",  "u",  "U",  "u", "U",  "u",    // U+0160
    "U",  "u",  "U",  "u",  "W",  "w",  "Y",  "y", "Y",  "Z", "z",  "Z",  "z",  "Z", "z",  "s",    // U+0170
};
constexpr std::uint32_t kFirstLatin = 0xC0;

// The two-byte form, which the letters above have; 0 for anything else.
std::uint32_t code_point(unsigned char first, unsigned char second)
{
    return (first & 0xE0) == 0xC0 && (second & 0xC0) == 0x80 ? (first & 0x1Fu) << 6 | (second & 0x3Fu) : 0;
}

}   // namespace

std::optional<std::string> to_ascii(const std::string& utf8)
{
    std::string out;
    for (std::size_t i = 0; i < utf8.size(); ++i) {
        const auto byte = static_cast<unsigned char>(utf8[i]);
        if (byte < 0x80) {
            if (byte < 0x20 || byte == 0x7F) return std::nullopt;
            out += utf8[i];
            continue;
        }
        if (++i == utf8.size()) return std::nullopt;
        const std::uint32_t code = code_point(byte, static_cast<unsigned char>(utf8[i]));
        const std::size_t at = code - kFirstLatin;
        if (code < kFirstLatin || at >= std::size(kLatin) || kLatin[at].empty()) return std::nullopt;
        out += kLatin[at];
    }
    return out;
}

}   // namespace kvx
