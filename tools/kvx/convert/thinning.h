/// @file thinning.h  Epochs of an interval.
#ifndef KVX_THINNING_H
#define KVX_THINNING_H

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <memory>
#include <utility>

#include "log/steps.h"

namespace kvx {

/// Thins epochs out: of those around a point of the grid the nearest is kept, when it lies within half the log's own
/// interval of it. Epochs come out in order, one later than they went in.
///
/// @tparam Epoch  has a time (ms)
template <typename Epoch>
class thinning_t {
public:
    /// @param kept  whether the epoch is on the grid
    using release_t = std::function<void(Epoch& epoch, bool kept)>;

    /// @param interval  s; 0: everything is kept
    thinning_t(double interval, bool anchor_first, release_t release)
        : interval_(std::llround(interval * 1000.0)),
          anchor_first_(anchor_first),
          release_(std::move(release)),
          held_(std::make_unique<Epoch>())
    {}

    /// Takes an epoch, which it may exchange for another one.
    void add(std::unique_ptr<Epoch>& epoch)
    {
        if (interval_ == 0) return release_(*epoch, true);
        const std::int64_t time = epoch->time;
        if (last_ < 0 && anchor_first_) anchor_ = time;
        if (last_ >= 0) steps_.add(static_cast<double>(time - last_) / 1000.0);
        last_ = time;
        const std::int64_t point = time - distance(time);
        const bool nearer = !holding_ || std::llabs(distance(time)) < std::llabs(distance(held_->time));
        if (point != point_) flush();
        if (point == point_ && (!holding_ || !nearer)) {   // the point has its epoch
            flush();
            return release_(*epoch, false);
        }
        if (holding_) release_(*held_, false);
        std::swap(held_, epoch);
        holding_ = true;
        point_ = point;
    }

    void flush()
    {
        if (!holding_) return;
        holding_ = false;
        const double usual = steps_.usual();
        const double within = anchor_first_ || usual == 0.0 ? kOnGrid : usual / 2.0;
        release_(*held_, static_cast<double>(std::llabs(distance(held_->time))) / 1000.0 <= within);
    }

private:
    static constexpr double kOnGrid = 0.005;   // s, for a log whose own interval is not known

    // From the nearest point of the grid, before it or behind it.
    std::int64_t distance(std::int64_t time) const
    {
        const std::int64_t behind = ((time - anchor_) % interval_ + interval_) % interval_;
        return behind <= interval_ / 2 ? behind : behind - interval_;
    }

    std::int64_t interval_;   // ms
    bool anchor_first_;
    release_t release_;
    std::unique_ptr<Epoch> held_;
    bool holding_ = false;
    std::int64_t anchor_ = 0, last_ = -1;
    std::int64_t point_ = -1;   // of the grid, that of the epoch held last
    step_counter_t steps_;
};

}   // namespace kvx

#endif
