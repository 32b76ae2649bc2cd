/// @file line_tape.h  Lines that a reader has taken, as they stood.
#ifndef RINEX_LINE_TAPE_H
#define RINEX_LINE_TAPE_H

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "rinex/lines.h"

namespace rinex {

/// Stands between a source and its reader and keeps what passes, until it is told to forget or there is too much.
class line_tape_t : public line_source_t {
public:
    /// @param source  must outlive the tape, from before the first line is taken
    void listen_to(line_source_t& source) { source_ = &source; }

    bool next(std::string_view& line) override
    {
        if (!source_->next(line)) return false;
        if (text_.size() > kMost) forget_before(first_ + begins_.size());
        begins_.push_back(text_.size());
        text_.append(line).push_back('\n');
        return true;
    }

    /// Lines by their numbers, the first is 1, with a LF behind each; empty when they are not all there.
    std::string_view lines(std::uint64_t first, std::uint64_t last) const
    {
        if (first < first_ || last < first || last >= first_ + begins_.size()) return {};
        const std::size_t begin = begins_[first - first_];
        return std::string_view(text_).substr(begin, end_of(last) - begin);
    }

    void forget_before(std::uint64_t number)
    {
        if (number <= first_) return;
        const std::size_t lines = std::min<std::uint64_t>(number - first_, begins_.size());
        const std::size_t size = lines == 0 ? 0 : end_of(first_ + lines - 1);
        text_.erase(0, size);
        begins_.erase(begins_.begin(), begins_.begin() + static_cast<std::ptrdiff_t>(lines));
        for (std::size_t& begin : begins_) begin -= size;
        first_ += lines;
    }

private:
    static constexpr std::size_t kMost = 1 << 26;   // bytes; the longest epoch that can be right has 16 MB

    std::size_t end_of(std::uint64_t number) const
    {
        const std::size_t behind = number - first_ + 1;
        return behind < begins_.size() ? begins_[behind] : text_.size();
    }

    line_source_t* source_ = nullptr;
    std::string text_;
    std::vector<std::size_t> begins_;
    std::uint64_t first_ = 1;   // number of the first line that is kept
};

}   // namespace rinex

#endif
