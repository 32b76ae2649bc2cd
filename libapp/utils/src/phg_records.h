/// @file phg_records.h  What is known of the vision library's records and of the dump's own header.
#ifndef RTK_PHG_RECORDS_H
#define RTK_PHG_RECORDS_H

#include <cstddef>
#include <cstdint>

namespace phg {

inline constexpr std::uint8_t kDumpSync[] = {0xD4, 0xD2, 0xD3};

inline constexpr int kNotBound = -14;   // result of a wrapper that could not call

// Sizes (bytes) of the records that a dump keeps, and places of their fields.
inline constexpr int kConfigSize = 88;
inline constexpr int kHardwareConfigSize = 24;
inline constexpr int kGnssSize = 128;
inline constexpr int kImuSize = 52;
inline constexpr int kCalibHeadSize = 32;
inline constexpr std::size_t kCalibValuesOffset = 8;
inline constexpr int kFusionHeadSize = 88, kFusionElementSize = 32;
inline constexpr std::size_t kFusionCountOffset = 5;            // u8
inline constexpr int kFrameSize = 32, kFrameElementSize = 24;   // the size holds the first element
inline constexpr std::size_t kFrameCountOffset = 6;             // u16

}   // namespace phg

#endif
