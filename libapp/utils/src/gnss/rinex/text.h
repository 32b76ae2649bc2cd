/// @file text.h  Text of RINEX files, built in a buffer of fixed size and written at once.
///
/// Numbers come out as the C formats of the same widths print them in the "C" locale, whatever the
/// process's locale is.
#ifndef RTK_RINEX_TEXT_H
#define RTK_RINEX_TEXT_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace rinex {

/// Appends to a buffer that its owner made large enough; what does not fit is left out.
class text_t {
public:
    text_t(char* buffer, std::size_t size) : begin_(buffer), at_(buffer), end_(buffer + size) {}

    text_t& put(std::string_view s);   ///< as it stands
    text_t& put(char c)
    {
        if (at_ != end_) *at_++ = c;
        return *this;
    }
    text_t& blanks(int n);

    /// "%-W.Ws" of a text from outside: control characters become blanks.
    text_t& label(std::string_view s, int width);

    /// The same of a character array, which need not be NUL-terminated.
    template <std::size_t N>
    text_t& field(const char (&s)[N], int width)
    {
        return label(std::string_view(s, strnlen(s, N)), width);
    }

    text_t& integer(long long value, int width, char fill = ' ');   ///< "%Wd" or "%0Wd"
    text_t& fixed(double value, int width, int decimals);           ///< "%W.Df"

    /// fixed() for header lines: what is not finite or wider than its columns is printed as 0.
    text_t& header_number(double value, int width, int decimals);

    /// integer() for header lines, 0 when wider than its columns.
    text_t& header_integer(long long value, int width);

    /// "%14.3f" of a value below 1e9 in magnitude, the field of observation records.
    text_t& observation(double value);

    /// Appends n blanks to be printed into.
    /// @return their place; nullptr when not all of them fit
    char* columns(int n)
    {
        if (end_ - at_ < n) return blanks(n), nullptr;
        char* const begin = at_;
        std::memset(begin, ' ', static_cast<std::size_t>(n));
        at_ += n;
        return begin;
    }

    /// Takes off what follows a place in the text.
    text_t& cut(char* end)
    {
        at_ = end;
        return *this;
    }

    std::string_view view() const { return {begin_, static_cast<std::size_t>(at_ - begin_)}; }
    std::size_t size() const { return static_cast<std::size_t>(at_ - begin_); }

    /// One fwrite of everything; the stream keeps its error state.
    void write(std::FILE* fp) const { (void)std::fwrite(begin_, 1, size(), fp); }

private:
    text_t& padded(const char* digits, std::size_t n, int width, char fill = ' ');

    char* begin_;
    char* at_;
    char* end_;
};

/// A text with its own buffer.
template <std::size_t Size>
class text_buffer_t : public text_t {
public:
    text_buffer_t() : text_t(buffer_, Size) {}
    text_buffer_t(const text_buffer_t&) = delete;
    text_buffer_t& operator=(const text_buffer_t&) = delete;

private:
    char buffer_[Size];
};

}   // namespace rinex

#endif
