/// @file seen_signals.h  Which satellites and signals a log has, at the speed of reading it.
#ifndef KVX_SEEN_SIGNALS_H
#define KVX_SEEN_SIGNALS_H

#include <array>
#include <cstdint>
#include <functional>
#include <vector>

#include "rinex/epoch.h"

namespace kvx {

/// Looks at satellite and signal of each record of the range messages, and at nothing else of it.
class seen_signals_t {
public:
    /// Takes the time (ms) of a whole epoch and the place of its first message in the log (bytes).
    using take_t = std::function<void(std::int64_t time, std::uint64_t offset)>;

    /// @param signals  must outlive this
    seen_signals_t(const rinex::signals_t& signals, take_t take);

    /// Takes a range message, like rinex::range_collector_t.
    /// @return false when the body is shorter than its records
    bool add(std::int64_t time, const std::uint8_t* body, int size, bool compressed, std::uint64_t offset);

    /// Hands out the epoch in hand.
    void flush();

    std::uint64_t epochs(int place) const { return epochs_[static_cast<std::size_t>(place)]; }
    std::uint64_t observed(int place, int signal) const
    {
        return observed_[static_cast<std::size_t>(place)][static_cast<std::size_t>(signal)];
    }

private:
    const rinex::signals_t& signals_;
    take_t take_;
    bool pending_ = false, has_full_ = false;
    std::int64_t time_ = 0;
    std::uint64_t offset_ = 0;
    rinex::places_t satellites_;                            // of the epoch in hand
    std::array<std::uint16_t, rinex::kSatellites> now_{};   // bits of their signals
    std::array<std::uint64_t, rinex::kSatellites> epochs_{};
    std::array<std::array<std::uint64_t, rinex::kMostSignals>, rinex::kSatellites> observed_{};
};

}   // namespace kvx

#endif
