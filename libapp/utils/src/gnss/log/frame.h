/// @file frame.h  Frame of the receiver log: sync bytes, header, body, CRC-32. All fields little-endian.
#ifndef RTK_LOG_FRAME_H
#define RTK_LOG_FRAME_H

#include <cstdint>

#include "gnss/foundation/wire.h"
#include "rtk_gnss.h"

namespace korvex {

inline constexpr std::uint8_t kSync[] = {0xAA, 0x44, 0x12};
inline constexpr int kSyncSize = sizeof kSync;
inline constexpr int kAtBodySize = 8;     // offset of the body size, u16
inline constexpr int kLengthKnown = 10;   // bytes after which the body size is complete
inline constexpr int kHeaderSize = 28;
inline constexpr int kCrcSize = 4;
inline constexpr int kMaxLen = static_cast<int>(sizeof raw_t::buff) - kCrcSize;   // header and body

inline constexpr int kTimeUnknown = 20;   // time status
inline constexpr int kWeekUnknown = 65535;
inline constexpr int kBinary = 0;   // format

/// Header of a frame as it was sent.
struct header_t {
    int id;             // log_message_t and others
    int format;         // kBinary or another
    int body_size;      // bytes
    int time_status;    // kTimeUnknown: the time is unknown
    int week;           // GPS week
    std::uint32_t ms;   // of the week
};

// A layout table: field, place in the frame.
// clang-format off
inline header_t read_header(const std::uint8_t* frame)
{
    header_t h;
    h.id          = wire::u16(frame +  4);
    h.format      = frame[6] >> 4 & 3;
    h.body_size   = wire::u16(frame +  kAtBodySize);
    h.time_status = frame[13];
    h.week        = wire::u16(frame + 14);
    h.ms          = wire::u32(frame + 16);   // ms of the week
    return h;
}
// clang-format on

/// Whether the checksum behind header and body agrees with them.
///
/// @param len  bytes of header and body
inline bool checksum_agrees(const std::uint8_t* frame, int len)
{
    return crc32(frame, len) == wire::u32(frame + len);
}

}   // namespace korvex

#endif
