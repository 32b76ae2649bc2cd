/// @file signals.h  The signals of each satellite and how the board numbers them.
#ifndef SKY_SIGNALS_H
#define SKY_SIGNALS_H

#include <cstdint>
#include <span>

#include "sky/locks.h"

namespace sky {

/// One signal of a system. The delay of its code is delay1 * (first group delay of the broadcast data)
/// + delay2 * (second).
struct signal_t {
    int system;            ///< gnss_system_t
    int type;              ///< signal type of the tracking status
    double frequency;      ///< Hz; GLONASS: of channel 0
    double channel_step;   ///< Hz per GLONASS frequency channel
    double delay1, delay2;
    int first_prn, last_prn;   ///< satellites on which the board tracks it, as the board numbers them
    unsigned remainders;       ///< bit k: of these, the PRNs with remainder k by 4
    bool extra = false;        ///< not on every board
};

/// All signals in the order in which the board reports those of one satellite.
std::span<const signal_t> signals();

/// Whether the board tracks the signal on a satellite.
bool sent_by(const signal_t& signal, int system, int prn);

constexpr double kFrequencyL1 = 1575.42e6;   // Hz

/// Tracking status word of a signal.
///
/// @param signal   signal
/// @param channel  receiver channel 0..31
/// @param lock     how the receiver holds it
std::uint32_t tracking_status(const signal_t& signal, int channel, const lock_t& lock);

}   // namespace sky

#endif
