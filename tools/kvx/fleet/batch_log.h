/// @file batch_log.h  One log of a batch: skipped, or converted and entered into the ledger.
#ifndef KVX_BATCH_LOG_H
#define KVX_BATCH_LOG_H

#include <string>

#include "convert/convert_options.h"
#include "fleet/batch_ledger.h"
#include "fleet/plan.h"

namespace kvx {

/// What the logs of a batch have alike.
struct batch_terms_t {
    const convert_options_t& options;
    std::string spelled;   ///< options that change files, and the program's version
    std::string root;      ///< folder of the tree
    const book_t& book;
};

enum class batch_result_t { converted, damaged, skipped };

/// @throws interruption_t, with nothing entered; error_t when nothing came of the log, which is entered
batch_result_t convert_planned(const batch_terms_t& terms, const planned_log_t& log, ledger_file_t& ledger);

/// Enters that nothing came of a log.
void enter_failure(const batch_terms_t& terms, const planned_log_t& log, const std::string& why, ledger_file_t& ledger);

}   // namespace kvx

#endif
