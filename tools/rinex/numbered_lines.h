/// @file numbered_lines.h  Lines with their numbers, of which the last can be put back.
#ifndef RINEX_NUMBERED_LINES_H
#define RINEX_NUMBERED_LINES_H

#include <cstdint>

#include "rinex/lines.h"

namespace rinex {

class numbered_lines_t {
public:
    /// The source must outlive this.
    explicit numbered_lines_t(line_source_t& source) : source_(source) {}

    /// The next line; it is valid until the next one is taken from the source.
    /// @return false behind the last one
    bool next(std::string_view& line)
    {
        if (!again_ && !source_.next(line_)) return false;
        again_ = false;
        line = line_;
        ++number_;
        return true;
    }

    /// Makes the line handed out last the next one again.
    void put_back()
    {
        again_ = true;
        --number_;
    }

    std::uint64_t number() const { return number_; }   ///< of the line handed out last, from 1

private:
    line_source_t& source_;
    std::string_view line_;
    std::uint64_t number_ = 0;
    bool again_ = false;
};

}   // namespace rinex

#endif
