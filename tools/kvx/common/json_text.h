/// @file json_text.h  Results for programs.
#ifndef KVX_JSON_TEXT_H
#define KVX_JSON_TEXT_H

#include <nlohmann/json.hpp>
#include <string>

namespace kvx {

/// JSON as text; what is not UTF-8 in it (file names may be anything) is replaced.
inline std::string json_text(const nlohmann::ordered_json& json)
{
    return json.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

}   // namespace kvx

#endif
