#include "sky/frame.h"

#include <algorithm>
#include <iterator>

namespace sky {

frame_t::frame_t(std::uint16_t id, std::size_t body) : bytes_(korvex::kHeaderSize + body)
{
    constexpr std::uint8_t kTimeKnown = 180;   // fine steering
    std::copy(std::begin(korvex::kSync), std::end(korvex::kSync), bytes_.begin());
    bytes_[3] = korvex::kHeaderSize;
    put(4, id, 2);
    bytes_[7] = 0x20;   // first serial port
    put(korvex::kAtBodySize, body, 2);
    bytes_[13] = kTimeKnown;
}

frame_t& frame_t::put(std::size_t at, std::uint64_t value, int size)
{
    for (int i = 0; i < size; ++i) bytes_[at + i] = static_cast<std::uint8_t>(value >> 8 * i);
    return *this;
}

frame_t& frame_t::text(std::size_t offset, std::string_view value)
{
    std::copy(value.begin(), value.end(), bytes_.begin() + static_cast<std::ptrdiff_t>(korvex::kHeaderSize + offset));
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
