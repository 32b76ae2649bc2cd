/// @file torn_frames.h  Frames whose two halves stand in two logs, as where a stream is cut at any byte.
#ifndef KVX_TORN_FRAMES_H
#define KVX_TORN_FRAMES_H

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "log/log_reader.h"

namespace kvx {

/// Must outlive the readers of the logs. Keeps the beginnings of logs of one session that may be the rest of a frame
/// that the end of another one cuts off.
class torn_frames_t {
public:
    using bytes_t = std::vector<std::uint8_t>;

    /// @param logs  read up to their first frames
    /// @throws error_t when one cannot be read
    explicit torn_frames_t(const std::vector<std::string>& logs);

    /// Before its first frame is read.
    /// @param reader  of a log of these
    void apply_to(log_reader_t& reader, const std::string& log);

private:
    bytes_t completed(const std::uint8_t* half, std::size_t size);
    std::size_t open(const std::string& log);

    struct beginning_t {
        bytes_t bytes;
        bool used = false;
    };
    std::map<std::string, beginning_t> beginnings_;   // of logs not opened that do not begin with a frame
    std::unique_ptr<raw_t> frame_;                    // to try
};

}   // namespace kvx

#endif
