/// @file navigation_header.h  Headers of navigation files as the published format has them.
#ifndef KVX_NAVIGATION_HEADER_H
#define KVX_NAVIGATION_HEADER_H

#include <rtk_gnss.h>

#include <string>

#include "common/output_file.h"

namespace kvx {

/// True when the log has told the ionospheric coefficients.
bool knows_ionosphere(const raw_t& raw);

/// Copies a navigation file and puts its header right: labels and leap seconds in their columns, no
/// coefficients that nobody has told, and in a mixed file the ionospheric lines. Records stay as they are.
///
/// @param raw  record at the end of the log
/// @throws error_t when reading or writing fails
void complete_navigation_header(output_file_t& from, output_file_t& to, const raw_t& raw, const std::string& run_by);

}   // namespace kvx

#endif
