/// @file batch_log.h  One log of a batch: skipped, or converted and entered into the ledger.
#ifndef KVX_BATCH_LOG_H
#define KVX_BATCH_LOG_H

#include <string>

#include "convert/convert_options.h"
#include "fleet/batch_book.h"
#include "fleet/batch_ledger.h"
#include "fleet/plan.h"

namespace kvx {

/// What the logs of a batch have alike.
struct batch_terms_t {
    const convert_options_t& options;
    std::string root;     ///< folder of the tree
    std::int64_t began;   ///< ns since 1970, by the clock of the tree's file system
    const book_t& book;
};

enum class batch_result_t { converted, damaged, skipped };

/// @throws interruption_t, with nothing entered; error_t when nothing came of the log, which is entered; not so of what
///         was no log from the beginning
batch_result_t convert_planned(const batch_terms_t& terms, const planned_log_t& log, ledger_file_t& ledger);

/// Enters that nothing came of a log.
void enter_failure(const batch_terms_t& terms, const planned_log_t& log, const std::string& why, ledger_file_t& ledger);

}   // namespace kvx

#endif
