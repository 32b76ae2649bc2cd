/// @file lines.h  Lines of a text, one after the other.
#ifndef RINEX_LINES_H
#define RINEX_LINES_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace rinex {

/// Gives lines without their ends. Sources stand behind each other: what expands a compressed file is one, too.
class line_source_t {
public:
    line_source_t() = default;
    virtual ~line_source_t() = default;
    line_source_t(const line_source_t&) = delete;
    line_source_t& operator=(const line_source_t&) = delete;

    /// The next line; it is valid until the next call.
    /// @return false behind the last one
    virtual bool next(std::string_view& line) = 0;
};

/// Lines of bytes that a function brings. LF and CR LF end a line; a last line without an end is one, too.
class byte_lines_t : public line_source_t {
public:
    /// Reads up to n bytes; fewer only at the end, 0 behind it.
    using read_t = std::function<std::size_t(char* to, std::size_t n)>;

    explicit byte_lines_t(read_t read);

    bool next(std::string_view& line) override;

    /// Whether the line handed out last was cut: longer lines than this are none of RINEX.
    static constexpr std::size_t kLongest = 1 << 16;
    bool cut() const { return cut_; }

    /// Whether the bytes ended in the line handed out last, before its end.
    bool unended() const { return unended_; }

    /// Bytes before the line handed out last.
    std::uint64_t position() const { return position_; }

private:
    bool refill();

    read_t read_;
    std::vector<char> block_;
    std::size_t at_ = 0, end_ = 0;
    bool over_ = false, cut_ = false, unended_ = false;
    std::uint64_t before_ = 0, position_ = 0;   // bytes before the block, before the line
};

}   // namespace rinex

#endif
