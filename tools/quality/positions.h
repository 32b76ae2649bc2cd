/// @file positions.h  Positions of a log: where they lie and how they scatter.
#ifndef QUALITY_POSITIONS_H
#define QUALITY_POSITIONS_H

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

}   // namespace quality

#endif
