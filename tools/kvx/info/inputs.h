/// @file inputs.h  Files that are inspected together: logs, observation files, and navigation files beside them.
#ifndef KVX_INPUTS_H
#define KVX_INPUTS_H

#include <string>
#include <vector>

#include "info/inspection.h"

namespace kvx {

struct inputs_t {
    std::vector<std::string> described;    ///< in their order
    std::vector<std::string> navigation;   ///< for all observation files
    bool any_observations = false;
};

/// Sorts paths. Navigation files serve the observation files beside them; alone they are described themselves. What
/// cannot be read fails in its turn.
inputs_t inputs_of(const std::vector<std::string>& paths);

/// Inspects one of them, as what it is.
/// @throws error_t when it cannot be read
inspection_t inspect(const inspection_options_t& options, const std::string& path, const inputs_t& inputs,
                     const on_quality_t& on_quality = {});

}   // namespace kvx

#endif
