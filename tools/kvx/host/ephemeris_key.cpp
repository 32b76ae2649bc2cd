#include "host/ephemeris_key.h"

#include <cmath>
#include <limits>

#include "common/gps_time.h"
#include "gnss/foundation/satellites.h"
#include "gnss/foundation/time_scales.h"

namespace kvx {

namespace {

constexpr double kNever = std::numeric_limits<double>::quiet_NaN();

double reference(const raw_t& raw, const seph_t& e)
{
    const double day = std::floor(raw.tow / kDay) + sbas_day_shift(raw, e);
    return gps_seconds(raw.week, day * kDay + 16.0 * e.t0);
}

// Which clock the record is written from, and the health and validity of the signals.
int galileo_variant(const galeph_t& e)
{
    int variant = e.inav != 0;
    for (int k = 0; k < 3; ++k) variant = variant << 3 | (e.health[k] & 3) << 1 | (e.validity[k] & 1);
    return variant;
}

}   // namespace

double sbas_day_shift(const raw_t& raw, const seph_t& e)
{
    const double time_of_day = 16.0 * e.t0;
    return time_of_day < kDay ? -std::round((time_of_day - std::fmod(raw.tow, kDay)) / kDay) : 0.0;
}

std::optional<ephemeris_key_t> stored_ephemeris(const raw_t& raw)
{
    int prn = 0;
    const int sys = satsys(raw.eph_sat, &prn);
    if (sys == SYS_NONE) return std::nullopt;
    ephemeris_key_t key{kNever, 0, 0};
    if (sys == SYS_GLO) {
        const geph_t& e = raw.geph[prn - 1];
        if (e.sat != 0) key = {gps_seconds(e.week, e.toe), e.iode, e.svh};
    } else if (sys == SYS_GAL) {
        const galeph_t& e = raw.galeph[prn - 1];
        if (e.sat != 0) key = {gps_seconds(e.week, e.toe), e.iodnav, galileo_variant(e)};
    } else if (sys == SYS_SBS) {
        const seph_t& e = raw.seph[prn - 1];
        if (e.index != 0) key = {reference(raw, e), e.iodn, 0};
    } else {
        const eph_t& e = raw.eph[kepler_entry(raw.eph_sat)];
        if (e.sat != 0) key = {gps_seconds(e.week, e.toe), e.iode, e.health};
    }
    if (std::isnan(key.reference)) return std::nullopt;
    return key;
}

// No reference time equals one that is not a number. The satellites stay: other readers of the record need them.
void forget_ephemeris(raw_t& raw)
{
    int prn = 0;
    const int sys = satsys(raw.eph_sat, &prn);
    switch (sys) {
        case SYS_NONE:
            break;
        case SYS_GLO:
            raw.geph[prn - 1].toe = kNever;
            break;
        case SYS_GAL:
            raw.galeph[prn - 1].toe = kNever;
            break;
        case SYS_SBS:
            raw.seph[prn - 1].index = 0;
            break;
        default:
            raw.eph[kepler_entry(raw.eph_sat)].toe = kNever;
    }
}

}   // namespace kvx
