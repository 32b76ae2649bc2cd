/// @file batch_ledger.h  The account of a batch: a line of JSON for what became of each log, the last one counting.
#ifndef KVX_BATCH_LEDGER_H
#define KVX_BATCH_LEDGER_H

#include <cstdint>
#include <functional>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kvx {

/// What a file was when it was looked at.
struct identity_t {
    std::uint64_t bytes = 0;
    std::int64_t modified = 0;   ///< ns since 1970
    std::string sha256;          ///< empty: not asked for

    /// @param checksum  is wanted, too
    /// @return nothing: it cannot be looked at, or is no file
    /// @throws error_t when its checksum cannot be taken
    static std::optional<identity_t> of(const std::string& path, bool checksum);

    /// Checksums count where both have one; of times, seconds: copies lose the rest.
    bool same(const identity_t& other) const;
};

/// Reads a ledger line by line. Lines that are torn, as killed runs and full disks leave them, are none.
/// @param take  a line, and its text; it may throw nlohmann::json::exception for one that is no ledger's
/// @return torn lines
/// @throws error_t
std::uint64_t read_ledger(const std::string& path,
                          const std::function<void(const nlohmann::json& line, std::string_view text)>& take);

/// The logs whose files a line's log took over.
std::vector<std::string> adopted_in(const nlohmann::json& line);

/// Size, time and checksum in an object of a line.
identity_t identity_in(const nlohmann::json& object);

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
