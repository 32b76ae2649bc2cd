#include "gnss/rinex/obs_layout3.h"

#include "gnss/foundation/satellites.h"
#include "gnss/rinex/obs_fields.h"
#include "gnss/rinex/obs_layout2.h"
#include "gnss/rinex/obs_types.h"
#include "gnss/rinex/version.h"

namespace rinex {

namespace {

// The four columns that a BeiDou satellite leaves empty: those of the B2 signal its generation lacks.
enum class bds_gap_t { kNone, kInsteadOfSlot1, kBeforeSlot1, kBeforeSlot2 };

bds_gap_t bds_gap(int sys, int prn, int version)
{
    if (sys != SYS_BDS) return bds_gap_t::kNone;
    if (prn > kLastBds2) return b2a_has_columns(version) ? bds_gap_t::kBeforeSlot1 : bds_gap_t::kInsteadOfSlot1;
    return b2a_has_columns(version) ? bds_gap_t::kBeforeSlot2 : bds_gap_t::kNone;
}

void put_signals(text_t& out, const obsd_t& obs, int slots, bds_gap_t gap)
{
    for (int slot = 0; slot < slots; ++slot) {
        const bool replaced = gap == bds_gap_t::kInsteadOfSlot1 && slot == 1;
        const bool behind_gap =
            (gap == bds_gap_t::kBeforeSlot1 && slot == 1) || (gap == bds_gap_t::kBeforeSlot2 && slot == 2);
        if (replaced || behind_gap) put_blank_signal(out);
        if (!replaced) put_signal(out, obs, slot);
    }
}

void put_satellite_line(text_t& out, const obsd_t& obs, const rnx_t& opt, const slot_counts_t& slots)
{
    int prn = 0;
    const int sys = satsys(obs.sat, &prn);
    const system_in_file_t system = in_rinex3(opt, sys);
    if (!system.enabled) return;
    if (system.letter != '\0') put_satellite(out, system.letter, prn + system_of(sys).rinex_before);
    put_signals(out, obs, slots.of(sys), bds_gap(sys, prn, opt.version));
    out.put('\n');
}

}   // namespace

void put_epoch_rinex3(text_t& out, const raw_t& raw, const rnx_t& opt, const date_t& date)
{
    put_epoch_line_rinex3(out, date, 0, satellite_count(raw, opt, in_rinex3));
    const slot_counts_t slots = slot_counts(opt, raw.opt_nosigmap != 0);
    for (int i = 0; i < observation_count(raw); ++i) put_satellite_line(out, raw.obs[i], opt, slots);
}

void put_one_slot_epoch_rinex3(text_t& out, const raw_t& raw, const rnx_t& opt, const date_t& date)
{
    put_epoch_line_rinex3(out, date, 0, satellite_count(raw, opt, in_rinex2));
    for (int i = 0; i < observation_count(raw); ++i) {
        int prn = 0;
        const system_in_file_t system = in_rinex2(opt, satsys(raw.obs[i].sat, &prn));
        if (!system.enabled || system.letter == '\0') continue;
        put_satellite(out, system.letter, prn);
        put_signal(out, raw.obs[i], kCarriedSlot);
        out.put('\n');
    }
}

}   // namespace rinex
