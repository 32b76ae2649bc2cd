/// @file dump_types.h  The types of dump records and how long each must be.
#ifndef KVX_DUMP_TYPES_H
#define KVX_DUMP_TYPES_H

#include <CPhgLog.h>

#include <cstddef>
#include <cstdint>

#include "phg_records.h"

namespace kvx {

/// One type: its payload is `size` bytes, or `size` and `step` for each element that its count names. The elements
/// that `size` holds already are left out of that.
struct dump_type_t {
    int code;
    const char* name;
    std::uint32_t size;
    std::uint32_t step = 0;
    std::size_t count_at = 0;   // offset of the count
    std::size_t count_bytes = 0;
    std::uint32_t counted = 0;   // elements within `size`

    /// Whether a payload of this type can have that length at all.
    bool may_have(std::uint32_t length) const
    {
        return step == 0 ? length == size : length >= size && (length - size) % step == 0;
    }

    /// Length that the payload's own count asks for; the payload has at least `size` bytes.
    std::uint32_t length_of(const std::uint8_t* payload) const
    {
        std::uint32_t count = 0;
        for (std::size_t k = 0; k < count_bytes; ++k)
            count |= static_cast<std::uint32_t>(payload[count_at + k]) << 8 * k;
        return size + step * (count > counted ? count - counted : 0);
    }
};

// clang-format off
inline constexpr dump_type_t kDumpTypes[] = {
    // code               name           size, step, count at, bytes of the count, counted
    {kPhgFusionData,     "fusion",        phg::kFusionHeadSize, phg::kFusionElementSize, phg::kFusionCountOffset, 1, 0},
    {kPhgConfig,         "config",        phg::kConfigSize},
    {kPhgHardwareConfig, "hardware",      phg::kHardwareConfigSize},
    {kPhgMeasureStat,    "measure-stat",  1},
    {kPhgCalibRequest,   "calib-request", phg::kCalibHeadSize},
    {kPhgGnss,           "gnss",          phg::kGnssSize},
    {kPhgImu,            "imu",           phg::kImuSize},
    {kPhgFrameData,      "frame",         phg::kFrameSize, phg::kFrameElementSize, phg::kFrameCountOffset, 2, 1},
    {kPhgReset,          "reset",         1},
    {kPhgVisualOdometer, "odometer",      4},
};
// clang-format on

/// Longest payload that is taken for one: that of a frame of 65535 elements.
inline constexpr std::uint32_t kMaxDumpPayload = phg::kFrameSize + phg::kFrameElementSize * (65535 - 1);

/// The type of that code, null if there is none.
constexpr const dump_type_t* dump_type(int code)
{
    for (const dump_type_t& type : kDumpTypes) {
        if (type.code == code) return &type;
    }
    return nullptr;
}

}   // namespace kvx

#endif
