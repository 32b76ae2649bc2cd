/// @file navigation_layouts.h  The messages of navigation files, and the fields of their records.
#ifndef RINEX_NAVIGATION_LAYOUTS_H
#define RINEX_NAVIGATION_LAYOUTS_H

#include <cstddef>
#include <string_view>

namespace rinex {

inline constexpr std::size_t kNavColumns = 4;   // fields of a line; in the first line the time stands for the first

/// What the fields of a message are, a letter each, four a line, lines apart by a blank:
/// n number, i whole number, w week of the reference time, all mandatory; o number, j whole number, both optional;
/// s spare; a text, b optional text; . none.
struct nav_layout_t {
    std::string_view record;   ///< EPH, STO, EOP or ION
    char system;
    std::string_view messages;   ///< of RINEX 4, apart by blanks; the first one stands for all of RINEX 2 and 3
    int since, until;            ///< versions
    std::string_view fields;     ///< empty: not known here, the lines go on to the next record

    std::size_t lines() const { return (fields.size() + 1) / (kNavColumns + 1); }
    char field(std::size_t i) const
    {
        const std::size_t at = i / kNavColumns * (kNavColumns + 1) + i % kNavColumns;
        return at < fields.size() ? fields[at] : '.';
    }
};

/// @param message  empty: the one that RINEX 2 and 3 have of the system
/// @return nullptr: the version has no such message
const nav_layout_t* find_nav_layout(std::string_view record, char system, std::string_view message, int version);

/// Places of fields, in units of fields from the record's start, where ephemerides with orbital elements have them.
enum nav_field_t : std::size_t {
    kNavIssue = 4,   ///< IODE, IODnav, AODE, IODEC
    kNavEccentricity = 9,
    kNavRootA = 11,    ///< square root of the semi-major axis
    kNavToe = 12,      ///< s of the week
    kNavSource = 21,   ///< Galileo
    kNavWeek = 22,
};

}   // namespace rinex

#endif
