#include "quality/positions.h"

namespace quality {

void positions_t::add(const position::vec3_t& ecef)
{
    if (count_++ == 0) {
        first_ = ecef;
        axes_.emplace(position::geodetic_of(ecef));
    }
    const position::vec3_t d = axes_->local(ecef - first_);
    const double local[] = {d.x, d.y, d.z};
    for (std::size_t i = 0; i < 3; ++i) {
        const double off = local[i] - mean_[i];
        mean_[i] += off / static_cast<double>(count_);
        squares_[i] += off * (local[i] - mean_[i]);
    }
}

position::vec3_t positions_t::mean() const
{
    if (count_ == 0) return {};
    return first_ + mean_[0] * axes_->east + mean_[1] * axes_->north + mean_[2] * axes_->up;
}

std::array<double, 3> positions_t::deviations() const
{
    std::array<double, 3> d{};
    for (std::size_t i = 0; i < 3; ++i)
        d[i] = count_ > 1 ? std::sqrt(squares_[i] / static_cast<double>(count_ - 1)) : 0.0;
    return d;
}

double distances_t::within(double share) const
{
    std::uint64_t sum = 0;
    for (std::size_t bin = 0; bin < kBins; ++bin) {
        sum += counts_[bin];
        if (static_cast<double>(sum) >= share * static_cast<double>(count_))
            return kWidth * static_cast<double>(bin + 1);
    }
    return kWidth * kBins;
}

}   // namespace quality
