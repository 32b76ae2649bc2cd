/// @file obs_layout2.h  The epoch of a RINEX 2.11 file.
#ifndef RTK_RINEX_OBS_LAYOUT2_H
#define RTK_RINEX_OBS_LAYOUT2_H

#include "gnss/rinex/lines.h"
#include "gnss/rinex/text.h"
#include "rtk_gnss.h"

namespace rinex {

inline constexpr int kCarriedSlot = 2;   ///< the one signal slot that RINEX 2.11 files carry

/// Appends the epoch line with its satellite list and the observation lines of the carried slot.
void put_epoch_rinex2(text_t& out, const raw_t& raw, const rnx_t& opt, const date_t& date);

}   // namespace rinex

#endif
