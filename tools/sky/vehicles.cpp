#include "sky/vehicles.h"

#include "gnss/foundation/satellites.h"
#include "gnss/foundation/time_scales.h"
#include "sky/random.h"
#include "sky/subframes.h"

namespace sky {

week_time_t split(const time_base_t& base, double t)
{
    const double weeks = std::floor(t / kWeek);
    return {base.week + static_cast<int>(weeks), t - weeks * kWeek};
}

namespace {

// How the systems time their data sets.
struct issue_plan_t {
    double interval;      // s
    int ahead;            // sets by which the reference time lies in the future
    double behind_gps;    // GPS time - system time, s
    int numbers;          // count of issue numbers
    int clock_exponent;   // of the clock bias in the message
};

const issue_plan_t& issue_plan(int system)
{
    static const issue_plan_t kGps = {7200, 1, 0, 240, -31};
    static const issue_plan_t kQzss = {3600, 1, 0, 240, -31};
    static const issue_plan_t kGalileo = {600, 0, 0, 1024, -34};
    static const issue_plan_t kBeidou = {3600, 0, kBdsOffset, 24, -33};
    switch (system) {
        case SYS_QZS:
            return kQzss;
        case SYS_GAL:
            return kGalileo;
        case SYS_BDS:
            return kBeidou;
        default:
            return kGps;
    }
}

}   // namespace

kepler_vehicle_t::kepler_vehicle_t(const time_base_t& base, const kepler_plan_t& plan)
    : vehicle_t(plan.system, plan.prn, 0), base_(base), plan_(plan)
{
    delay_[0] = plan.tgd;
    delay_[1] = plan.tgd2;
}

kepler_set_t kepler_vehicle_t::exact(double t, const week_time_t& toe) const
{
    const kepler_plan_t& p = plan_;
    const double A = p.sqrtA * p.sqrtA;
    const double n = std::sqrt(gravity(p.system) / (A * A * A)) + p.delta_n;
    const double rate = earth_rate(p.system);
    kepler_set_t s{};
    s.system = p.system, s.prn = p.prn;
    s.week = toe.week, s.toe = s.toc = toe.seconds, s.t_toe = t;
    s.sqrtA = p.sqrtA, s.A = A, s.e = p.e;
    s.delta_n = p.delta_n, s.omega_dot = p.omega_dot, s.idot = p.idot;
    s.crc = p.crc, s.crs = p.crs, s.cuc = p.cuc, s.cus = p.cus, s.cic = p.cic, s.cis = p.cis;
    s.af0 = p.af0 + p.af1 * t, s.af1 = p.af1;
    s.tgd = p.tgd, s.tgd2 = p.tgd2;
    if (is_beidou_geo(p.system, p.prn)) {   // an orbit in the equator, seen from a plane tilted about the x axis at toe
        const double perigee = p.omega - rate * t;
        s.i0 = p.inclination;
        s.omega0 = kPi + rate * s.toe;
        s.omega = perigee - kPi;
        s.M0 = p.M + (n - rate) * t - perigee;
    } else {
        s.i0 = p.inclination + p.idot * t;
        s.omega0 = p.node + (p.omega_dot - rate) * t + rate * s.toe;
        s.omega = p.omega;
        s.M0 = p.M + n * t;
    }
    return s;
}

void kepler_vehicle_t::renew(double t)
{
    const issue_plan_t& plan = issue_plan(system());
    const double count = std::floor((t - plan.behind_gps) / plan.interval) + plan.ahead;
    const double toe = count * plan.interval;   // system time
    if (exact_.A > 0.0 && exact_.t_toe == toe + plan.behind_gps) return;
    exact_ = exact(toe + plan.behind_gps, split(base_, toe));
    exact_.issue = static_cast<int>(exact_.toe / plan.interval) % plan.numbers;
    broadcast_ = exact_;
    for (double kepler_set_t::*angle :
         {&kepler_set_t::M0, &kepler_set_t::omega0, &kepler_set_t::omega, &kepler_set_t::i0})
        broadcast_.*angle = angle_on_grid(exact_.*angle, -31);
    broadcast_.af0 = on_grid(exact_.af0, plan.clock_exponent);
    broadcast_.fnav_af0 = broadcast_.af0 + broadcast_.tgd - broadcast_.tgd2;
}

frame_t kepler_vehicle_t::ephemeris(double t) const
{
    const week_time_t now = split(base_, t);
    switch (system()) {   // every kind of message is used by some of the satellites
        case SYS_GAL:
            return prn() % 2 == 1 ? galileo_ephemeris(broadcast_) : galileo_inav_ephemeris(broadcast_);
        case SYS_BDS:
            return prn() % 3 == 0 ? beidou_ephemeris_second(broadcast_) : beidou_ephemeris(broadcast_);
        case SYS_QZS:
            return prn() == 195 ? gps_ephemeris(broadcast_) : qzss_ephemeris(broadcast_);
        default:
            return prn() % 3 == 0 ? gps_subframes(broadcast_, now.week, now.seconds) : gps_ephemeris(broadcast_);
    }
}

namespace {

constexpr double kGlonassInterval = 1800.0;   // s
constexpr double kGlonassFirst = 900.0;       // s after the hour, UTC

double glonass_reference(const time_base_t& base, double t)
{
    const double utc = t - base.leap_seconds;
    return kGlonassInterval * std::floor(utc / kGlonassInterval) + kGlonassFirst + base.leap_seconds;
}

vec3_t luni_solar(int slot)
{
    const auto step = [](int k) { return std::ldexp(k % 3 - 1, -30) * 1000.0; };   // km/s^2 in the message
    return {step(slot), step(slot / 3), step(slot / 9)};
}

int glonass_channel(int slot)
{
    constexpr int kSpareChannel = -6;
    return slot <= kGlonassSlots ? kGlonassChannels[slot - 1] : kSpareChannel;
}

}   // namespace

glonass_vehicle_t::glonass_vehicle_t(const time_base_t& base, int slot, double t, const glonass_state_t& state)
    : vehicle_t(SYS_GLO, slot + system_of(SYS_GLO).prn_before, glonass_channel(slot)),
      base_(base),
      arc_(glonass_reference(base, t), state, luni_solar(slot))
{
    random_t random(SYS_GLO * 256u + static_cast<unsigned>(slot));
    af0_ = std::ldexp(static_cast<double>(random.below(400000)) - 200000.0, -30);   // up to 0.2 ms
    af1_ = std::ldexp(static_cast<double>(random.below(9)) - 4.0, -40);
    delay_[0] = std::ldexp(static_cast<double>(random.below(11)) - 5.0, -30);
}

void glonass_vehicle_t::renew(double t)
{
    while (arc_.reference() < glonass_reference(base_, t))
        arc_ = glonass_arc_t(arc_.reference() + kGlonassInterval, arc_.next(), arc_.accel());
}

orbit_point_t glonass_vehicle_t::at(double t) const
{
    return {arc_.at(t).position, clock(t)};
}

glonass_set_t glonass_vehicle_t::broadcast(double t) const
{
    constexpr double kFrame = 30.0;          // s
    constexpr double kQuarterHour = 900.0;   // s
    const double offset = kMoscowTime - base_.leap_seconds;
    const auto time_of_day = [offset](double gps) { return gps + offset - kDay * std::floor((gps + offset) / kDay); };
    const week_time_t reference = split(base_, arc_.reference());
    glonass_set_t set{};
    set.slot = prn() - system_of(SYS_GLO).prn_before, set.channel = channel();
    set.week = reference.week, set.ms = static_cast<std::uint32_t>(std::llround(reference.seconds * 1000.0));
    set.offset = static_cast<std::uint32_t>(offset);
    set.frame_time = static_cast<std::uint32_t>(kFrame * std::floor(time_of_day(t) / kFrame));
    set.issue = static_cast<int>(time_of_day(arc_.reference()) / kQuarterHour);
    set.state = arc_.state(), set.accel = arc_.accel();
    set.taun = -clock(arc_.reference()), set.gamn = af1_, set.dtaun = delay_[0];
    return set;
}

namespace {

constexpr double kSbasInterval = 240.0;   // s, a multiple of the 16 s of the message

}   // namespace

sbas_vehicle_t::sbas_vehicle_t(int prn, double longitude) : vehicle_t(SYS_SBS, prn, 0)
{
    constexpr double kGeostationary = 42164172.0;   // m
    random_t random(SYS_SBS * 256u + static_cast<unsigned>(prn));
    const auto small = [&random] { return static_cast<double>(random.below(201)) - 100.0; };
    const sin_cos_t at = sin_cos(longitude);
    position_ = {std::round(kGeostationary * at.cos), std::round(kGeostationary * at.sin), 40.0 * small()};
    velocity_ = {0.000625 * small(), 0.000625 * small(), 0.004 * small()};
    af0_ = std::ldexp(small(), -31);
    af1_ = std::ldexp(small(), -47);
}

void sbas_vehicle_t::renew(double t)
{
    reference_ = kSbasInterval * std::floor(t / kSbasInterval);
}

orbit_point_t sbas_vehicle_t::at(double t) const
{
    return {position_ + t * velocity_, af0_ + af1_ * t};
}

seph_t sbas_vehicle_t::broadcast() const
{
    const orbit_point_t now = at(reference_);
    const double time_of_day = reference_ - kDay * std::floor(reference_ / kDay);
    seph_t set{};
    set.index = static_cast<std::uint8_t>(prn() - system_of(SYS_SBS).prn_before);
    set.iodn = static_cast<std::uint8_t>(static_cast<int>(time_of_day / kSbasInterval) % 256);
    set.ura = 2;
    set.t0 = static_cast<std::uint16_t>(time_of_day / 16.0);
    const double position[] = {now.position.x, now.position.y, now.position.z};
    const double velocity[] = {velocity_.x, velocity_.y, velocity_.z};
    for (int i = 0; i < 3; ++i) set.pos[i] = position[i], set.vel[i] = static_cast<float>(velocity[i]);
    set.af0 = static_cast<float>(now.clock), set.af1 = static_cast<float>(af1_);
    return set;
}

}   // namespace sky
