/// @file obs_types.h  Observation types of a header, and the signal slots that the record writer fills them from.
///
/// Deliberate: the two follow different conditions, see board_t::header_fits_records().
#ifndef RTK_RINEX_OBS_TYPES_H
#define RTK_RINEX_OBS_TYPES_H

#include "gnss/rinex/text.h"
#include "rtk_gnss.h"

namespace rinex {

/// Appends the observation-type lines.
///
/// @param second_code  observation code number of the first observation's slot 1
void put_observation_types(text_t& out, const rnx_t& opt, int second_code);

/// Signal slots written per satellite of each system.
struct slot_counts_t {
    int gps, glo, bds, gal, qzs, sbs;

    int of(int sys) const;
};

slot_counts_t slot_counts(const rnx_t& opt, bool no_signal_map);

}   // namespace rinex

#endif
