/// @file wire.h  Unaligned little-endian fields of the receiver log; the caller has checked the length.
#ifndef RTK_WIRE_H
#define RTK_WIRE_H

#include <bit>
#include <cstdint>

namespace wire {

inline std::uint16_t u16(const std::uint8_t* p)
{
    return static_cast<std::uint16_t>(p[0] | p[1] << 8);
}
inline std::uint32_t u32(const std::uint8_t* p)
{
    return u16(p) | static_cast<std::uint32_t>(u16(p + 2)) << 16;
}
inline std::uint64_t u64(const std::uint8_t* p)
{
    return u32(p) | static_cast<std::uint64_t>(u32(p + 4)) << 32;
}
inline std::int32_t i32(const std::uint8_t* p)
{
    return static_cast<std::int32_t>(u32(p));
}
inline float f32(const std::uint8_t* p)
{
    return std::bit_cast<float>(u32(p));
}
inline double f64(const std::uint8_t* p)
{
    return std::bit_cast<double>(u64(p));
}

}   // namespace wire

#endif
