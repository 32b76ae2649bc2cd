/// @file conversion.h  One log to its files.
#ifndef KVX_CONVERSION_H
#define KVX_CONVERSION_H

#include <nlohmann/json.hpp>
#include <string>

#include "convert_options.h"

namespace kvx {

/// What came of a conversion.
struct conversion_result_t {
    int exit_code;
    nlohmann::ordered_json summary;
};

/// Converts one log.
/// @throws Error when nothing usable came out
conversion_result_t convert_log(const convert_options_t& options, const std::string& log);

}   // namespace kvx

#endif
