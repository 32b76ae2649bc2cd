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
    std::size_t log = 0;
    std::uint64_t byte = 0;   ///< behind it
};

class log_messages_t {
public:
    /// Several logs are read in the order of their first ranges.
    /// @throws error_t when one cannot be opened
    explicit log_messages_t(std::vector<std::string> logs);

    /// The next message with a right checksum and a time; it is valid until the next call.
    /// @throws error_t when reading fails or is interrupted
    bool next(message_t& message);

    log_place_t place() const { return {log_, reader_->bytes()}; }   ///< of the message read last
    std::string text(const log_place_t& place) const;
    const std::string& read_error() const { return read_error_; }   ///< "log: what", empty: none so far
    bool damaged() const { return damaged_; }                       ///< bytes of the logs read so far were lost

private:
    void open(std::size_t log);
    void close();

    std::vector<std::string> logs_;
    std::size_t log_ = 0;
    std::unique_ptr<raw_t> frame_;   // the framing keeps the frame in hand there
    std::unique_ptr<input_file_t> source_;
    std::unique_ptr<log_reader_t> reader_;
    std::unique_ptr<progress_t> progress_;
    bool damaged_ = false;
    std::string read_error_;
};

}   // namespace kvx

#endif
