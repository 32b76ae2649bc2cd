/// @file signals.h  Signals of the receiver: channel tracking status, RINEX codes, satellite numbers.
#ifndef RTK_LOG_SIGNALS_H
#define RTK_LOG_SIGNALS_H

#include <array>
#include <cstdint>

#include "gnss/foundation/satellites.h"

namespace korvex {

/// A signal that the receiver can track.
struct signal_t {
    int systems;         // gnss_system_t, one or more
    int type;            // signal type of the tracking status
    const char* name;    // as the systems name it
    const char* rinex;   // band and attribute of its RINEX 3 observation codes; null: it has none
    std::uint8_t code;   // observation code number of the record
    int slot;            // signal slot of the record 0..4
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

/// What the rows of the signals say of a tracking status, as in trackstat_t; close together, and found without a
/// search.
struct place_t {
    double wavelength;
    std::uint8_t sys, code;
    int slot;
};

/// The rows unfolded: index is system (3 bits) and signal type (5 bits) of the tracking status.
extern const std::array<place_t, 256> kPlaces;

inline trackstat_t read_trackstat(std::uint32_t status)
{
    const auto bits = [status](int pos, int len) { return status >> pos & ((1u << len) - 1); };
    const place_t& place = kPlaces[bits(16, 3) << 5 | bits(21, 5)];
    trackstat_t t;
    t.sys = place.sys;
    t.type = static_cast<int>(bits(21, 5));
    t.slot = place.slot;
    t.code = place.code;
    t.tracking_state = static_cast<int>(bits(0, 5));
    t.phase_lock = bits(10, 1) != 0;
    t.parity_known = bits(11, 1) != 0;
    t.code_lock = bits(12, 1) != 0;
    t.slot_override = bits(19, 1) != 0;
    t.half_cycle = bits(28, 1) != 0;
    t.wavelength = place.wavelength;
    return t;
}

/// Satellite number of a receiver PRN, 0 for none. PRNs behind the last of their system fall on numbers of other
/// systems or beyond the last number.
inline int satellite_number(int sys, int prn)
{
    const system_t& s = system_of(sys);
    return prn > s.prn_before && prn <= s.last_prn ? s.first + prn - s.prn_before - 1 : 0;
}

/// Satellite number by fixed offsets (host option); can lie beyond the last number.
///
/// @param small_bds  largest BeiDou PRN that counts from 1: 159 or, in the compressed message, 29
int raw_satellite_number(int sys, int prn, int small_bds);

}   // namespace korvex

#endif
