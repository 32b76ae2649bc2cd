#include "sky/frame.h"

#include <algorithm>

#include "rtk_gnss.h"

namespace sky {

frame_t::frame_t(std::uint16_t id, std::size_t body) : m_bytes(kFrameHeader + body)
{
    constexpr std::uint8_t kTimeKnown = 180;   // fine steering
    m_bytes[0] = 0xAA;
    m_bytes[1] = 0x44;
    m_bytes[2] = 0x12;
    m_bytes[3] = kFrameHeader;
    put(4, id, 2);
    m_bytes[7] = 0x20;   // first serial port
    put(8, body, 2);
    m_bytes[13] = kTimeKnown;
}

frame_t& frame_t::put(std::size_t at, std::uint64_t value, int size)
{
    for (int i = 0; i < size; ++i) m_bytes[at + i] = static_cast<std::uint8_t>(value >> 8 * i);
    return *this;
}

frame_t& frame_t::text(std::size_t offset, std::string_view value)
{
    std::copy(value.begin(), value.end(), m_bytes.begin() + static_cast<std::ptrdiff_t>(kFrameHeader + offset));
    return *this;
}

void frame_t::append_to(bytes_t& log, int week, std::int64_t ms)
{
    put(14, static_cast<std::uint64_t>(week), 2);
    put(16, static_cast<std::uint64_t>(ms), 4);
    const std::uint32_t check = crc32(m_bytes.data(), static_cast<int>(m_bytes.size()));
    log.insert(log.end(), m_bytes.begin(), m_bytes.end());
    for (int i = 0; i < 4; ++i) log.push_back(static_cast<std::uint8_t>(check >> 8 * i));
}

}   // namespace sky
