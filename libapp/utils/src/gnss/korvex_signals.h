// Channel tracking status and satellite numbers of the range messages.
#ifndef RTK_KORVEX_SIGNALS_H
#define RTK_KORVEX_SIGNALS_H

#include <cstdint>

namespace korvex {

/// Channel tracking status of one signal, unpacked.
struct trackstat_t {
    int sys;              // gnss_system_t; 0: unknown
    std::uint8_t code;    // observation code number
    int tracking_state;   // 0..31
    bool phase_lock;
    bool parity_known;
    bool code_lock;
    bool half_cycle;      // half a cycle was added to the phase
    bool slot_override;   // the receiver asks for slot 2
    double wavelength;    // m; -1: GLONASS, by its frequency channel
};

/// Unpacks a channel tracking status.
///
/// @return signal slot 0..4, -1 for a signal that is not used
int read_trackstat(std::uint32_t status, trackstat_t& out);

/// Satellite number of a receiver PRN, 0 for none. GLONASS PRN 62 and QZSS 200..202 fall on numbers of
/// other systems, SBAS 145..158 beyond the last number.
int satellite_number(int sys, int prn);

/// Satellite number by fixed offsets (host option); can lie beyond the last number.
///
/// @param small_bds  largest BeiDou PRN that counts from 1: 159 or, in the compressed message, 29
int raw_satellite_number(int sys, int prn, int small_bds);

}   // namespace korvex

#endif
