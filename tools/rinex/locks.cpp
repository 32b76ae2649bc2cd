#include "rinex/locks.h"

#include <cmath>

#include "rinex/fields.h"

namespace rinex {

// Full messages send lock times in single precision, and so the time to compare with is taken.
bool lock_tracker_t::lost_since(const lock_t& lock, std::int64_t time, const observation_t& o)
{
    if (const std::int64_t ms = time - lock.written; ms != step_.ms) {
        const double passed = static_cast<double>(ms) / 1000.0;
        step_ = {ms, passed, static_cast<double>(static_cast<float>(passed))};
    }
    return !o.lock_time_full && o.lock_time < (o.compressed ? step_.seconds : step_.single);
}

void lock_tracker_t::mark(int place, int signal, std::int64_t time, observation_t& o)
{
    double& phase = o.value[kPhase];
    if (phase == 0.0) return;
    lock_t& lock = at(place, signal);
    const bool first = lock.written == std::numeric_limits<std::int64_t>::min();
    o.digits = o.parity_known ? 0 : kHalfCycle;
    if (lock.lost || (o.parity_known && lock.half_cycle)) o.digits |= kSlip;
    if (!first && (lost_since(lock, time, o) || o.tracking_key != lock.tracking_key)) o.digits |= kSlip;
    if (std::fabs(phase + lock.whole_cycles) > 1.0 && !fits_columns(phase + lock.whole_cycles)) {
        lock.whole_cycles = 1.0 - std::nearbyint(phase);
        o.digits |= kSlip;
    }
    phase += lock.whole_cycles;
    lock.written = time;
    lock.tracking_key = o.tracking_key;
    lock.lost = false;
    if (o.parity_known) lock.half_cycle = false;
}

}   // namespace rinex
