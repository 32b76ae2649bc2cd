// Records of navigation files: an epoch line and lines of numbers, and what differs from system to system.
#ifndef RTK_RINEX_NAV_RECORD_H
#define RTK_RINEX_NAV_RECORD_H

#include <cstdio>
#include <initializer_list>

#include "rinex_lines.h"
#include "rinex_text.h"

namespace rinex {

/// Layouts of one system's navigation file.
struct nav_system_t {
    char letter;
    int rinex3_from;   // version (times 100) of the first RINEX 3 layout; below it RINEX 2.11 holds
    int indent2;       // blanks before the numbers of a RINEX 2 continuation line

    bool rinex3(int version) const { return version >= rinex3_from; }
};

// Deliberate: the systems change over at different versions, and QZSS indents as in RINEX 3.
//                                     letter from indent
inline constexpr nav_system_t kNavGps = {'G', 300, 3};
inline constexpr nav_system_t kNavQzs = {'J', 301, 4};
inline constexpr nav_system_t kNavGlo = {'R', 300, 3};
inline constexpr nav_system_t kNavSbs = {'S', 301, 3};
inline constexpr nav_system_t kNavBds = {'C', 300, 3};
inline constexpr nav_system_t kNavGal = {'E', 300, 3};   // nothing below
inline constexpr nav_system_t kNavAll = {'M', 300, 3};   // nothing below

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
