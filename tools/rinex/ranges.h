/// @file ranges.h  Puts the range messages of a log together to epochs.
#ifndef RINEX_RANGES_H
#define RINEX_RANGES_H

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "rinex/epoch.h"
#include "rinex/ledger.h"

namespace rinex {

/// Frequency channels of GLONASS by number of the satellite, from 1; place 0 is not used.
using channels_t = std::array<std::optional<std::int8_t>, kConstellations[kGlonass].last + 1>;

/// All messages of one time are one epoch. Where the full and the compressed message tell of one signal, the full one
/// counts; their times may be a millisecond apart.
class range_collector_t {
public:
    /// Takes a whole epoch; may exchange it for another one, whose contents are of no concern.
    using take_t = std::function<void(std::unique_ptr<epoch_t>& epoch)>;

    /// @param ledger  must outlive the collector
    range_collector_t(const signals_t& signals, ledger_t& ledger, take_t take);

    /// Takes a range message. An epoch that it does not belong to is handed out first.
    ///
    /// @param time    of the message's header (ms)
    /// @param size    bytes of the body
    /// @param offset  of the message in the log
    /// @return false when the body is shorter than its records
    bool add(std::int64_t time, const std::uint8_t* body, int size, bool compressed, std::uint64_t offset = 0);

    /// Hands out the epoch in hand.
    void flush();

    bool pending() const { return pending_; }
    std::int64_t time() const { return epoch_->time; }   ///< of the epoch in hand (ms)
    const channels_t& channels() const { return channels_; }

private:
    bool belongs(std::int64_t time, bool compressed) const;
    void begin(std::int64_t time, std::uint64_t offset);
    template <bool compressed>
    void add_record(const std::uint8_t* p);
    template <bool compressed>
    observation_t* place_for(int place, int signal, std::uint8_t tracking_key);

    // What a tracking key means, with all that its records need: they are many.
    struct meaning_t {
        std::int16_t constellation, signal;   // as in signals_t
        std::int32_t first_prn;
        std::int16_t satellites, first_place;
        double frequency, step;   // Hz, Hz a GLONASS channel
        double wavelength;        // m; with a step that of channel 0
    };
    static meaning_t meaning_of(const signals_t& signals, int tracking_key);

    std::array<meaning_t, kTrackingKeys> meanings_;
    ledger_t& ledger_;
    take_t take_;
    std::unique_ptr<epoch_t> epoch_;
    bool pending_ = false;
    bool has_full_ = false;   // the epoch has a full message: its time is exact
    channels_t channels_;
};

}   // namespace rinex

#endif
