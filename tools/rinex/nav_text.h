/// @file nav_text.h  Navigation files as text.
#ifndef RINEX_NAV_TEXT_H
#define RINEX_NAV_TEXT_H

#include <optional>
#include <string>

#include "rinex/nav_record.h"

namespace rinex {

/// One record; in RINEX 4 with its frame line.
/// @param version  times 100
std::string nav_text(int version, const ephemeris_record_t& record);

/// Ionosphere and UTC as records of RINEX 4.
std::string ion_utc_text(const ion_utc_record_t& record);

/// What the header of a navigation file tells.
struct nav_header_t {
    std::string program, run_by, date;
    std::string system;   // letter, M for several
    std::optional<ion_utc_record_t> ion_utc;
    std::optional<int> leap_seconds;
};

std::string nav_header(int version, const nav_header_t& header);

}   // namespace rinex

#endif
