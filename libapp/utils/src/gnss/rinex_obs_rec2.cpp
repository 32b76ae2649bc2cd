// Epoch records of RINEX 2.11.
#include "rinex_epoch2.h"
#include "rinex_obs_fields.h"
#include "rinex_obs_interval.h"
#include "rinex_state.h"

namespace {

using namespace rinex;

// The same signal under a RINEX 3 epoch line: a satellite a line.
void put_epoch_record3(text_t& out, const raw_t& raw, const rnx_t& opt, const date_t& date)
{
    put_epoch_line3(out, date, 0, satellite_count2(raw, opt));
    for (int i = 0; i < observation_count(raw); ++i) {
        int prn = 0;
        const system2_t system = system2(opt, satsys(raw.obs[i].sat, &prn));
        if (!system.enabled || system.letter == '\0') continue;
        put_satellite(out, system.letter, prn);
        put_signal(out, raw.obs[i], kSlot2);
        out.put('\n');
    }
}

}   // namespace

int WriteRinexObsRec_2(std::FILE* fp, const raw_t* raw, rnx_t* opt, double rate)
{
    if (fp == nullptr || raw == nullptr || opt == nullptr) return 0;
    if (is_older(*raw, *opt)) return -1;
    const date_t date = date_of(raw->week, raw->tow, rate);
    if (rate == kEventMark) {
        write_event_mark(fp, date, opt->version);
        return 1;
    }

    if (opt->firsttow < 0.0) {   // Deliberate: unlike the RINEX 3 writer it leaves firstweek alone.
        opt->firsttow = raw->tow;
        firse_sec = date.second;
    }
    if (!on_interval_grid(fp, *raw, *opt, rate, date.second, kIntervalRules2)) return 0;
    opt->lastweek = raw->week;
    opt->lasttow = raw->tow;

    epoch_text_t out;
    opt->version > 299 ? put_epoch_record3(out, *raw, *opt, date) : put_epoch_record2(out, *raw, *opt, date);
    out.write(fp);
    return 1;
}
