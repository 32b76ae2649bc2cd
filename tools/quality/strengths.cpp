#include "quality/strengths.h"

#include <numeric>

namespace quality {

std::uint64_t strengths_t::count() const
{
    std::uint64_t sum = 0;
    for (const histogram_t& h : counts_) sum = std::accumulate(h.begin(), h.end(), sum);
    return sum;
}

double strengths_t::median_of(const histogram_t& counts)
{
    const std::uint64_t all = std::accumulate(counts.begin(), counts.end(), std::uint64_t{0});
    std::uint64_t below = 0;
    for (std::size_t bin = 0; bin < kBins; ++bin) {
        below += counts[bin];
        if (all > 0 && 2 * below >= all) return kWidth * static_cast<double>(bin);
    }
    return 0.0;
}

double strengths_t::median() const
{
    histogram_t sum{};
    for (const histogram_t& h : counts_) {
        for (std::size_t bin = 0; bin < kBins; ++bin) sum[bin] += h[bin];
    }
    return median_of(sum);
}

double strengths_t::median(std::size_t step) const
{
    return median_of(counts_[step]);
}

strengths_t& strengths_t::operator+=(const strengths_t& other)
{
    for (std::size_t step = 0; step < counts_.size(); ++step) {
        for (std::size_t bin = 0; bin < kBins; ++bin) counts_[step][bin] += other.counts_[step][bin];
    }
    least_ = std::min(least_, other.least_);
    greatest_ = std::max(greatest_, other.greatest_);
    return *this;
}

}   // namespace quality
