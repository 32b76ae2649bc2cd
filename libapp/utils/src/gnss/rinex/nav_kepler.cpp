// Navigation records of the systems with Keplerian orbits: GPS, QZSS, BeiDou, Galileo.
#include <cmath>

#include "gnss/foundation/satellites.h"
#include "gnss/foundation/time_scales.h"
#include "gnss/rinex/nav_record.h"

namespace {

using namespace rinex;

constexpr double kNoTime = 9.999e8;       // transmission time unknown
constexpr double kNoAccuracy = 32767.0;   // m
constexpr double kCodesOnL2 = 1.0;
constexpr double kInavSource = 517, kFnavSource = 258;   // Galileo data sources as bits

// Nominal accuracy (m) of the index; IS-GPS-200, 20.3.3.3.1.3.
constexpr double ura_eph[] = {2.0,  2.8,   4.0,   5.7,   8.0,    11.3,   16.0,   32.0,
                              64.0, 128.0, 256.0, 512.0, 1024.0, 2048.0, 4096.0, 8192.0};

double accuracy(int index)
{
    return index <= 14 ? ura_eph[index] : kNoAccuracy;
}

// Signal-in-space accuracy (m) of Galileo's index, -1 without a prediction; Galileo OS SIS ICD, 5.1.12.
double galileo_accuracy(int index)
{
    if (index < 50) return 0.01 * index;
    if (index < 75) return 0.5 + 0.02 * (index - 50);
    if (index < 100) return 1.0 + 0.04 * (index - 75);
    if (index <= 125) return 2.0 + 0.16 * (index - 100);
    return -1.0;
}

// Bit fields of RINEX 3: validity and health of E1B, E5a and E5b, three bits each.
int galileo_health(const galeph_t& e)
{
    int bits = 0;
    for (int i = 0; i < 3; ++i) bits |= ((e.validity[i] & 1) | (e.health[i] & 3) << 1) << 3 * i;
    return bits;
}

double transmission_time(const raw_t& raw)
{
    return raw.tow > 0.001 ? raw.tow : kNoTime;
}

// The four lines of the orbit, alike in all systems.
template <typename Ephemeris>
void put_orbit(nav_record_t& out, const Ephemeris& e, double issue, double sqrtA)
{
    out.line({issue, e.crs, e.delta_n, e.M0});
    out.line({e.cuc, e.e, e.cus, sqrtA});
    out.line({e.toe, e.cic, e.omega0, e.cis});
    out.line({e.i0, e.crc, e.omega, e.omega_dot});
}

// The record of GPS and QZSS. Deliberate: its epoch is the time of ephemeris, not that of clock.
int write_gps_like(std::FILE* fp, const nav_system_t& system, const raw_t& raw, const rnx_t& opt, int prn,
                   const eph_t& e)
{
    nav_record_t out(system, opt.version, prn, date_of(e.week, e.toe), {e.af0, e.af1, e.af2});
    put_orbit(out, e, e.iode, std::sqrt(e.A));
    out.line({e.idot, kCodesOnL2, double(e.week), double(e.l2p_flag)});
    out.line({accuracy(e.ura_index), double(e.health), e.tgd, double(e.iodc)});
    out.line({transmission_time(raw), double(e.fit)});
    return out.write(fp);
}

// Clock and orbit refer to times of one week or of neighbouring ones.
date_t date_near(int toe_week, double toe, double t)
{
    auto week = static_cast<unsigned short>(toe_week);
    const double sec = timeadd(toe, timediff(t, toe), &week);
    return date_of(week, sec);
}

}   // namespace

int WriteRinexGpsEphRec(std::FILE* fp, const raw_t* raw, const rnx_t* opt)
{
    int prn = 0;
    if (fp == nullptr || raw == nullptr || opt == nullptr || satsys(raw->eph_sat, &prn) != SYS_GPS) return 0;
    return write_gps_like(fp, kNavGps, *raw, *opt, prn, raw->eph[kepler_entry(raw->eph_sat)]);
}

int WriteRinexQzssEphRec(std::FILE* fp, const raw_t* raw, const rnx_t* opt)
{
    int prn = 0;
    if (fp == nullptr || raw == nullptr || opt == nullptr || satsys(raw->eph_sat, &prn) != SYS_QZS) return 0;
    return write_gps_like(fp, kNavQzs, *raw, *opt, prn, raw->eph[kepler_entry(raw->eph_sat)]);
}

int WriteRinexBDsEphRec(std::FILE* fp, const raw_t* raw, const rnx_t* opt, signed char pad_spares)
{
    int prn = 0;
    if (fp == nullptr || raw == nullptr || opt == nullptr || satsys(raw->eph_sat, &prn) != SYS_BDS) return 0;
    const eph_t& e = raw->eph[kepler_entry(raw->eph_sat)];
    nav_record_t out(kNavBds, opt->version, prn, date_of(e.week, e.toc), {e.af0, e.af1, e.af2});
    put_orbit(out, e, e.iode, std::sqrt(e.A));
    out.line({e.idot, double(e.aux_flag), double(e.week - kBdsWeekOffset), double(e.l2p_flag)});
    out.line({accuracy(e.ura_index), double(e.health), e.tgd, e.tgd2});
    if (pad_spares == 1) {
        out.line({e.toc, double(e.iodc), 0.0, 0.0});
    } else {
        out.line({e.toc, double(e.iodc)});
    }
    return out.write(fp);
}

int WriteRinexGalEphRec(std::FILE* fp, const raw_t* raw, const rnx_t* opt)
{
    int prn = 0;
    if (fp == nullptr || raw == nullptr || opt == nullptr || satsys(raw->eph_sat, &prn) != SYS_GAL) return 0;
    if (!kNavGal.is_rinex3(opt->version)) return 0;
    const galeph_t& e = raw->galeph[prn - 1];
    const bool fnav_only = e.fnav != 0 && e.inav == 0;
    const gal_clock_t& clock = fnav_only ? e.fnav_clock : e.inav_clock;
    nav_record_t out(kNavGal, opt->version, prn, date_near(e.week, e.toe, clock.toc),
                     {clock.af0, clock.af1, clock.af2});
    put_orbit(out, e, e.iodnav, e.sqrtA);
    out.line({e.idot, fnav_only ? kFnavSource : kInavSource, double(e.week)});
    out.line({galileo_accuracy(e.sisa), double(galileo_health(e)), e.bgd_e5a, e.bgd_e5b});
    out.line({transmission_time(*raw)});
    return out.write(fp);
}
