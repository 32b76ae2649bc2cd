/// @file conversion.h  One log to its files.
#ifndef KVX_CONVERSION_H
#define KVX_CONVERSION_H

#include <string>

#include "convert/convert_options.h"
#include "log/summary.h"

namespace kvx {

/// Converts one log.
/// @throws error_t when nothing usable came out
summary_t convert_log(const convert_options_t& options, const std::string& log);

}   // namespace kvx

#endif
