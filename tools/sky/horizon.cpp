#include "sky/horizon.h"

#include <algorithm>

namespace sky {

horizon_t::horizon_t(double mask, std::span<const obstruction_t> obstructions) : sin_mask_(sin_cos(mask * kDegree).sin)
{
    for (const obstruction_t& o : obstructions) {
        const double half = (o.to - o.from + (o.to < o.from ? 360.0 : 0.0)) / 2.0;
        const double all_around = -2.0;   // below every cosine, rounded or not
        sectors_.push_back({sin_cos((o.from + half) * kDegree), half < 180.0 ? sin_cos(half * kDegree).cos : all_around,
                            sin_cos(o.elevation * kDegree).sin});
    }
}

bool horizon_t::open(const direction_t& to) const
{
    const auto hidden = [&to](const sector_t& s) {
        const double cos_aside = to.cos_azimuth * s.middle.cos + to.sin_azimuth * s.middle.sin;
        return to.sin_elevation < s.sin_elevation && cos_aside >= s.cos_half_width;
    };
    return to.sin_elevation >= sin_mask_ && std::ranges::none_of(sectors_, hidden);
}

}   // namespace sky
