// Epoch records of RINEX 2.11.
#include "rinex_epoch2.h"
#include "rinex_obs_epoch.h"
#include "rinex_obs_fields.h"

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

void put_epoch(text_t& out, const raw_t& raw, const rnx_t& opt, const date_t& date)
{
    (opt.version > 299 ? put_epoch_record3 : put_epoch_record2)(out, raw, opt, date);
}

}   // namespace

int WriteRinexObsRec_2(std::FILE* fp, const raw_t* raw, rnx_t* opt, double rate)
{
    return write_epoch(fp, raw, opt, rate, {kIntervalRules2, false, put_epoch});   // Deliberate: firstweek stays.
}
