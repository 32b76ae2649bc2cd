/// @file nav_record.h  Records of navigation files: an epoch line and lines of numbers, and what differs from system to
/// system.
#ifndef RTK_RINEX_NAV_RECORD_H
#define RTK_RINEX_NAV_RECORD_H

#include <cstdio>
#include <initializer_list>

#include "gnss/foundation/satellites.h"
#include "gnss/rinex/lines.h"
#include "gnss/rinex/text.h"
#include "gnss/rinex/version.h"

namespace rinex {

/// Layouts of one system's navigation file.
struct nav_system_t {
    char letter;
    bool (*is_rinex3)(int version);
    int rinex2_indent;   // blanks before the numbers of a RINEX 2.11 continuation line. Deliberate: QZSS as in RINEX 3.
};

inline constexpr nav_system_t kNavGps = {system_of(SYS_GPS).letter, records_are_rinex3, 3};
inline constexpr nav_system_t kNavQzs = {system_of(SYS_QZS).letter, late_records_are_rinex3, 4};
inline constexpr nav_system_t kNavGlo = {system_of(SYS_GLO).letter, records_are_rinex3, 3};
inline constexpr nav_system_t kNavSbs = {system_of(SYS_SBS).letter, late_records_are_rinex3, 3};
inline constexpr nav_system_t kNavBds = {system_of(SYS_BDS).letter, records_are_rinex3, 3};
inline constexpr nav_system_t kNavGal = {system_of(SYS_GAL).letter, records_are_rinex3, 3};   // nothing below
inline constexpr nav_system_t kNavAll = {'M', records_are_rinex3, 3};                         // nothing below

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
