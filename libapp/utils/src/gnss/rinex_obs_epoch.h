// What the record writers of both RINEX generations do with an epoch.
#ifndef RTK_RINEX_OBS_EPOCH_H
#define RTK_RINEX_OBS_EPOCH_H

#include <cstdio>

#include "rinex_lines.h"
#include "rinex_obs_interval.h"
#include "rinex_text.h"
#include "rtk_gnss.h"

namespace rinex {

/// What tells the two record writers apart.
struct epoch_writer_t {
    interval_rules_t interval;
    bool keeps_weeks;   // firstweek and curweek are kept beside lastweek
    void (*put)(text_t& out, const raw_t& raw, const rnx_t& opt, const date_t& date);
};

/// Tests the epoch's age, writes an event mark if one is asked for, keeps the interval and the running
/// state, and appends the epoch with one write. Arguments and results as WriteRinexObsRec().
int write_epoch(std::FILE* fp, const raw_t* raw, rnx_t* opt, double rate, const epoch_writer_t& writer);

}   // namespace rinex

#endif
