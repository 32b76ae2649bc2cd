#include "rinex/field_formats.h"

#include <charconv>

namespace rinex {

namespace {

std::size_t digits_from(std::string_view text, std::size_t at)
{
    std::size_t n = 0;
    while (at + n < text.size() && is_digit(text[at + n])) ++n;
    return n;
}

// Blanks and a sign before a number; the number must end with the field.
std::size_t number_start(std::string_view field)
{
    std::size_t at = 0;
    while (at < field.size() && field[at] == ' ') ++at;
    return at + (at < field.size() && (field[at] == '-' || field[at] == '+'));
}

// Point and decimals at the place; nothing of them allowed to lack. @return what follows them, npos: they are not there
std::size_t behind_decimals(std::string_view field, std::size_t at, int decimals)
{
    at += digits_from(field, at);
    if (at >= field.size() || field[at] != '.') return std::string_view::npos;
    const std::size_t n = digits_from(field, at + 1);
    return n == static_cast<std::size_t>(decimals) ? at + 1 + n : std::string_view::npos;
}

bool has_exponent(std::string_view field, std::size_t at)
{
    return at + 4 == field.size() && std::string_view("EeDd").find(field[at]) != std::string_view::npos &&
           (field[at + 1] == '-' || field[at + 1] == '+') && digits_from(field, at + 2) == 2;
}

// Walks through a format and compares as it goes.
class format_walk_t {
public:
    format_walk_t(std::string_view line,
                  const std::function<void(std::size_t, std::string_view, std::string_view)>& bad)
        : line_(line), bad_(bad)
    {}

    void walk(const char* format, const char* end)
    {
        while (format < end) {
            const int repeat = number(format);
            const char* stop = format + 1;
            if (*format == '(') {
                while (*stop != ')') ++stop;
                for (int i = 0; i < repeat; ++i) walk(format + 1, stop);
                ++stop;
            } else {
                stop = field(format, repeat);
            }
            format = stop + (stop < end);   // the comma
        }
    }

private:
    static int number(const char*& p)
    {
        int n = is_digit(*p) ? 0 : 1;
        while (is_digit(*p)) n = n * 10 + (*p++ - '0');
        return n;
    }

    const char* field(const char* format, int repeat)
    {
        const char letter = *format;
        const char* p = format + 1;
        const bool optional = letter >= 'a', spaces = letter == 'X';
        const int width = spaces ? repeat : number(p);
        const int decimals = *p == '.' ? number(++p) : 0;
        for (int i = 0; i < (spaces ? 1 : repeat); ++i) {
            const std::string_view text = cut(line_, at_, static_cast<std::size_t>(width));
            const bool fine =
                is_blank(text) ? optional || letter == 'A' || spaces
                               : has_form(text, static_cast<char>(letter & ~0x20), decimals) &&
                                     (letter == 'A' || letter == 'a' || text.size() == static_cast<std::size_t>(width));
            if (!fine) bad_(at_, text, {format, static_cast<std::size_t>(p - format)});
            at_ += static_cast<std::size_t>(width);
        }
        return p;
    }

    std::string_view line_;
    const std::function<void(std::size_t, std::string_view, std::string_view)>& bad_;
    std::size_t at_ = 0;
};

}   // namespace

bool is_blank(std::string_view field)
{
    return field.find_first_not_of(' ') == std::string_view::npos;
}

std::string_view trimmed(std::string_view field)
{
    const std::size_t first = field.find_first_not_of(' ');
    return first == std::string_view::npos ? std::string_view()
                                           : field.substr(first, field.find_last_not_of(' ') - first + 1);
}

std::optional<int> integer_of(std::string_view field)
{
    const auto value = decimal_of(field, 0);
    if (!value || *value > 999999999 || *value < -999999999) return std::nullopt;
    return static_cast<int>(*value);
}

std::optional<std::int64_t> decimal_of(std::string_view field, int decimals)
{
    field = trimmed(field);
    const bool negative = !field.empty() && field[0] == '-';
    if (negative || (!field.empty() && field[0] == '+')) field.remove_prefix(1);
    if (field.empty() || field.size() > 18) return std::nullopt;
    std::int64_t value = 0;
    int left = -1;   // decimals still to come, -1: before the point
    for (const char c : field) {
        if (c == '.' && left < 0 && decimals > 0) {
            left = decimals;
        } else if (is_digit(c) && left != 0 && value < 100'000'000'000'000'000) {
            value = value * 10 + (c - '0');
            left -= left > 0;
        } else {
            return std::nullopt;
        }
    }
    for (left = left < 0 ? decimals : left; left > 0; --left) {
        if (value >= 100'000'000'000'000'000) return std::nullopt;
        value *= 10;
    }
    return negative ? -value : value;
}

std::optional<double> real_of(std::string_view field)
{
    char text[64];
    field = trimmed(field);
    if (!field.empty() && field[0] == '+') field.remove_prefix(1);
    if (field.empty() || field.size() >= sizeof text) return std::nullopt;
    for (std::size_t i = 0; i < field.size(); ++i) text[i] = field[i] == 'D' || field[i] == 'd' ? 'E' : field[i];
    double value = 0;
    const auto [end, error] = std::from_chars(text, text + field.size(), value);
    if (error != std::errc() || end != text + field.size()) return std::nullopt;
    const bool number = value - value == 0;   // from_chars takes inf and nan
    return number ? std::optional(value) : std::nullopt;
}

bool has_form(std::string_view field, char kind, int decimals)
{
    const std::size_t at = number_start(field);
    switch (kind) {
        case 'A':
            return true;
        case 'I':
            return at < field.size() && at + digits_from(field, at) == field.size();
        case 'F':
            return behind_decimals(field, at, decimals) == field.size();
        case 'D': {
            const std::size_t exponent = behind_decimals(field, at, decimals);
            return exponent != std::string_view::npos && has_exponent(field, exponent);
        }
        default:
            return is_blank(field);
    }
}

void compare_with_format(std::string_view line, const char* format,
                         const std::function<void(std::size_t, std::string_view, std::string_view)>& bad)
{
    format_walk_t(line, bad).walk(format, format + std::string_view(format).size());
}

}   // namespace rinex
