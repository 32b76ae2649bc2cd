/// @file field_formats.h  Fields of fixed columns: numbers in them, and whether they have the form that the format
/// wants.
#ifndef RINEX_FIELD_FORMATS_H
#define RINEX_FIELD_FORMATS_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>

namespace rinex {

/// Part of a line; columns behind its end are left out, so the result may be shorter or empty.
/// @param at  from 0
constexpr std::string_view cut(std::string_view line, std::size_t at, std::size_t n)
{
    return at < line.size() ? line.substr(at, n) : std::string_view();
}

constexpr bool is_digit(char c)
{
    return c >= '0' && c <= '9';
}

bool is_blank(std::string_view field);
std::string_view trimmed(std::string_view field);   ///< without blanks at both ends

/// A whole number between blanks; nothing for another text or beyond nine digits.
std::optional<int> integer_of(std::string_view field);

/// A number with up to `decimals` decimals, in units of the last one; nothing for another text or beyond 17 digits.
std::optional<std::int64_t> decimal_of(std::string_view field, int decimals);

/// A number, with any of the exponent letters e E d D or none. Never depends on the locale.
std::optional<double> real_of(std::string_view field);

/// Whether a field has the form of an edit descriptor: A any text, X blanks, I an integer, F fixed point, D exponent
/// form, the last three right-aligned with exactly the decimals asked for.
bool has_form(std::string_view field, char kind, int decimals);

/// Compares a line with a format like "A1,2X,I3,13(1X,a3)"; fields of small letters may be blank.
/// @param bad  called for each field of another form, with its first column (from 0), its text and its descriptor
void compare_with_format(std::string_view line, const char* format,
                         const std::function<void(std::size_t, std::string_view, std::string_view)>& bad);

}   // namespace rinex

#endif
