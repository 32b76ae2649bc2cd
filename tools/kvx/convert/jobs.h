/// @file jobs.h  Several conversions at once, each in a process of its own.
#ifndef KVX_JOBS_H
#define KVX_JOBS_H

#include <functional>
#include <vector>

#include "convert/convert_options.h"

namespace kvx {

/// Converts what belongs together, and tells what came of it.
/// @return exit_code_t
using convert_t = std::function<int(const sources_t& sources)>;

/// Runs as many at once as the options allow; with an interrupt those that are under way finish what they have.
/// @return the worst of their exit codes
int run_jobs(const convert_options_t& options, const std::vector<sources_t>& tasks, const convert_t& convert);

}   // namespace kvx

#endif
