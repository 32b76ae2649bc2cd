// Messages about the station: position, antenna, receiver, ionosphere, events.
#ifndef RTK_KORVEX_STATION_H
#define RTK_KORVEX_STATION_H

#include <cstdint>

#include "rtk_gnss.h"

namespace korvex {

// Body sizes (bytes) that the decoders below read without asking.
inline constexpr int kIonUtcSize = 108;
inline constexpr int kVersionSize = 104;
inline constexpr int kPositionSize = 72;
inline constexpr int kMarkTimeSize = 40;
inline constexpr int kEcefPositionSize = 112;
inline constexpr int kAntennaSize = 12;
inline constexpr int kStopAndGoSize = 4;   // more if it carries data

/// Each stores one message into the record; results as decode_result_t.
int decode_ion_utc(raw_t* raw, const std::uint8_t* body);
int decode_version(raw_t* raw, const std::uint8_t* body);
int decode_position(raw_t* raw, const std::uint8_t* body);
int decode_ecef_position(raw_t* raw, const std::uint8_t* body);
int decode_mark_time(raw_t* raw, const std::uint8_t* body);
int decode_antenna(raw_t* raw, const std::uint8_t* body);
int decode_stop_and_go(raw_t* raw, const std::uint8_t* body);

}   // namespace korvex

#endif
