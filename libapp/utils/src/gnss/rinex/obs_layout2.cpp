#include "gnss/rinex/obs_layout2.h"

#include "gnss/rinex/obs_fields.h"

namespace rinex {

namespace {

constexpr int kSatellitesPerLine = 12;
constexpr int kFieldsPerLine = 5;
constexpr int kFields = 8;           // C1 L1 D1 S1 P2 L2 D2 S2
constexpr int kFieldsWithBds = 12;   // and C7 L7 D7 S7

// Place of the first of the four values among C1 L1 D1 S1 P2 L2 D2 S2 C7 L7 D7 S7. Deliberate: systems
// that 2.11 has no letter for here are written like GLONASS.
int first_field(int sys)
{
    switch (sys) {
        case SYS_GPS:
            return 0;
        case SYS_BDS:
            return 8;
        default:
            return 4;
    }
}

void put_satellite_list(text_t& out, const raw_t& raw, const rnx_t& opt)
{
    int listed = 0;
    for (int i = 0; i < observation_count(raw); ++i) {
        int prn = 0;
        const system_in_file_t system = in_rinex2(opt, satsys(raw.obs[i].sat, &prn));
        if (!system.enabled) continue;
        if (listed > 0 && listed % kSatellitesPerLine == 0) out.put('\n').blanks(32);
        ++listed;   // Deliberate: a satellite without a letter takes a place all the same.
        if (system.letter != '\0') put_satellite(out, system.letter, prn);
    }
    out.put('\n');
}

void put_observation_lines(text_t& out, const obsd_t& obs, int first, int fields)
{
    for (int i = 0; i < fields; ++i) {
        if (i > 0 && i % kFieldsPerLine == 0) out.put('\n');
        if (i >= first && i < first + kSignalFields) {
            put_signal_field(out, obs, kCarriedSlot, i - first);
        } else {
            out.blanks(kFieldWidth);
        }
    }
    out.put('\n');
}

}   // namespace

void put_epoch_rinex2(text_t& out, const raw_t& raw, const rnx_t& opt, const date_t& date)
{
    put_date_rinex2(out, date);
    out.put("  0").integer(satellite_count(raw, opt, in_rinex2), 3);
    put_satellite_list(out, raw, opt);
    for (int i = 0; i < observation_count(raw); ++i) {
        const int sys = satsys(raw.obs[i].sat, nullptr);
        const int fields = opt.sys_bds == 1 || sys == SYS_BDS ? kFieldsWithBds : kFields;
        if (in_rinex2(opt, sys).enabled) put_observation_lines(out, raw.obs[i], first_field(sys), fields);
    }
}

}   // namespace rinex
