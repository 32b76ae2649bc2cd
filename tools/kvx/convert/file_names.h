/// @file file_names.h  Names of RINEX files.
#ifndef KVX_FILE_NAMES_H
#define KVX_FILE_NAMES_H

#include <string>

namespace kvx {

/// What the name of a RINEX file tells.
struct coverage_t {
    double first, last;   ///< epochs, GPS seconds
    double interval;      ///< s, 0: unknown
};

/// Long file name by the convention of RINEX 3.04, section 4: "SITE00XXX_R_20240701200_15M_01S".
///
/// @param marker    marker name; its letters and digits make the site (nine-character names stand whole)
/// @param with_rate false for navigation files, whose names have no interval
std::string rinex_stem(const std::string& marker, const coverage_t& coverage, bool with_rate);

/// Name of the log without folder and endings: the marker of a log that has no other.
std::string log_stem(const std::string& path);

}   // namespace kvx

#endif
