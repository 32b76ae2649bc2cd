/// @file navigation_text.h  Records of navigation files in the form of another version.
#ifndef KVX_NAVIGATION_TEXT_H
#define KVX_NAVIGATION_TEXT_H

#include <string>
#include <string_view>

#include "rinex/read_navigation.h"

namespace kvx {

struct navigation_text_t {
    std::string text;   ///< empty: the version has no such record
    std::string lost;   ///< what it has no place for: "C CNV1"
};

/// The message of an ephemeris: as RINEX 4 says it, before it by the system, Galileo's data source and BeiDou's orbit.
std::string message_of(const rinex::read_nav_record_t& record);

/// Numbers are copied as they stand; but the second of GLONASS' message frame, of the day in RINEX 2 and of the week
/// since, and weeks of Galileo's own in 3.02 are written anew.
/// @param lines  of the record as they stand, LF included
navigation_text_t converted(const rinex::read_nav_record_t& record, std::string_view lines, int from, int to);

}   // namespace kvx

#endif
