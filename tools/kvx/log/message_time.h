/// @file message_time.h  When a message of the log was sent.
#ifndef KVX_MESSAGE_TIME_H
#define KVX_MESSAGE_TIME_H

#include <cstdint>
#include <optional>

#include "gnss/log/frame.h"

namespace kvx {

inline bool is_range(int id)
{
    return id == MSG_RANGE || id == MSG_RANGE_COMPRESSED;
}

/// Milliseconds since the beginning of GPS time; nothing for a message that is not binary or whose sender did not know
/// the time: the boards send ranges of week 0 before they do.
inline std::optional<std::int64_t> time_of(const korvex::header_t& header)
{
    constexpr std::int64_t kWeekMs = 604800000;
    if (header.time_status == korvex::kTimeUnknown || header.week == korvex::kWeekUnknown) return std::nullopt;
    if (header.format != korvex::kBinary || (header.week == 0 && is_range(header.id))) return std::nullopt;
    return header.week * kWeekMs + header.ms;
}

/// A message of a log.
struct message_t {
    int id;
    std::int64_t sent;   ///< ms since the beginning of GPS time
    const std::uint8_t* body;
    int size;   ///< bytes of the body

    bool is_range() const { return kvx::is_range(id); }
};

}   // namespace kvx

#endif
