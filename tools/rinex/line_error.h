/// @file line_error.h  What is wrong with a text, and in which of its lines.
#ifndef RINEX_LINE_ERROR_H
#define RINEX_LINE_ERROR_H

#include <cstdint>
#include <stdexcept>
#include <string>

namespace rinex {

class line_error_t : public std::runtime_error {
public:
    /// @param line counts from 1; 0: the text has no lines
    line_error_t(std::uint64_t line, const std::string& what) : std::runtime_error(what), line_(line) {}

    std::uint64_t line() const { return line_; }

private:
    std::uint64_t line_;
};

}   // namespace rinex

#endif
