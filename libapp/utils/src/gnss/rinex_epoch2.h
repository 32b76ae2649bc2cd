// The epoch of a RINEX 2.11 file.
#ifndef RTK_RINEX_EPOCH2_H
#define RTK_RINEX_EPOCH2_H

#include "rinex_lines.h"
#include "rinex_text.h"
#include "rtk_gnss.h"

namespace rinex {

inline constexpr int kSlot2 = 2;   ///< the one signal slot that RINEX 2.11 files carry

/// Letter of the system and whether it is written: GPS, GLONASS and BeiDou by their switches, others always.
struct system2_t {
    char letter;   // '\0': no identifier
    bool enabled;
};
system2_t system2(const rnx_t& opt, int sys);

/// Satellites counted by the three switches.
int satellite_count2(const raw_t& raw, const rnx_t& opt);

/// Appends the epoch line with its satellite list and the observation lines of signal slot 2.
void put_epoch_record2(text_t& out, const raw_t& raw, const rnx_t& opt, const date_t& date);

}   // namespace rinex

#endif
