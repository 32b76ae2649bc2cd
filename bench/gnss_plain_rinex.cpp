// RINEX 3 epoch, printed field by field.
#include <cstring>

#include "gnss_plain.h"

namespace {

void print_value(std::FILE* fp, double value)
{
    if (value != 0.0 && value > -1e9 && value < 1e9) {
        std::fprintf(fp, "%14.3f", value);
    } else {
        std::fprintf(fp, "%14s", "");
    }
}

void print_phase(std::FILE* fp, double phase, int lli)
{
    print_value(fp, phase);
    if (phase >= 0.01 && phase < 1e9 && lli != 0) {
        std::fprintf(fp, "%1.1d ", lli);
    } else {
        std::fprintf(fp, "%2s", "");
    }
}

void print_signal(std::FILE* fp, const obsd_t& obs, int slot)
{
    print_value(fp, obs.P[slot]);
    std::fprintf(fp, "%2s", "");
    print_phase(fp, obs.L[slot], obs.LLI[slot]);
    print_value(fp, obs.D[slot]);
    std::fprintf(fp, "%2s", "");
    print_value(fp, static_cast<int>(obs.SNR[slot] * 0.25));
    std::fprintf(fp, "%2s", "");
}

void print_blank_signal(std::FILE* fp)
{
    for (int i = 0; i < 4; ++i) std::fprintf(fp, "%14s%2s", "", "");
}

struct system_t {
    char letter;
    bool enabled;
    int slots;
};

system_t system_of(const raw_t& raw, const rnx_t& opt, int sys)
{
    const bool all = opt.rcvkind == 9 || std::strstr(opt.rectype, "KV4A0") != nullptr;
    const bool three = std::strstr(opt.rectype, "KV3A0") != nullptr || raw.opt_nosigmap != 0;
    const int bds_slots = opt.version < 304 ? 3 : 4;
    switch (sys) {
        case SYS_GPS:
            return {'G', opt.sys_gps != 0, all ? 4 : three ? 3 : 2};
        case SYS_GLO:
            return {'R', opt.sys_glo != 0, 2};
        case SYS_BDS:
            return {'C', opt.sys_bds != 0, all ? bds_slots : three ? 3 : 2};
        case SYS_GAL:
            return {'E', opt.sys_gal != 0, all ? 5 : three ? 3 : 0};
        case SYS_QZS:
            return {'J', opt.sys_gps != 0, all ? 4 : three ? 3 : 0};
        default:
            return {'S', opt.sys_sbs != 0, all || three ? 1 : 0};
    }
}

void print_satellite(std::FILE* fp, const raw_t& raw, const rnx_t& opt, const obsd_t& obs)
{
    int prn = 0;
    const int sys = satsys(obs.sat, &prn);
    const system_t system = system_of(raw, opt, sys);
    if (!system.enabled) return;
    if (sys == SYS_SBS) prn += 19;
    std::fprintf(fp, prn > 9 ? "%c%2d" : "%c0%d", system.letter, prn);
    for (int slot = 0; slot < system.slots; ++slot) {
        const bool b2a = sys == SYS_BDS && prn > 16;
        if (b2a && slot == 1) print_blank_signal(fp);
        if (b2a && slot == 1 && opt.version != 304) continue;
        if (sys == SYS_BDS && !b2a && opt.version == 304 && slot == 2) print_blank_signal(fp);
        print_signal(fp, obs, slot);
    }
    std::fprintf(fp, "\n");
}

}   // namespace

std::size_t plain::observation(char* to, double value)
{
    return static_cast<std::size_t>(std::snprintf(to, 24, "%14.3f", value));
}

void plain::write_epoch3(std::FILE* fp, const raw_t& raw, const rnx_t& opt)
{
    int year, month, day, hour, minute;
    double second;
    GetCommonTime(raw.week, raw.tow, 0.0, &year, &month, &day, &hour, &minute, &second);
    int count = 0;
    for (int i = 0; i < raw.nobs; ++i) count += system_of(raw, opt, satsys(raw.obs[i].sat, nullptr)).enabled;
    std::fprintf(fp, "> %04d %02d %02d %02d %02d%11.7f  0%3d%21s\n", year, month, day, hour, minute, second, count, "");
    for (int i = 0; i < raw.nobs; ++i) print_satellite(fp, raw, opt, raw.obs[i]);
}
