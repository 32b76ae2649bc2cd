#include "position/broadcast.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>

#include "gnss/foundation/time_scales.h"
#include "rinex/dates.h"
#include "rinex/signals.h"

namespace position {

namespace {

constexpr double kMostDelay = 1e-6;   // s
constexpr double kHour = 3600.0, kMinute = 60.0;

struct plan_t {
    double validity;     // s around the reference time
    double behind_gps;   // GPS time - time of the records, but for leap seconds (s)
};

// In the order of rinex::kConstellations.
constexpr plan_t kPlans[] = {
    {2 * kHour + 10 * kMinute, 0.0}, {16 * kMinute, 0.0},     {3 * kHour, 0.0},
    {2 * kHour + 10 * kMinute, 0.0}, {2 * kHour, kBdsOffset}, {6 * kMinute, 0.0},
};
constexpr std::size_t kMostKnown = 4096;   // of a satellite: a month of Galileo's

// What a message does not tell is blank, or a number beyond all that can be.
double known(double x, double most)
{
    return std::fabs(x) <= most ? x : 0.0;
}

}   // namespace

ephemeris_t::ephemeris_t(const rinex::ephemeris_record_t& r) : satellite_(r.satellite), message_(r.message)
{
    const plan_t& plan = kPlans[r.satellite.constellation];
    const bool utc = r.satellite.constellation == rinex::kGlonass;
    const auto on_gps_scale = [&](std::int64_t date) {
        const auto t = static_cast<seconds_t>(date);
        return t + plan.behind_gps + (utc ? rinex::leap_seconds(t) : 0);
    };
    validity_ = plan.validity;
    reference_ = on_gps_scale(r.reference);
    clock_reference_ = on_gps_scale(r.epoch);
    healthy_ = r.health == 0;
    if (r.lines > 4)
        set_kepler(r);
    else
        set_state(r);
}

void ephemeris_t::set_kepler(const rinex::ephemeris_record_t& r)
{
    sky::kepler_set_t& k = kepler_;
    k.system = satellite_.system().sys, k.prn = satellite_.number;
    k.t_toe = reference_;
    k.crs = r.orbit[0][1], k.delta_n = r.orbit[0][2], k.M0 = r.orbit[0][3];
    k.cuc = r.orbit[1][0], k.e = r.orbit[1][1], k.cus = r.orbit[1][2], k.sqrtA = r.orbit[1][3];
    k.toe = r.orbit[2][0], k.cic = r.orbit[2][1], k.omega0 = r.orbit[2][2], k.cis = r.orbit[2][3];
    k.i0 = r.orbit[3][0], k.crc = r.orbit[3][1], k.omega = r.orbit[3][2], k.omega_dot = r.orbit[3][3];
    k.idot = known(r.orbit[4][0], 1.0);
    k.A = k.sqrtA * k.sqrtA;
    clock_ = r.clock;
    delay1_ = known(r.orbit[5][2], kMostDelay);
    delay2_ = satellite_.constellation == rinex::kGps || satellite_.constellation == rinex::kQzss
                  ? 0.0
                  : known(r.orbit[5][3], kMostDelay);
}

void ephemeris_t::set_state(const rinex::ephemeris_record_t& r)
{
    const auto column = [&](std::size_t i) {
        return sky::vec3_t{r.orbit[0][i] * 1000.0, r.orbit[1][i] * 1000.0, r.orbit[2][i] * 1000.0};
    };
    state_ = true;
    motion_ = {column(0), column(1)};
    acceleration_ = column(2);
    clock_ = {r.clock[0], r.clock[1], 0.0};
    delay1_ = r.lines > 3 ? known(r.orbit[3][1], kMostDelay) : 0.0;
    constexpr double kNoRanging = 32767.0;   // m: what stands for no accuracy
    if (satellite_.constellation == rinex::kSbas) healthy_ &= r.orbit[1][3] < kNoRanging;
}

bool ephemeris_t::possible() const
{
    const auto within = [](double most, std::initializer_list<double> numbers) {
        return std::all_of(numbers.begin(), numbers.end(), [most](double x) { return std::fabs(x) <= most; });
    };
    if (!within(1.0, {clock_[0], clock_[1], clock_[2]})) return false;
    if (state_) {
        const double radius = norm(motion_.position);
        return radius > 6e6 && radius < 1e8 && norm(motion_.velocity) < 1e5 && norm(acceleration_) < 1.0;
    }
    const sky::kepler_set_t& k = kepler_;
    constexpr double kTurn = 2.0 * sky::kPi;
    return k.sqrtA > 2400.0 && k.sqrtA < 1e4 && k.e >= 0.0 && k.e < 0.9 && k.toe >= 0.0 && k.toe <= kWeek &&
           within(kTurn, {k.M0, k.omega0, k.omega, k.i0}) && within(1e-3, {k.delta_n, k.omega_dot, k.idot}) &&
           within(0.1, {k.cuc, k.cus, k.cic, k.cis}) && within(1e5, {k.crc, k.crs});
}

double ephemeris_t::clock(seconds_t t) const
{
    const double dt = t - clock_reference_;
    return clock_[0] + dt * (clock_[1] + dt * clock_[2]);
}

sky::orbit_point_t ephemeris_t::at(seconds_t t) const
{
    const double dt = t - reference_;
    if (state_) return {motion_.position + dt * motion_.velocity + (0.5 * dt * dt) * acceleration_, clock(t)};
    sky::orbit_point_t point = sky::evaluate(kepler_, t);
    point.clock += clock(t);
    return point;
}

double ephemeris_t::group_delay(char band) const
{
    const char letter = satellite_.letter();
    const double gamma = [&] {
        const double ratio = rinex::carrier_frequency(letter, '1') / rinex::carrier_frequency(letter, band);
        return ratio * ratio;
    }();
    switch (satellite_.constellation) {
        case rinex::kGps:
        case rinex::kQzss:
            return gamma * delay1_;
        case rinex::kGlonass:
            return band == '2' ? delay1_ : 0.0;
        case rinex::kGalileo:   // the clock is that of E1 with E5a (F/NAV) or E5b (I/NAV)
            if (message_ == rinex::nav_message_t::fnav) return gamma * delay1_;
            return band == '5' || band == '8' ? (gamma - 1.0) * delay1_ + delay2_ : gamma * delay2_;
        case rinex::kBeidou:   // the clock is that of B3
            return band == '2' || band == '1' ? delay1_ : band == '6' ? 0.0 : delay2_;
        default:
            return 0.0;
    }
}

bool broadcast_t::add(const rinex::ephemeris_record_t& r)
{
    auto& [known, version] = known_[static_cast<std::size_t>(rinex::place_of(r.satellite))];
    const ephemeris_t fresh(r);
    if (!fresh.possible()) return false;
    const auto same = [&](const ephemeris_t& e) {
        return e.reference() == fresh.reference() && e.message() == fresh.message();
    };
    const auto old = std::find_if(known.rbegin(), known.rend(), same);
    if (old != known.rend()) {
        if (old->healthy() == fresh.healthy()) return false;
        *old = fresh;
    } else {
        if (known.size() == kMostKnown) return false;
        const auto is_before = [](const ephemeris_t& a, const ephemeris_t& b) { return a.reference() < b.reference(); };
        known.insert(std::upper_bound(known.begin(), known.end(), fresh, is_before), fresh);
    }
    ++version;
    return true;
}

void broadcast_t::leave(seconds_t t)
{
    for (auto& [known, version] : known_) {
        const auto valid = [t](const ephemeris_t& e) { return e.reference() + e.validity() >= t; };
        const auto first = std::find_if(known.begin(), known.end(), valid);
        version += first != known.begin();
        known.erase(known.begin(), first);
    }
}

const ephemeris_t* broadcast_t::find(int place, seconds_t t) const
{
    const ephemeris_t* nearest = nullptr;
    for (const ephemeris_t& e : known_[static_cast<std::size_t>(place)].ephemerides) {
        const double distance = std::fabs(e.reference() - t);
        if (distance > e.validity()) continue;
        if (nearest == nullptr || distance < std::fabs(nearest->reference() - t)) nearest = &e;
    }
    return nearest;
}

orbit_t::node_t orbit_t::node(seconds_t t) const
{
    const ephemeris_t& e = *ephemeris_;
    if (arc_) {
        const sky::glonass_state_t state = arc_->at(t);
        return {{state.position, e.clock(t)}, state.velocity};
    }
    constexpr double kHalf = 0.5;   // s
    const sky::orbit_point_t before = e.at(t - kHalf), now = e.at(t), after = e.at(t + kHalf);
    return {now, (0.5 / kHalf) * (after.position - before.position)};
}

void orbit_t::move(const broadcast_t& broadcast, int place, double step)
{
    const bool unchanged = version_ == broadcast.version(place);
    const ephemeris_t* found = broadcast.find(place, (step + 0.5) * kStep);
    const bool next = unchanged && found == ephemeris_ && step == step_ + 1.0;
    const bool same = unchanged && found == ephemeris_;
    ephemeris_ = found;
    version_ = broadcast.version(place);
    step_ = step;
    if (found == nullptr) return;
    if (!same) {
        const bool integral = rinex::satellite_at(place).constellation == rinex::kGlonass && found->is_state();
        arc_ = integral
                   ? std::make_unique<sky::glonass_arc_t>(found->reference(), found->state(), found->acceleration())
                   : nullptr;
    }
    nodes_[0] = next ? nodes_[1] : node(step * kStep);
    nodes_[1] = node((step + 1.0) * kStep);
}

const ephemeris_t* orbit_t::at(const broadcast_t& broadcast, int place, seconds_t t, sky::orbit_point_t& point)
{
    const double step = std::floor(t / kStep);
    if (step != step_ || version_ != broadcast.version(place)) move(broadcast, place, step);
    if (ephemeris_ == nullptr) return nullptr;
    // Cubic Hermite polynomial of both ends.
    const double s = (t - step * kStep) / kStep, s2 = s * s, s3 = s2 * s;
    const double p1 = 3.0 * s2 - 2.0 * s3, v0 = (s3 - 2.0 * s2 + s) * kStep, v1 = (s3 - s2) * kStep;
    const node_t &a = nodes_[0], &b = nodes_[1];
    point.position = (1.0 - p1) * a.point.position + p1 * b.point.position + v0 * a.velocity + v1 * b.velocity;
    point.clock = (1.0 - s) * a.point.clock + s * b.point.clock;
    return ephemeris_;
}

}   // namespace position
