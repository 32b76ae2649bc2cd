/// @file summary_json.h  The summary as a JSON object that others add to.
#ifndef KVX_SUMMARY_JSON_H
#define KVX_SUMMARY_JSON_H

#include "common/json_text.h"
#include "log/summary.h"

namespace kvx {

nlohmann::ordered_json summary_object(const summary_t& summary);

}   // namespace kvx

#endif
