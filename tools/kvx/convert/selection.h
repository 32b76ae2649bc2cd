/// @file selection.h  Which epochs and observations of a log are wanted.
#ifndef KVX_SELECTION_H
#define KVX_SELECTION_H

#include <array>
#include <cstdint>
#include <functional>
#include <memory>

#include "convert/convert_options.h"
#include "log/steps.h"
#include "rinex/epoch.h"
#include "rinex/ledger.h"

namespace kvx {

/// Satellites and signals by what the command line says.
class selection_t {
public:
    explicit selection_t(const convert_options_t& options);

    bool in_window(std::int64_t ticks) const;   ///< see rinex/dates.h
    bool wants(const rinex::satellite_t& satellite) const;

    /// Takes out of an epoch what is not wanted.
    void apply(rinex::epoch_t& epoch, rinex::ledger_t& ledger) const;

private:
    std::int64_t start_, end_;   // ticks
    rinex::places_t satellites_;
    std::array<std::uint16_t, rinex::kConstellationCount> signals_{};   // bits
    bool everything_;
};

/// Thins epochs out: of those around a point of the grid the nearest is kept, when it lies within half the log's own
/// interval of it. Epochs come out in order, one later than they went in.
class thinning_t {
public:
    /// @param kept  whether the epoch is on the grid
    using release_t = std::function<void(rinex::epoch_t& epoch, bool kept)>;

    /// @param interval  s; 0: everything is kept
    thinning_t(double interval, bool anchor_first, release_t release);

    /// Takes an epoch, which it may exchange for another one.
    void add(std::unique_ptr<rinex::epoch_t>& epoch);
    void flush();

private:
    std::int64_t distance(std::int64_t time) const;

    std::int64_t interval_;   // ms
    bool anchor_first_;
    release_t release_;
    std::unique_ptr<rinex::epoch_t> held_;
    bool holding_ = false;
    std::int64_t anchor_ = 0, last_ = -1;
    std::int64_t point_ = -1;   // of the grid, that of the epoch held last
    step_counter_t steps_;
};

}   // namespace kvx

#endif
