/// @file torn_frames.h  Frames whose two halves stand in two logs, as where a stream is cut at any byte.
#ifndef KVX_TORN_FRAMES_H
#define KVX_TORN_FRAMES_H

#include <rtk_gnss.h>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kvx {

/// The beginnings of logs of one session that may be the rest of a frame that the end of another one cuts off.
class torn_frames_t {
public:
    using bytes_t = std::vector<std::uint8_t>;

    /// @param logs  read up to their first frames
    /// @throws error_t when one cannot be read
    explicit torn_frames_t(const std::vector<std::string>& logs);

    /// The whole frame of a half, when the beginning of a log that has not been opened is the other one.
    std::optional<bytes_t> completed(const std::uint8_t* half, std::size_t size);

    /// Opens a log.
    /// @return bytes at its beginning that belong to a frame of another log
    std::size_t open(const std::string& log);

private:
    struct beginning_t {
        bytes_t bytes;
        bool used = false;
    };
    std::map<std::string, beginning_t> beginnings_;   // of logs not opened that do not begin with a frame
    std::unique_ptr<raw_t> frame_;                    // to try
};

}   // namespace kvx

#endif
