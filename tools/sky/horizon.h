/// @file horizon.h  Above what a satellite must stand to be tracked: the elevation mask, and what is built around.
#ifndef SKY_HORIZON_H
#define SKY_HORIZON_H

#include <span>
#include <vector>

#include "sky/atmosphere.h"
#include "sky/trigonometry.h"

namespace sky {

/// Hides the sky between two azimuths, clockwise from north, below an elevation. All in degrees, azimuths 0..360; from
/// 350 to 20 goes through north, from 0 to 360 all around.
struct obstruction_t {
    double from, to;
    double elevation;
};

class horizon_t {
public:
    /// @param mask  least elevation in every direction, degrees
    horizon_t(double mask, std::span<const obstruction_t> obstructions);

    bool open(const direction_t& to) const;

private:
    struct sector_t {
        sin_cos_t middle;
        double cos_half_width;
        double sin_elevation;
    };

    double sin_mask_;
    std::vector<sector_t> sectors_;
};

}   // namespace sky

#endif
