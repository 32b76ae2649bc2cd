/// @file task.h  A piece of a conversion's work, and what is printed of it.
#ifndef KVX_CONVERT_TASK_H
#define KVX_CONVERT_TASK_H

#include <cstddef>

#include "common/batch.h"
#include "convert/convert_options.h"

namespace kvx {

/// Converts what makes one result, logs or RINEX files, and prints its summary or why there is none.
/// @param task  place of this piece in the run
/// @return exit_code_t
int convert_task(const convert_options_t& options, const sources_t& sources, std::size_t task, batch_t& batch);

}   // namespace kvx

#endif
