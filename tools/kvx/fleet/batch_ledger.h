/// @file batch_ledger.h  The account of a batch: a line of JSON for what became of each log, the last one counting.
#ifndef KVX_BATCH_LEDGER_H
#define KVX_BATCH_LEDGER_H

#include <cstdint>
#include <functional>
#include <map>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace kvx {

/// What a file was when it was looked at.
struct identity_t {
    std::uint64_t bytes = 0;
    std::int64_t modified = 0;   ///< ns since 1970
    std::string sha256;          ///< empty: not asked for

    /// @param checksum  is wanted, too
    /// @return nothing: it is not there, or no file
    static std::optional<identity_t> of(const std::string& path, bool checksum);

    /// Checksums count where both have one; of times, seconds: copies lose the rest.
    bool same(const identity_t& other) const;
};

/// Of a log, what its lines tell.
struct account_t {
    std::string line;                ///< the last one, when it is not of the batch's own ledger
    std::optional<identity_t> log;   ///< as it was last; none: nothing came of it
    std::string options;             ///< and program, by which the files were made
    std::map<std::string, identity_t> files;
    std::map<std::string, std::set<std::string>> owned;   ///< checksums of all files that were ever made of it
};

/// Reads a ledger line by line. Lines that are torn, as killed runs and full disks leave them, are none.
/// @param take  a line, and its text; it may throw nlohmann::json::exception for one that is no ledger's
/// @return torn lines
/// @throws error_t
std::uint64_t read_ledger(const std::string& path,
                          const std::function<void(const nlohmann::json& line, std::string_view text)>& take);

/// The logs whose files a line's log took over.
std::vector<std::string> adopted_in(const nlohmann::json& line);

/// What ledgers tell in all.
struct book_t {
    std::map<std::string, account_t> accounts;   ///< by log, of those that are wanted
    std::map<std::string, std::string> makers;   ///< by file, the log that made it last, of all logs
};

/// Reads a batch's own ledger, which may not be there yet, behind others that must be.
/// @throws error_t
book_t read_book(const std::string& own, const std::vector<std::string>& others,
                 const std::function<bool(const std::string& log)>& wanted);

/// Takes lines at its end. Several processes of one run may write; another run may not.
class ledger_file_t {
public:
    /// @throws error_t  it cannot be written, or another run writes it
    explicit ledger_file_t(std::string path);
    ~ledger_file_t();
    ledger_file_t(const ledger_file_t&) = delete;
    ledger_file_t& operator=(const ledger_file_t&) = delete;

    /// Writes a line, which is on the disk then.
    /// @throws error_t
    void add(std::string line);

private:
    std::string path_;
    int fd_;
};

}   // namespace kvx

#endif
