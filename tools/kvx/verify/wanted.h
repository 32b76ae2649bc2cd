/// @file wanted.h  What of a log the options leave in its files.
#ifndef KVX_VERIFY_WANTED_H
#define KVX_VERIFY_WANTED_H

#include <array>
#include <cstdint>

#include "common/selection_options.h"
#include "log/steps.h"

namespace kvx {

/// Satellites, signals and times that the options leave in.
class wanted_t {
public:
    explicit wanted_t(const selection_options_t& options);

    bool satellite(int place) const { return satellites_[static_cast<std::size_t>(place)]; }
    bool signal(int constellation, int signal) const
    {
        return signals_[static_cast<std::size_t>(constellation)][static_cast<std::size_t>(signal)];
    }
    bool time(std::int64_t ms) const;   ///< since the beginning of GPS time

private:
    std::array<bool, rinex::kSatellites> satellites_{};
    std::array<std::array<bool, rinex::kMostSignals>, rinex::kConstellationCount> signals_{};
    std::optional<double> start_, end_;
};

/// Judges epochs by the grid of an interval: each point has the epoch next to it, the earlier of two as near, and none
/// when that one lies farther off than half the log's usual step.
class grid_t {
public:
    explicit grid_t(const selection_options_t& options);

    /// Takes the time (ms) of every epoch in order, one ahead of judge().
    /// @param first  of a run of epochs
    void add(std::int64_t time, bool first);

    /// Whether an epoch is on the grid.
    /// @param before, after  epochs next to it; its own time where there is none
    bool judge(std::int64_t before, std::int64_t time, std::int64_t after) const;

private:
    std::int64_t point(std::int64_t time) const;
    bool is_nearer(std::int64_t other, std::int64_t time, bool or_as_near) const;

    std::int64_t interval_, anchor_ = 0, last_ = 0;   // ms
    bool anchor_first_;
    step_counter_t steps_;
};

}   // namespace kvx

#endif
