/// @file frame_mutator.h  Frames of the receiver log with right checksums, without which no input gets past the
/// framing.
#ifndef FRAME_MUTATOR_H
#define FRAME_MUTATOR_H

#include <cstdint>
#include <cstring>
#include <span>

#include "rtk_gnss.h"

inline constexpr std::size_t kFrameHeader = 28;
inline constexpr std::size_t kFrameCrc = 4;
inline constexpr std::size_t kMaxBody = 8160;

/// Completes the frame that starts here: the checksum behind header and body.
///
/// @param frame  kFrameHeader + body + kFrameCrc bytes
inline void seal_frame(std::uint8_t* frame, std::size_t body)
{
    const std::size_t len = kFrameHeader + body;
    const std::uint32_t crc = crc32(frame, static_cast<int>(len));
    std::memcpy(frame + len, &crc, sizeof crc);
}

/// Corrects the checksum of every whole frame, as the decoder would find them.
void repair_checksums(std::span<std::uint8_t> log);

#endif
