/// @file obs_interval.h  Finds the observation interval from the data and keeps the output on its grid.
#ifndef RTK_RINEX_OBS_INTERVAL_H
#define RTK_RINEX_OBS_INTERVAL_H

#include <cstdio>

#include "rtk_gnss.h"

namespace rinex {

/// What the two record writers do differently.
struct interval_rules_t {
    bool revote;                // hold the vote on every epoch, not only when the interval is found
    bool counts_first_record;   // the records of the search count from the first one on
};

inline constexpr interval_rules_t kAllSlotsRules = {false, true};   // WriteRinexObsRec
inline constexpr interval_rules_t kOneSlotRules = {true, false};    // WriteRinexObsRec_2

/// Takes the epoch into the search and tests it against the grid; rewrites the header when the interval
/// has become the commanded one.
///
/// @param rate    output interval commanded (s); 0 turns all of this off
/// @param second  second of the minute of the epoch
/// @return false when the epoch is off the grid
bool on_interval_grid(std::FILE* fp, const raw_t& raw, rnx_t& opt, double rate, double second,
                      const interval_rules_t& rules);

}   // namespace rinex

#endif
