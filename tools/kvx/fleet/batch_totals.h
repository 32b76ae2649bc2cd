/// @file batch_totals.h  What the ledgers of batches tell in all.
#ifndef KVX_BATCH_TOTALS_H
#define KVX_BATCH_TOTALS_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace kvx {

/// What became of a log, by its last line.
struct outcome_of_log_t {
    int code = 0;   ///< exit_code_t
    std::uint64_t bytes = 0, files = 0, bytes_of_files = 0;
    std::uint64_t epochs = 0, missing_epochs = 0, in_log = 0, written = 0;
    std::uint64_t lost_bytes = 0, bad_checksum = 0, refused = 0, epochs_out_of_order = 0;
    double seconds = 0.0, processor_seconds = 0.0;
    std::map<std::string, std::uint64_t> left_out;   ///< observations by reason
    std::string error;                               ///< why nothing came of it
    std::string source;                              ///< what is wrong with its file; empty: nothing

    outcome_of_log_t& operator+=(const outcome_of_log_t& other);   ///< of the numbers
    std::string fault() const;                                     ///< what is wrong with it; empty: nothing
};

struct batch_totals_t {
    std::map<std::string, outcome_of_log_t> logs;
    std::vector<std::string> without;   ///< logs that were planned and have no line
    outcome_of_log_t sum;               ///< of those of which something came
    std::uint64_t converted = 0, damaged = 0, failed = 0;
    std::uint64_t torn_lines = 0;

    std::uint64_t not_well() const { return damaged + failed + without.size(); }
};

/// @param planned  paths that must have a line
/// @throws error_t when a ledger cannot be read
batch_totals_t totals_of(const std::vector<std::string>& ledgers, const std::vector<std::string>& planned);

}   // namespace kvx

#endif
