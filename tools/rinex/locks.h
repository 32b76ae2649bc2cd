/// @file locks.h  Cycle slips and half cycles of the phases, from lock times.
#ifndef RINEX_LOCKS_H
#define RINEX_LOCKS_H

#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "rinex/epoch.h"
#include "rinex/fields.h"

namespace rinex {

/// Follows the phase of every signal through all epochs of a log, those that are not written too, and tells for a
/// phase that is written what may have come between it and the one before.
class lock_tracker_t {
public:
    lock_tracker_t() : locks_(kSatellites) {}

    /// Looks at an observation; each once, in order.
    void follow(int place, int signal, const observation_t& o)
    {
        lock_t& lock = at(place, signal);
        const bool fell = !o.lock_time_full && o.lock_time < lock.lock_time;
        lock.lost |= o.value[kPhase] == 0.0 || o.lock_time < 0.0 || fell;
        lock.half_cycle |= !o.parity_known;
        lock.lock_time = o.lock_time;
    }

    /// Prepares a phase for the file: sets its digit; a phase too large for its columns loses whole cycles.
    void mark(int place, int signal, std::int64_t time, observation_t& o);

private:
    struct lock_t {
        std::int64_t written = std::numeric_limits<std::int64_t>::min();   // time of the last phase, ms
        double lock_time = 0.0;                                            // of the observation before, s
        double whole_cycles = 0.0;                                         // added
        std::uint8_t tracking_key = 0;                                     // of the last phase written
        bool lost = false;                                                 // since the last phase written
        bool half_cycle = false;
    };
    bool lost_since(const lock_t& lock, std::int64_t time, const observation_t& o);

    lock_t& at(int place, int signal)
    {
        return locks_[static_cast<std::size_t>(place)][static_cast<std::size_t>(signal)];
    }

    std::vector<std::array<lock_t, kMostSignals>> locks_;
    struct step_t {
        std::int64_t ms = 0;
        double seconds = 0.0, single = 0.0;   // as messages send it: in double and in single precision
    } step_;                                  // between phases, mostly the same for all of them
};

// Full messages send lock times in single precision, and so the time to compare with is taken.
inline bool lock_tracker_t::lost_since(const lock_t& lock, std::int64_t time, const observation_t& o)
{
    if (const std::int64_t ms = time - lock.written; ms != step_.ms) {
        const double passed = static_cast<double>(ms) / 1000.0;
        step_ = {ms, passed, static_cast<double>(static_cast<float>(passed))};
    }
    return !o.lock_time_full && o.lock_time < (o.compressed ? step_.seconds : step_.single);
}

inline void lock_tracker_t::mark(int place, int signal, std::int64_t time, observation_t& o)
{
    const double phase = o.value[kPhase];
    if (phase == 0.0) return;
    lock_t& lock = at(place, signal);
    const bool first = lock.written == std::numeric_limits<std::int64_t>::min(), known = o.parity_known;
    bool slip = lock.lost || (known && lock.half_cycle) ||
                (!first && (lost_since(lock, time, o) || o.tracking_key != lock.tracking_key));
    if (std::fabs(phase + lock.whole_cycles) > 1.0 && !fits_columns(phase + lock.whole_cycles)) {
        lock.whole_cycles = 1.0 - std::nearbyint(phase);
        slip = true;
    }
    o.value[kPhase] = phase + lock.whole_cycles;
    o.digits = static_cast<std::uint8_t>((known ? 0 : kHalfCycle) | (slip ? kSlip : 0));
    lock.written = time;
    lock.tracking_key = o.tracking_key;
    lock.lost = false;
    lock.half_cycle = lock.half_cycle && !known;
}

}   // namespace rinex

#endif
