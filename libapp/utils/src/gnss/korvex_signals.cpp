#include "korvex_signals.h"

#include <array>

#include "rtk_gnss.h"
#include "satellites.h"

namespace korvex {

namespace {

constexpr double kByChannel = -1.0;   // GLONASS

struct row_t {
    int systems;
    std::uint8_t type;   // signal type of the tracking status
    std::uint8_t code;
    std::int8_t slot;
    double wavelength;
};

// clang-format off
constexpr row_t kSignals[] = {
    // systems          type code slot wavelength
    {SYS_GPS | SYS_QZS,   0,   1,   0, kWavelenL1},
    {SYS_GPS | SYS_QZS,   5,  19,   1, kWavelenL2},
    {SYS_GPS | SYS_QZS,   9,  19,   1, kWavelenL2},
    {SYS_GPS | SYS_QZS,  17,  14,   1, kWavelenL2},
    {SYS_GPS | SYS_QZS,   6,  24,   2, kWavelenL5},
    {SYS_GPS | SYS_QZS,  14,  25,   2, kWavelenL5},
    {SYS_GPS | SYS_QZS,  16,   8,   3, kWavelenL1},
    {SYS_GLO,             0,   1,   0, kByChannel},
    {SYS_GLO,             1,  14,   1, kByChannel},
    {SYS_GLO,             5,  19,   1, kByChannel},
    {SYS_SBS,             0,   1,   0, kWavelenL1},
    {SYS_SBS,             5,  24,   1, kWavelenL5},
    {SYS_GAL,             1,  11,   0, kWavelenL1},
    {SYS_GAL,             2,   1,   0, kWavelenL1},
    {SYS_GAL,            17,  28,   1, kWavelenE5b},
    {SYS_GAL,            12,  25,   2, kWavelenL5},
    {SYS_GAL,            20,  37,   3, kWavelenE5},
    {SYS_GAL,             7,  32,   4, kWavelenE6},
    {SYS_BDS,             0,  47,   0, kWavelenB1},
    {SYS_BDS,             4,  47,   0, kWavelenB1},
    {SYS_BDS,             1,  27,   1, kWavelenE5b},
    {SYS_BDS,             5,  27,   1, kWavelenE5b},
    {SYS_BDS,            17,  27,   1, kWavelenE5b},
    {SYS_BDS,             9,  52,   1, kWavelenL5},   // Deliberate: B2a shares slot 1 with B2.
    {SYS_BDS,            12,  52,   1, kWavelenL5},
    {SYS_BDS,             2,  42,   2, kWavelenB3},
    {SYS_BDS,            21,  42,   2, kWavelenB3},
    {SYS_BDS,             6,  43,   2, kWavelenB3},
    {SYS_BDS,             7,  51,   3, kWavelenL1},
    {SYS_BDS,             8,  51,   3, kWavelenL1},
};
// clang-format on

// Systems by the three bits of the tracking status.
constexpr int kStatusSystems[] = {SYS_GPS, SYS_GLO, SYS_SBS, SYS_GAL, SYS_BDS, SYS_QZS, SYS_NONE, SYS_NONE};

struct signal_t {
    int sys;
    std::uint8_t code;
    std::int8_t slot;
    double wavelength;
};

// The rows unfolded: index is system (3 bits) and signal type (5 bits).
constexpr std::array<signal_t, 256> make_lookup()
{
    std::array<signal_t, 256> lookup{};
    for (int i = 0; i < 256; ++i) {
        const int sys = kStatusSystems[i >> 5];
        lookup[i] = {sys, 0, -1, kByChannel};
        for (const row_t& row : kSignals) {
            if ((row.systems & sys) == 0 || row.type != (i & 31)) continue;
            lookup[i] = {sys, row.code, row.slot, row.wavelength};
        }
    }
    return lookup;
}

constexpr auto kLookup = make_lookup();

struct prn_range_t {
    int sys;
    int first, last;   // receiver PRNs
    int offset;        // to the satellite number
};

constexpr prn_range_t kPrnRanges[] = {
    {SYS_GPS, 1, 32, 0},      {SYS_GLO, 38, 62, 41}, {SYS_GAL, 1, 36, 102},
    {SYS_QZS, 193, 202, -54}, {SYS_BDS, 1, 46, 32},  {SYS_SBS, 120, 158, 26},
};

constexpr prn_range_t kRawPrnRanges[] = {
    {SYS_GPS, 1, 32, 0},
    {SYS_GLO, 38, 62, 41},
    {SYS_GAL, 0, 65535, 33},
    {SYS_BDS, 161, 197, -128},
};

template <std::size_t N>
int mapped(const prn_range_t (&ranges)[N], int sys, int prn)
{
    for (const prn_range_t& r : ranges) {
        if (r.sys == sys) return prn >= r.first && prn <= r.last ? prn + r.offset : 0;
    }
    return 0;
}

}   // namespace

int read_trackstat(std::uint32_t status, trackstat_t& out)
{
    const auto bits = [status](int pos, int len) { return status >> pos & ((1u << len) - 1); };
    const signal_t& signal = kLookup[bits(16, 3) << 5 | bits(21, 5)];
    out.sys = signal.sys;
    out.code = signal.code;
    out.tracking_state = static_cast<int>(bits(0, 5));
    out.phase_lock = bits(10, 1) != 0;
    out.parity_known = bits(11, 1) != 0;
    out.code_lock = bits(12, 1) != 0;
    out.slot_override = bits(19, 1) != 0;
    out.half_cycle = bits(28, 1) != 0;
    out.wavelength = signal.wavelength;
    return signal.slot;
}

int satellite_number(int sys, int prn)
{
    return mapped(kPrnRanges, sys, prn);
}

int raw_satellite_number(int sys, int prn, int small_bds)
{
    if (sys == SYS_BDS && prn <= small_bds) prn += 160;
    return mapped(kRawPrnRanges, sys, prn);
}

}   // namespace korvex
