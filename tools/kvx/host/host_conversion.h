/// @file host_conversion.h  One log to the files that a host application gets from the library.
#ifndef KVX_HOST_CONVERSION_H
#define KVX_HOST_CONVERSION_H

#include <string>

#include "convert/convert_options.h"
#include "log/summary.h"

namespace kvx {

/// Converts one log through the library's record and writers.
/// @throws error_t when nothing usable came out
summary_t convert_log_as_host(const convert_options_t& options, const std::string& log);

}   // namespace kvx

#endif
