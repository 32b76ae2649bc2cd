#include "sky/frame.h"

#include <algorithm>

#include "rtk_gnss.h"

namespace sky {

frame_t::frame_t(std::uint16_t id, std::size_t body) : bytes_(kFrameHeader + body)
{
    constexpr std::uint8_t kTimeKnown = 180;   // fine steering
    bytes_[0] = 0xAA;
    bytes_[1] = 0x44;
    bytes_[2] = 0x12;
    bytes_[3] = kFrameHeader;
    put(4, id, 2);
    bytes_[7] = 0x20;   // first serial port
    put(8, body, 2);
    bytes_[13] = kTimeKnown;
}

frame_t& frame_t::put(std::size_t at, std::uint64_t value, int size)
{
    for (int i = 0; i < size; ++i) bytes_[at + i] = static_cast<std::uint8_t>(value >> 8 * i);
    return *this;
}

frame_t& frame_t::text(std::size_t offset, std::string_view value)
{
    std::copy(value.begin(), value.end(), bytes_.begin() + static_cast<std::ptrdiff_t>(kFrameHeader + offset));
    return *this;
}

void frame_t::append_to(bytes_t& log, int week, std::int64_t ms)
{
    put(14, static_cast<std::uint64_t>(week), 2);
    put(16, static_cast<std::uint64_t>(ms), 4);
    const std::uint32_t check = crc32(bytes_.data(), static_cast<int>(bytes_.size()));
    log.insert(log.end(), bytes_.begin(), bytes_.end());
    for (int i = 0; i < 4; ++i) log.push_back(static_cast<std::uint8_t>(check >> 8 * i));
}

}   // namespace sky
