/// @file notices.h  Frames that are as they should be, and that say something no file has a place for.
#ifndef KVX_NOTICES_H
#define KVX_NOTICES_H

#include <cstdint>
#include <map>
#include <string>

namespace kvx {

/// Whose satellite numbers count.
enum class numbering_t { record, rinex };

/// Turned away by the decoder without anything being damaged.
struct notices_t {
    std::map<std::string, std::uint64_t> without_number;   ///< frames by satellite ("C60", "GPS PRN 77")
    std::uint64_t clock_not_set = 0;                       ///< frames sent before the receiver knew the time

    bool any() const { return clock_not_set > 0 || !without_number.empty(); }

    /// Counts a frame with a right checksum that was turned away.
    /// @return false when neither its satellite nor its clock is the reason: its contents cannot be right
    bool take(const std::uint8_t* frame, numbering_t numbering);
};

}   // namespace kvx

#endif
