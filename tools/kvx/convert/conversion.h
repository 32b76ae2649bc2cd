/// @file conversion.h  Logs to their files.
#ifndef KVX_CONVERSION_H
#define KVX_CONVERSION_H

#include <string>

#include "convert/convert_options.h"
#include "log/summary.h"

namespace kvx {

/// Converts a log, or several of one session.
/// @throws error_t when nothing usable came out
summary_t convert_logs(const convert_options_t& options, const sources_t& logs);

}   // namespace kvx

#endif
