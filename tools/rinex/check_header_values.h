/// @file check_header_values.h  What header records say, where the columns are right.
#ifndef RINEX_CHECK_HEADER_VALUES_H
#define RINEX_CHECK_HEADER_VALUES_H

#include "rinex/read_header.h"

namespace rinex {

/// The values of one record.
void check_values(const header_record_t& record, const file_header_t& header, findings_t& findings);

/// SYS / PHASE SHIFT against the types listed.
void check_phase_shifts(const file_header_t& header, findings_t& findings);

/// Time systems of TIME OF FIRST OBS and TIME OF LAST OBS.
void check_time_systems(const file_header_t& header, findings_t& findings);

}   // namespace rinex

#endif
