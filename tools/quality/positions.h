/// @file positions.h  Positions of a log: where they lie and how they scatter.
#ifndef QUALITY_POSITIONS_H
#define QUALITY_POSITIONS_H

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>

#include "position/geodetic.h"

namespace quality {

/// Mean and scatter of positions, which are not kept.
class positions_t {
public:
    void add(const position::vec3_t& ecef);   ///< m

    std::uint64_t count() const { return count_; }
    position::vec3_t mean() const;              ///< ECEF (m)
    std::array<double, 3> deviations() const;   ///< east, north, up (m)

private:
    std::uint64_t count_ = 0;
    position::vec3_t first_{};
    std::optional<position::axes_t> axes_;   // at the first one
    std::array<double, 3> mean_{}, squares_{};
};

/// How far positions lie from others.
class distances_t {
public:
    void add(double metres)
    {
        ++counts_[static_cast<std::size_t>(std::clamp(metres / kWidth, 0.0, kBins - 1.0))];
        ++count_;
    }
    std::uint64_t count() const { return count_; }

    /// What a share of them lies within (m), to 5 cm; the greatest there is: 100 m and more.
    double within(double share) const;

private:
    static constexpr double kWidth = 0.05;   // m
    static constexpr std::size_t kBins = 2000;
    std::array<std::uint32_t, kBins> counts_{};
    std::uint64_t count_ = 0;
};

}   // namespace quality

#endif
