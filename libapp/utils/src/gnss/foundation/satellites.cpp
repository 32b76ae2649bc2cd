#include "gnss/foundation/satellites.h"

namespace {

struct carriers_t {
    int sys;
    double wavelength[3];   // m, by signal slot
};

constexpr carriers_t kCarriers[] = {
    {SYS_BDS, {kWavelenB1, kWavelenE5b, kWavelenB3}},
    {SYS_GAL, {kWavelenL1, kWavelenE5b, kWavelenL5}},
};
constexpr carriers_t kOtherCarriers = {SYS_NONE, {kWavelenL1, kWavelenL2, kWavelenL5}};

struct fdma_band_t {
    double base, step;   // Hz
};

constexpr fdma_band_t kGlonassBands[] = {{1.602e9, 562500.0}, {1.246e9, 437500.0}};

double glonass_wavelength(int orbital_slot, int band, signed char channel)
{
    if (band < 0 || band > 1) return 0.0;
    if (channel == 0) channel = kGlonassChannels[orbital_slot - 1];
    return kLightSpeed / (kGlonassBands[band].base + channel * kGlonassBands[band].step);
}

}   // namespace

int satsys(int sat, int* prn)
{
    for (const system_t& s : kSatelliteSystems) {
        if (sat < s.first || sat > s.last) continue;
        if (prn != nullptr) *prn = sat - s.first + 1;
        return s.sys;
    }
    if (prn != nullptr) *prn = 0;
    return SYS_NONE;
}

unsigned char satno(unsigned char sys, int prn)
{
    const system_t& s = system_of(sys);
    const bool known = s.has_way_back && prn >= 1 && prn <= s.last - s.first + 1;
    return static_cast<unsigned char>(known ? s.first + prn - 1 : 0);
}

double satwavelen(int sat, int slot, signed char frq)
{
    int prn = 0;
    const int sys = satsys(sat, &prn);
    if (sys == SYS_GLO) return glonass_wavelength(prn, slot, frq);
    if (slot < 0 || slot > 2) return 0.0;
    for (const carriers_t& c : kCarriers) {
        if (c.sys == sys) return c.wavelength[slot];
    }
    return kOtherCarriers.wavelength[slot];
}
