// Frame of the receiver log: sync bytes, header, body, CRC-32. All fields little-endian.
#ifndef RTK_KORVEX_FRAME_H
#define RTK_KORVEX_FRAME_H

#include <cmath>
#include <cstdint>

#include "rtk_gnss.h"

namespace korvex {

inline constexpr std::uint8_t kSync[] = {0xAA, 0x44, 0x12};
inline constexpr int kSyncSize = sizeof kSync;

// Header offsets.
inline constexpr int kAtId = 4;            // u16
inline constexpr int kAtType = 6;          // u8, bits 4-5: format, 0 binary
inline constexpr int kAtBodySize = 8;      // u16
inline constexpr int kAtTimeStatus = 13;   // u8
inline constexpr int kAtWeek = 14;         // u16
inline constexpr int kAtMs = 16;           // u32, ms of the week

inline constexpr int kHeaderSize = 28;
inline constexpr int kLengthKnown = 10;   // bytes after which the body size is complete
inline constexpr int kCrcSize = 4;
inline constexpr int kMaxLen = static_cast<int>(sizeof raw_t::buff) - kCrcSize;   // header and body

inline constexpr int kTimeUnknown = 20;   // time status
inline constexpr int kWeekUnknown = 65535;

enum message_id_t : std::uint16_t {
    kGpsEphemeris = 7,
    kIonUtc = 8,
    kVersion = 37,
    kRawGpsEphemeris = 41,
    kPosition = 42,
    kRange = 43,
    kRangeCompressed = 140,
    kMarkTime = 231,
    kEcefPosition = 241,
    kSbasEphemeris = 601,
    kGlonassEphemeris = 723,
    kVisibility = 1043,
    kBdsEphemeris2 = 1047,
    kGalEphemeris = 1122,
    kRangeOther = 1273,
    kGalInavEphemeris = 1309,
    kQzssEphemeris = 1336,
    kAntennaType = 1421,
    kBdsEphemeris = 1696,
    kStopAndGo = 11111,
};

/// A time of the wire that can be worked with.
inline bool usable_time(double sec)
{
    return std::fabs(sec) <= 1e7;
}

}   // namespace korvex

#endif
