/// @file batch_book.h  What the ledgers of batches tell of logs and files, when all their lines have been read.
#ifndef KVX_BATCH_BOOK_H
#define KVX_BATCH_BOOK_H

#include <map>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "fleet/batch_ledger.h"

namespace kvx {

/// Of a log, what its last line tells.
struct account_t {
    std::optional<identity_t> log;   ///< none: nothing came of it
    std::string options;             ///< and program, by which the files were made
    std::map<std::string, identity_t> files;
    std::string line;   ///< itself, when it is not of the batch's own ledger
};

/// Of a file, the log that it was made of last, and how it looked whenever it was.
struct file_maker_t {
    std::string log;
    std::set<std::string> sha256s;
};

class book_t {
public:
    /// Reads a batch's own ledger, which may not be there yet, behind others that must be.
    /// @param wanted  logs whose accounts are kept
    /// @throws error_t
    book_t(const std::string& own, const std::vector<std::string>& others, std::set<std::string> wanted);

    const account_t* account(const std::string& log) const;        ///< null: no line tells of it
    const file_maker_t* maker(const std::string& name) const;      ///< of a file; null: no line tells of it
    std::set<std::string> made_of(const std::string& log) const;   ///< files, also those of logs that it took over
    const std::map<std::string, file_maker_t>& makers() const { return makers_; }

private:
    void read(const std::string& path, bool own);
    void take(const nlohmann::json& line);
    void take_files(const nlohmann::json& line, const std::string& log);
    void hand_over(const std::string& other, const std::string& log);

    std::set<std::string> wanted_;
    std::map<std::string, account_t> accounts_;            // by log
    std::map<std::string, file_maker_t> makers_;           // by file
    std::map<std::string, std::set<std::string>> files_;   // by log, those that it once made; others may have since
};

}   // namespace kvx

#endif
