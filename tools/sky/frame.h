/// @file frame.h  Builds frames of the receiver log.
#ifndef SKY_FRAME_H
#define SKY_FRAME_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "gnss/log/frame.h"

namespace sky {

using bytes_t = std::vector<std::uint8_t>;

/// A message under construction: its body is filled field by field, then it is appended to a log.
class frame_t {
public:
    /// @param id    message ID
    /// @param body  length of the body (bytes), filled with zeros; at most 8160
    frame_t(std::uint16_t id, std::size_t body);

    // Little-endian fields at an offset from the body's start.
    frame_t& u8(std::size_t offset, unsigned value) { return put(korvex::kHeaderSize + offset, value, 1); }
    frame_t& u16(std::size_t offset, unsigned value) { return put(korvex::kHeaderSize + offset, value, 2); }
    frame_t& u32(std::size_t offset, std::uint32_t value) { return put(korvex::kHeaderSize + offset, value, 4); }
    frame_t& f32(std::size_t offset, float value) { return u32(offset, std::bit_cast<std::uint32_t>(value)); }
    frame_t& f64(std::size_t offset, double value)
    {
        return put(korvex::kHeaderSize + offset, std::bit_cast<std::uint64_t>(value), 8);
    }
    frame_t& text(std::size_t offset, std::string_view value);

    std::uint8_t* body() { return bytes_.data() + korvex::kHeaderSize; }

    /// Completes header and checksum and appends the frame.
    ///
    /// @param log   grows by header, body and checksum
    /// @param week  GPS week of the header
    /// @param ms    milliseconds of that week
    void append_to(bytes_t& log, int week, std::int64_t ms);

private:
    frame_t& put(std::size_t at, std::uint64_t value, int size);
    bytes_t bytes_;
};

}   // namespace sky

#endif
