/// @file sky_grid.h  The sky in cells of nearly equal size, in rings of five degrees.
#ifndef KVX_REPORT_SKY_GRID_H
#define KVX_REPORT_SKY_GRID_H

#include <array>
#include <cmath>

#include "quality/elevations.h"

namespace kvx::report {

inline constexpr int kRings = 18;
inline constexpr double kRingHeight = 5.0;   // degrees

/// Cells of each ring, those of the horizon first, and the number of the first one.
struct sky_rings_t {
    std::array<int, kRings> cells{};
    std::array<int, kRings + 1> first{};

    sky_rings_t()
    {
        for (int ring = 0; ring < kRings; ++ring) {
            const double middle = (ring + 0.5) * kRingHeight / position::kRadian;
            cells[static_cast<std::size_t>(ring)] =
                std::max(6, static_cast<int>(std::lround(360.0 / kRingHeight * std::cos(middle))));
            first[static_cast<std::size_t>(ring) + 1] =
                first[static_cast<std::size_t>(ring)] + cells[static_cast<std::size_t>(ring)];
        }
    }
    std::size_t count() const { return static_cast<std::size_t>(first[kRings]); }

    std::size_t cell(std::size_t ring, int i) const
    {
        return static_cast<std::size_t>(first[ring]) + static_cast<std::size_t>(i);
    }

    /// The cell of a direction above the horizon; -1: it is below or not known.
    int cell_of(const quality::direction_t& to) const
    {
        if (!to.known || to.elevation < 0.0F) return -1;
        const auto ring = static_cast<std::size_t>(
            std::min(kRings - 1.0, static_cast<double>(to.elevation) * position::kRadian / kRingHeight));
        const double turn = static_cast<double>(to.azimuth) / (2.0 * sky::kPi);
        return first[ring] + std::min(cells[ring] - 1, static_cast<int>(turn * cells[ring]));
    }
};

}   // namespace kvx::report

#endif
