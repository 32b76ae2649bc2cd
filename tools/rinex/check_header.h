/// @file check_header.h  Header records against the rules.
#ifndef RINEX_CHECK_HEADER_H
#define RINEX_CHECK_HEADER_H

#include "rinex/read_header.h"

namespace rinex {

/// Everything that a header says by itself; what it says of the data is left to their checks.
void check_header(const file_header_t& header, findings_t& findings);

/// Label and columns of one record, in a header or in an event.
void check_record(const header_record_t& record, const file_header_t& header, findings_t& findings);

/// Reports a mandatory record that is not there.
void require(const file_header_t& header, std::string_view label, findings_t& findings);

/// Announced and listed types, in a header or as an event has changed them.
void check_types(const file_header_t& header, findings_t& findings);

}   // namespace rinex

#endif
