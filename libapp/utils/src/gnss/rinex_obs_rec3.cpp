// Epoch records of RINEX 3.
#include "rinex_epoch2.h"
#include "rinex_obs_epoch.h"
#include "rinex_obs_fields.h"
#include "rinex_obs_types.h"

namespace {

using namespace rinex;

constexpr int kLastBds2 = 16;     // BeiDou satellites up to this one send B2, those above it B2a
constexpr int kSbasOffset = 19;   // SBAS numbers count from PRN 120, RINEX from PRN 100

struct system3_t {
    char letter;   // '\0': no identifier
    bool enabled;
};

system3_t system3(const rnx_t& opt, int sys)
{
    switch (sys) {
        case SYS_GPS:
            return {'G', opt.sys_gps != 0};
        case SYS_GLO:
            return {'R', opt.sys_glo != 0};
        case SYS_GAL:
            return {'E', opt.sys_gal != 0};
        case SYS_QZS:
            return {'J', opt.sys_gps != 0};
        case SYS_BDS:
            return {'C', opt.sys_bds != 0};
        case SYS_SBS:
            return {'S', opt.sys_sbs != 0};
        default:
            return {'\0', true};
    }
}

int satellite_count(const raw_t& raw, const rnx_t& opt)
{
    int count = 0;
    for (int i = 0; i < observation_count(raw); ++i) count += system3(opt, satsys(raw.obs[i].sat, nullptr)).enabled;
    return count;
}

// The four columns that a BeiDou satellite leaves empty: those of the B2 signal its generation lacks.
enum class bds_gap_t { kNone, kInsteadOfSlot1, kBeforeSlot1, kBeforeSlot2 };

bds_gap_t bds_gap(int sys, int prn, int version)
{
    if (sys != SYS_BDS) return bds_gap_t::kNone;
    if (prn > kLastBds2) return version == 304 ? bds_gap_t::kBeforeSlot1 : bds_gap_t::kInsteadOfSlot1;
    return version == 304 ? bds_gap_t::kBeforeSlot2 : bds_gap_t::kNone;
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
    const system3_t system = system3(opt, sys);
    if (!system.enabled) return;
    if (system.letter != '\0') put_satellite(out, system.letter, sys == SYS_SBS ? prn + kSbasOffset : prn);
    put_signals(out, obs, slots.of(sys), bds_gap(sys, prn, opt.version));
    out.put('\n');
}

void put_epoch_record3(text_t& out, const raw_t& raw, const rnx_t& opt, const date_t& date)
{
    put_epoch_line3(out, date, 0, satellite_count(raw, opt));
    const slot_counts_t slots = slot_counts(opt, raw.opt_nosigmap != 0);
    for (int i = 0; i < observation_count(raw); ++i) put_satellite_line(out, raw.obs[i], opt, slots);
}

void put_epoch(text_t& out, const raw_t& raw, const rnx_t& opt, const date_t& date)
{
    (opt.version < 300 ? put_epoch_record2 : put_epoch_record3)(out, raw, opt, date);
}

}   // namespace

int WriteRinexObsRec(std::FILE* fp, const raw_t* raw, rnx_t* opt, double rate)
{
    return write_epoch(fp, raw, opt, rate, {kIntervalRules3, true, put_epoch});
}

int cmpobs(const void* p1, const void* p2)
{
    // Deliberate: equal numbers compare as -1, never 0.
    return static_cast<const obsd_t*>(p1)->sat > static_cast<const obsd_t*>(p2)->sat ? 1 : -1;
}
