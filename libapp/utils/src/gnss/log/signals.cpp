#include "gnss/log/signals.h"

#include <algorithm>

namespace korvex {

namespace {

// clang-format off
constexpr signal_t kSignals[] = {
    // systems          type  name              RINEX code slot wavelength
    {SYS_GPS | SYS_QZS,   0, "L1 C/A",           "1C",  1,   0, kWavelenL1},
    {SYS_GPS,             5, "L2 P",             "2P", 19,   1, kWavelenL2},
    {SYS_GPS,             9, "L2 P(Y) codeless", "2W", 19,   1, kWavelenL2},
    {SYS_QZS,             5, "L2 P",          nullptr, 19,   1, kWavelenL2},
    {SYS_QZS,             9, "L2 P(Y) codeless", nullptr, 19, 1, kWavelenL2},
    {SYS_GPS | SYS_QZS,  17, "L2C",              "2S", 14,   1, kWavelenL2},
    {SYS_GPS | SYS_QZS,   6, "L5 data",          "5I", 24,   2, kWavelenL5},
    {SYS_GPS | SYS_QZS,  14, "L5 pilot",         "5Q", 25,   2, kWavelenL5},
    {SYS_GPS | SYS_QZS,  16, "L1C pilot",        "1L",  8,   3, kWavelenL1},
    {SYS_GLO,             0, "L1 C/A",           "1C",  1,   0, kByChannel},
    {SYS_GLO,             1, "L2 C/A",           "2C", 14,   1, kByChannel},
    {SYS_GLO,             5, "L2 P",             "2P", 19,   1, kByChannel},
    {SYS_SBS,             0, "L1 C/A",           "1C",  1,   0, kWavelenL1},
    {SYS_SBS,             5, "L5 data",          "5I", 24,   1, kWavelenL5},
    {SYS_GAL,             1, "E1 data",          "1B", 11,   0, kWavelenL1},
    {SYS_GAL,             2, "E1 pilot",         "1C",  1,   0, kWavelenL1},
    {SYS_GAL,            17, "E5b pilot",        "7Q", 28,   1, kWavelenE5b},
    {SYS_GAL,            12, "E5a pilot",        "5Q", 25,   2, kWavelenL5},
    {SYS_GAL,            20, "E5 AltBOC pilot",  "8Q", 37,   3, kWavelenE5},
    {SYS_GAL,             7, "E6 pilot",         "6C", 32,   4, kWavelenE6},
    {SYS_BDS,             0, "B1I, D1",          "2I", 47,   0, kWavelenB1},
    {SYS_BDS,             4, "B1I, D2",          "2I", 47,   0, kWavelenB1},
    {SYS_BDS,             1, "B2I, D1",          "7I", 27,   1, kWavelenE5b},
    {SYS_BDS,             5, "B2I, D2",          "7I", 27,   1, kWavelenE5b},
    {SYS_BDS,            17, "B2b",              "7D", 27,   1, kWavelenE5b},
    {SYS_BDS,             9, "B2a pilot",        "5P", 52,   1, kWavelenL5},   // Deliberate: B2a shares slot 1 with B2.
    {SYS_BDS,            12, "B2a data",         "5D", 52,   1, kWavelenL5},
    {SYS_BDS,             2, "B3I, D1",          "6I", 42,   2, kWavelenB3},
    {SYS_BDS,            21, "B3I",              "6I", 42,   2, kWavelenB3},
    {SYS_BDS,             6, "B3I, D2",          "6I", 43,   2, kWavelenB3},
    {SYS_BDS,             7, "B1C pilot",        "1P", 51,   3, kWavelenL1},
    {SYS_BDS,             8, "B1C data",         "1D", 51,   3, kWavelenL1},
};
// clang-format on

static_assert(std::ranges::all_of(kSignals, [](const signal_t& s) { return s.slot >= 0 && s.slot < kNumSlots; }));

// Systems by the three bits of the tracking status.
constexpr std::uint8_t kStatusSystems[] = {SYS_GPS, SYS_GLO, SYS_SBS, SYS_GAL, SYS_BDS, SYS_QZS, SYS_NONE, SYS_NONE};

constexpr const signal_t* find(int sys, int type)
{
    for (const signal_t& signal : kSignals) {
        if ((signal.systems & sys) != 0 && signal.type == type) return &signal;
    }
    return nullptr;
}

}   // namespace

const signal_t* find_signal(int sys, int type)
{
    return find(sys, type);
}

constinit const std::array<place_t, 256> kPlaces = [] {
    std::array<place_t, 256> places{};
    for (int i = 0; i < 256; ++i) {
        const std::uint8_t sys = kStatusSystems[i >> 5];
        const signal_t* s = find(sys, i & 31);
        places[i] = s == nullptr ? place_t{kByChannel, sys, 0, -1} : place_t{s->wavelength, sys, s->code, s->slot};
    }
    return places;
}();

int raw_satellite_number(int sys, int prn, int small_bds)
{
    constexpr int kGalOffset = 33;
    constexpr int kMostBds = 37;
    switch (sys) {
        case SYS_GPS:
        case SYS_GLO:
            return satellite_number(sys, prn);
        case SYS_GAL:
            return prn + kGalOffset;   // Deliberate: any PRN.
        case SYS_BDS:
            prn -= prn <= small_bds ? 0 : kBdsHighPrn;
            return prn <= kMostBds ? satellite_number(sys, prn) : 0;
        default:
            return 0;
    }
}

}   // namespace korvex
