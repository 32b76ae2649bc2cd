/// @file nav_record.h  Records of navigation files: an epoch line and lines of numbers, and what differs from system to
/// system.
#ifndef RTK_RINEX_NAV_RECORD_H
#define RTK_RINEX_NAV_RECORD_H

#include <cstdio>
#include <initializer_list>

#include "gnss/rinex/lines.h"
#include "gnss/rinex/text.h"
#include "gnss/rinex/version.h"

namespace rinex {

/// Layouts of one system's navigation file.
struct nav_system_t {
    char letter;
    bool (*is_rinex3)(int version);
    int rinex2_indent;   // blanks before the numbers of a RINEX 2.11 continuation line
};

inline constexpr nav_system_t kNavGps = {'G', records_are_rinex3, 3};
inline constexpr nav_system_t kNavQzs = {'J', late_records_are_rinex3, 4};   // Deliberate: indented as in RINEX 3.
inline constexpr nav_system_t kNavGlo = {'R', records_are_rinex3, 3};
inline constexpr nav_system_t kNavSbs = {'S', late_records_are_rinex3, 3};
inline constexpr nav_system_t kNavBds = {'C', records_are_rinex3, 3};
inline constexpr nav_system_t kNavGal = {'E', records_are_rinex3, 3};   // nothing below
inline constexpr nav_system_t kNavAll = {'M', records_are_rinex3, 3};   // nothing below

/// One record, built line by line.
class nav_record_t {
public:
    /// Starts with the epoch line: satellite, date, clock.
    nav_record_t(const nav_system_t& system, int version, int number, const date_t& date,
                 std::initializer_list<double> clock);

    nav_record_t& line(std::initializer_list<double> numbers);

    int write(std::FILE* fp);   ///< ends the record; 1

private:
    void put(std::initializer_list<double> numbers);

    text_buffer_t<1024> out_;
    int indent_;
};

}   // namespace rinex

#endif
