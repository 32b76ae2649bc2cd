/// @file progress.h  Progress of long work on a terminal.
#ifndef KVX_PROGRESS_H
#define KVX_PROGRESS_H

#include <chrono>
#include <cstdint>
#include <string>

namespace kvx {

/// A line on stderr that is rewritten a few times a second; silent when stderr is not a terminal.
class progress_t {
public:
    progress_t(std::string what, std::uint64_t total);
    ~progress_t();   ///< wipes the line
    progress_t(const progress_t&) = delete;
    progress_t& operator=(const progress_t&) = delete;

    void at(std::uint64_t done);

private:
    std::string what_;
    std::uint64_t total_;
    bool on_terminal_, shown_ = false;
    std::chrono::steady_clock::time_point next_;
};

}   // namespace kvx

#endif
