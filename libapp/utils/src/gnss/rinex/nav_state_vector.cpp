// Navigation records of the systems that broadcast state vectors: GLONASS, SBAS.
#include "gnss/foundation/numbers.h"
#include "gnss/foundation/satellites.h"
#include "gnss/foundation/time_scales.h"
#include "gnss/rinex/nav_record.h"

namespace {

using namespace rinex;

constexpr double kKilometre = 1000.0;   // m

// Position, velocity and acceleration along one axis, and a fourth field.
void put_axis(nav_record_t& out, double x, double v, double a, double fourth)
{
    out.line({x / kKilometre, v / kKilometre, a / kKilometre, fourth});
}

// 16 s units since midnight to seconds of the record's week, in 32 bits.
std::int32_t sbas_time_of_week(const raw_t& raw, const seph_t& e)
{
    const auto day = static_cast<std::uint32_t>(int_part(raw.tow / kDay));
    return static_cast<std::int32_t>(16U * (e.t0 + 5400U * day));
}

}   // namespace

int WriteRinexGloEphRec(std::FILE* fp, const raw_t* raw, const rnx_t* opt)
{
    int slot = 0;
    if (fp == nullptr || raw == nullptr || opt == nullptr || satsys(raw->eph_sat, &slot) != SYS_GLO) return 0;
    const geph_t& e = raw->geph[slot - 1];
    unsigned short week = e.week;
    const double toe = timeadd(e.toe, -kMoscowTime, &week);
    const double tof = timeadd(kNavGlo.is_rinex3(opt->version) ? e.tof : e.tof_alt, -kMoscowTime, nullptr);
    nav_record_t out(kNavGlo, opt->version, slot, date_of(week, toe), {-e.taun, e.gamn, tof});
    const double fourth[] = {double(e.svh), double(e.frq), double(e.age)};
    for (int i = 0; i < 3; ++i) put_axis(out, e.pos[i], e.vel[i], e.acc[i], fourth[i]);
    return out.write(fp);
}

int WriteRinexSBASEphRec(std::FILE* fp, const raw_t* raw, const rnx_t* opt)
{
    int n = 0;
    if (fp == nullptr || raw == nullptr || opt == nullptr || satsys(raw->eph_sat, &n) != SYS_SBS) return 0;
    const seph_t& e = raw->seph[n - 1];
    const std::int32_t t = sbas_time_of_week(*raw, e);
    const int number = n + system_of(SYS_SBS).rinex_before;
    nav_record_t out(kNavSbs, opt->version, number, date_of(raw->week, t), {e.af0, e.af1, double(t)});
    const double fourth[] = {0.0, double(e.ura), double(e.iodn)};   // health is not told
    for (int i = 0; i < 3; ++i) put_axis(out, e.pos[i], e.vel[i], e.acc[i], fourth[i]);
    return out.write(fp);
}
