/// @file rinex_records.h  Options and epochs for tests of the RINEX writers.
#ifndef TESTS_RINEX_RECORDS_H
#define TESTS_RINEX_RECORDS_H

#include <rtk_gnss.h>

#include <cstring>
#include <memory>
#include <vector>

inline rnx_t options(int version, int kind = 9, const char* type = "KV4A0")
{
    rnx_t opt{};
    Initial_Rnx(&opt);
    opt.version = version;
    opt.rcvkind = kind;
    std::strcpy(opt.rectype, type);
    return opt;
}

/// An epoch of these satellites, every slot filled with values that tell satellite and slot.
inline std::unique_ptr<raw_t> epoch(int week, double tow, const std::vector<int>& satellites)
{
    auto raw = std::make_unique<raw_t>();
    Initial_raw(raw.get(), 0);
    raw->week = static_cast<std::uint16_t>(week);
    raw->tow = raw->obs_tow = tow;
    for (const int sat : satellites) {
        obsd_t& obs = raw->obs[raw->nobs++];
        obs.sat = static_cast<std::uint8_t>(sat);
        for (int f = 0; f < kNumSlots; ++f) {
            obs.P[f] = 2e7 + sat * 1000 + f + 0.125;
            obs.L[f] = 1e8 + sat * 1000 + f + 0.5;
            obs.D[f] = static_cast<float>(-sat * 10 - f) - 0.25f;
            obs.SNR[f] = (30 + f) * 4 + 3;
        }
    }
    return raw;
}

#endif
