/// @file jobs.h  Several conversions at once, each in a process of its own.
#ifndef KVX_JOBS_H
#define KVX_JOBS_H

#include <functional>
#include <vector>

#include "common/batch.h"
#include "common/progress.h"
#include "convert/convert_options.h"

namespace kvx {

/// Converts the sources of a task, and tells what came of it.
/// @return exit_code_t
using convert_t = std::function<int(std::size_t task)>;

/// What is to be done, and what the processes that do it tell each other.
struct tasks_t {
    const std::vector<sources_t>& sources;   ///< of each task
    progress_run_t& progress;
    batch_t& batch;
};

/// Runs as many at once as the options allow; with an interrupt those that are under way finish what they have.
/// @return the worst of their exit codes
int run_jobs(const convert_options_t& options, const tasks_t& tasks, const convert_t& convert);

}   // namespace kvx

#endif
