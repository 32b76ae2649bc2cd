/// @file device_frame.h  Layout of a device message frame.
#ifndef RTK_DEVICE_FRAME_H
#define RTK_DEVICE_FRAME_H

#include <cstddef>

namespace device_frame {

constexpr unsigned char kSync[] = {0xAA, 0x44, 0xCC};
constexpr std::size_t kHeaderLength = 3;   // offsets in the header
constexpr std::size_t kId = 4;
constexpr std::size_t kExtra = 6;
constexpr std::size_t kPayloadLength = 8;
constexpr std::size_t kHeaderSize = 16;
constexpr std::size_t kCrcSize = 4;
constexpr std::size_t kOverhead = kHeaderSize + kCrcSize;
constexpr std::size_t kMaxHeaderLength = 255;   // what its byte can say

}   // namespace device_frame

#endif
