/// @file time_bins.h  A time axis of a fixed number of bins: they get twice as wide when the time goes on.
#ifndef KVX_REPORT_TIME_BINS_H
#define KVX_REPORT_TIME_BINS_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

namespace kvx::report {

class time_bins_t {
public:
    static constexpr std::size_t kBins = 1440;
    static constexpr std::int64_t kNarrowest = 125;   ///< ms: an epoch each of ten a second

    /// @param fold  folds everything that is kept by bin, see folded()
    explicit time_bins_t(std::function<void(bool upper)> fold) : fold_(std::move(fold)) {}

    /// The bin of a time (ms), which the axis is made to hold.
    std::size_t at(std::int64_t time)
    {
        if (!begun_) start_ = time, begun_ = true;
        while (time < start_) widen(true);
        while (time - start_ >= width_ * static_cast<std::int64_t>(kBins)) widen(false);
        return static_cast<std::size_t>((time - start_) / width_);
    }

    std::int64_t width() const { return width_; }                                                               ///< ms
    std::int64_t begin_of(std::size_t bin) const { return start_ + width_ * static_cast<std::int64_t>(bin); }   ///< ms

private:
    void widen(bool upper)
    {
        if (upper) start_ -= width_ * static_cast<std::int64_t>(kBins);
        width_ *= 2;
        fold_(upper);
    }

    std::function<void(bool upper)> fold_;
    bool begun_ = false;
    std::int64_t start_ = 0, width_ = kNarrowest;
};

/// Bins, neighbours put together, in the lower or the upper half of the axis. Earlier ones come first to `+=`.
template <typename T>
std::vector<T> folded(const std::vector<T>& bins, bool upper)
{
    std::vector<T> out(bins.size());
    const std::size_t first = upper ? bins.size() / 2 : 0;
    for (std::size_t i = 0; i < bins.size(); ++i) out[first + i / 2] += bins[i];
    return out;
}

}   // namespace kvx::report

#endif
