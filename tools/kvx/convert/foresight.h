/// @file foresight.h  What the observation files of a log will hold, from a look into it here and there.
#ifndef KVX_FORESIGHT_H
#define KVX_FORESIGHT_H

#include <optional>

#include "common/input_file.h"
#include "convert/convert_options.h"
#include "convert/selection.h"
#include "rinex/columns.h"

namespace kvx {

/// Columns of what samples of a log hold, 128 of them at most. A file whose signals are known when it begins need not
/// be copied when it ends; nothing else depends on them.
///
/// @param options  must outlive the columns
/// @return nothing for a log that is small, compressed, or comes in live
std::optional<rinex::columns_t> sampled_columns(input_file_t& log, const convert_options_t& options,
                                                const selection_t& selection);

}   // namespace kvx

#endif
