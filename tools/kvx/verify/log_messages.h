/// @file log_messages.h  Messages of known time from logs, one after the other.
#ifndef KVX_VERIFY_LOG_MESSAGES_H
#define KVX_VERIFY_LOG_MESSAGES_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "common/progress.h"
#include "log/log_reader.h"
#include "log/message_time.h"

namespace kvx {

/// Where something stands in the logs.
struct log_place_t {
    const std::string* log = nullptr;   ///< its path
    std::uint64_t byte = 0;             ///< behind it

    std::string text() const { return *log + ": byte " + std::to_string(byte); }
};

class log_messages_t {
public:
    using paths_t = std::vector<const std::string*>;

    /// @param logs  read one after the other; must outlive it and the places that it tells
    /// @param torn  of a log that was joined with others; must outlive it
    /// @throws error_t when one cannot be opened
    explicit log_messages_t(paths_t logs, torn_frames_t* torn = nullptr);

    /// The next message with a right checksum and a time; it is valid until the next call.
    /// @throws error_t when reading fails or is interrupted
    bool next(message_t& message);

    log_place_t place() const { return {logs_[log_], reader_->bytes()}; }   ///< of the message read last
    const std::string& read_error() const { return read_error_; }           ///< "log: what", empty: none so far
    bool damaged() const { return damaged_; }                               ///< bytes of the logs read so far were lost

private:
    void open(std::size_t log);
    void close();

    paths_t logs_;
    torn_frames_t* torn_;
    std::size_t log_ = 0;
    std::unique_ptr<raw_t> frame_;   // the framing keeps the frame in hand there
    std::unique_ptr<input_file_t> source_;
    std::unique_ptr<log_reader_t> reader_;
    std::unique_ptr<progress_t> progress_;
    bool damaged_ = false;
    std::string read_error_;
};

/// Logs in the order of their first ranges; those without any stand behind the others.
log_messages_t::paths_t by_first_ranges(const std::vector<std::string>& logs);

}   // namespace kvx

#endif
