#include "rinex_epoch2.h"

#include "rinex_obs_fields.h"

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
        const system2_t system = system2(opt, satsys(raw.obs[i].sat, &prn));
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
            put_signal_field(out, obs, kSlot2, i - first);
        } else {
            out.blanks(kFieldWidth);
        }
    }
    out.put('\n');
}

}   // namespace

system2_t system2(const rnx_t& opt, int sys)
{
    switch (sys) {
        case SYS_GPS:
            return {'G', opt.sys_gps != 0};
        case SYS_GLO:
            return {'R', opt.sys_glo != 0};
        case SYS_BDS:
            return {'C', opt.sys_bds != 0};
        default:
            return {'\0', true};
    }
}

int satellite_count2(const raw_t& raw, const rnx_t& opt)
{
    int count = 0;
    for (int i = 0; i < observation_count(raw); ++i) count += system2(opt, satsys(raw.obs[i].sat, nullptr)).enabled;
    return count;
}

void put_epoch_record2(text_t& out, const raw_t& raw, const rnx_t& opt, const date_t& date)
{
    put_epoch2(out, date);
    out.put("  0").integer(satellite_count2(raw, opt), 3);
    put_satellite_list(out, raw, opt);
    for (int i = 0; i < observation_count(raw); ++i) {
        const int sys = satsys(raw.obs[i].sat, nullptr);
        const int fields = opt.sys_bds == 1 || sys == SYS_BDS ? kFieldsWithBds : kFields;
        if (system2(opt, sys).enabled) put_observation_lines(out, raw.obs[i], first_field(sys), fields);
    }
}

}   // namespace rinex
