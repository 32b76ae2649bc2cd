/// @file strengths.h  How C/N0 values lie.
#ifndef QUALITY_STRENGTHS_H
#define QUALITY_STRENGTHS_H

#include <array>
#include <cstdint>

#include "quality/elevations.h"

namespace quality {

/// Counts of values, to half a decibel: least, median and greatest without keeping them.
class strengths_t {
public:
    void add(double cn0, std::size_t step)   ///< dB-Hz; step of the elevation
    {
        const auto bin = static_cast<std::size_t>(std::clamp(cn0 / kWidth + 0.5, 0.0, kBins - 1.0));
        ++counts_[step][bin];
        least_ = std::min(least_, cn0);
        greatest_ = std::max(greatest_, cn0);
    }

    std::uint64_t count() const;
    double least() const { return least_; }
    double greatest() const { return greatest_; }
    double median() const;   ///< to half a decibel; 0: no values
    double median(std::size_t step) const;

    strengths_t& operator+=(const strengths_t& other);

private:
    static constexpr double kWidth = 0.5;   // dB
    static constexpr std::size_t kBins = 140;
    using histogram_t = std::array<std::uint32_t, kBins>;
    static double median_of(const histogram_t& counts);

    by_elevation_t<histogram_t> counts_{};
    double least_ = 1e9, greatest_ = 0.0;
};

}   // namespace quality

#endif
