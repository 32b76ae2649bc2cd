/// @file obs_layout3.h  The epoch of a RINEX 3 file.
#ifndef RTK_RINEX_OBS_LAYOUT3_H
#define RTK_RINEX_OBS_LAYOUT3_H

#include "gnss/rinex/lines.h"
#include "gnss/rinex/text.h"
#include "rtk_gnss.h"

namespace rinex {

/// Appends the epoch line and a line a satellite with all its signal slots.
void put_epoch_rinex3(text_t& out, const raw_t& raw, const rnx_t& opt, const date_t& date);

/// The same with one signal slot, for the satellites and by the switches of RINEX 2.11.
void put_one_slot_epoch_rinex3(text_t& out, const raw_t& raw, const rnx_t& opt, const date_t& date);

}   // namespace rinex

#endif
