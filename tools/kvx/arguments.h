/// @file arguments.h  Values on command lines that several commands take.
#ifndef KVX_ARGUMENTS_H
#define KVX_ARGUMENTS_H

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

namespace kvx {

struct gps_time_t {
    int week;
    double tow;   ///< s
};

/// GPS time of "YYYY-MM-DD", "YYYY-MM-DD HH:MM" or "YYYY-MM-DD HH:MM:SS[.sss]", a T allowed between; nothing for
/// another text or a date that the calendar does not have.
std::optional<gps_time_t> parse_gps_time(const std::string& text);

/// A number within these bounds; unlike CLI::Range it refuses what is not a number.
CLI::Validator within(double low, double high);

/// One letter or more of GRECJS.
CLI::Validator system_letters();

}   // namespace kvx

#endif
