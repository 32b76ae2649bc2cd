/// @file signals.h  Signals of the receiver: channel tracking status, RINEX codes, satellite numbers.
#ifndef RTK_LOG_SIGNALS_H
#define RTK_LOG_SIGNALS_H

#include <cstdint>

namespace korvex {

/// A signal that the receiver can track.
struct signal_t {
    int systems;         // gnss_system_t, one or more
    int type;            // signal type of the tracking status
    const char* name;    // as the systems name it
    const char* rinex;   // band and attribute of its RINEX 3 observation codes; null: it has none
    std::uint8_t code;   // observation code number of the record
    int slot;            // signal slot of the record
    double wavelength;   // m; kByChannel: GLONASS, by the frequency channel
};

inline constexpr double kByChannel = -1.0;

/// The signal of a system and signal type; null when the decoder has no use for it.
const signal_t* find_signal(int sys, int type);

/// Channel tracking status of one signal, unpacked.
struct trackstat_t {
    int sys;              // gnss_system_t; 0: unknown
    int type;             // signal type 0..31
    int slot;             // signal slot of the record 0..4, -1: not used
    std::uint8_t code;    // observation code number of the record
    int tracking_state;   // 0..31
    bool phase_lock;
    bool parity_known;
    bool code_lock;
    bool half_cycle;      // half a cycle was added to the phase
    bool slot_override;   // the receiver asks for slot 2
    double wavelength;    // m; kByChannel: GLONASS, and signals that are not used
};

trackstat_t read_trackstat(std::uint32_t status);

/// Satellite number of a receiver PRN, 0 for none. PRNs behind the last of their system fall on numbers of other
/// systems or beyond the last number.
int satellite_number(int sys, int prn);

/// Satellite number by fixed offsets (host option); can lie beyond the last number.
///
/// @param small_bds  largest BeiDou PRN that counts from 1: 159 or, in the compressed message, 29
int raw_satellite_number(int sys, int prn, int small_bds);

}   // namespace korvex

#endif
