/// @file locks.h  How a receiver holds a signal: lock times, losses of lock, half cycles.
#ifndef SKY_LOCKS_H
#define SKY_LOCKS_H

#include <cstdint>

namespace sky {

/// Hold of a signal at an epoch.
struct lock_t {
    double time = 0.0;                               ///< of the phase, s
    bool code = true, phase = true, parity = true;   ///< locked; parity: the phase has its half cycles right
    bool half_cycle = false;                         ///< half a cycle was added to make it so
    double turns = 0.0;                              ///< cycles by which this lock's phase differs from the first one's
};

/// A signal as real skies let a receiver hold it: locks end now and then, every one to 64 minutes, for up to three
/// seconds; a quarter of the signals stay for good. In the first six seconds of a lock parity is not known.
///
/// @param signal  number that tells the signal from all others, of all satellites
/// @param since   when the satellite came into view (s)
/// @param t       epoch, not before (s)
lock_t interrupted_lock(std::uint64_t signal, double since, double t);

}   // namespace sky

#endif
