// The built-in sky: its physics, its bytes, and that a user of its broadcast data finds the ranges it sent.
#include <gtest/gtest.h>

#include <map>
#include <set>

#include "sky/damage.h"
#include "sky/simulator.h"
#include "support/frame_builder.h"

namespace {

using namespace sky;

template <class Each>
void feed_log(raw_t& raw, const bytes_t& log, const Each& each)
{
    for (int left = static_cast<int>(log.size()); left > 0;)
        each(input_korvexb(&raw, log.data() + log.size() - left, &left));
}

bytes_t damaged(const scenario_t& scenario, int faults)
{
    simulator_t sim(scenario);
    damage_t line(faults, sim.epochs(), 1);
    bytes_t log, epoch;
    std::size_t struck = 0;
    for (; sim.next(epoch); epoch.clear()) {
        struck += line.apply(epoch).size();
        log.insert(log.end(), epoch.begin(), epoch.end());
    }
    EXPECT_EQ(static_cast<std::size_t>(faults), struck);
    return log;
}

// Broadcast orbit and clock by the user algorithm of IS-GPS-200, table 20-IV.
template <class Eph>
orbit_point_t user_orbit(const Eph& e, double A, const gal_clock_t& clock, double mu, double rate, double t)
{
    const double tk = timediff(t, e.toe), tc = timediff(t, clock.toc);
    const double M = e.M0 + (std::sqrt(mu / A / A / A) + e.delta_n) * tk;
    double E = M;
    for (int i = 0; i < 30; ++i) E = M + e.e * std::sin(E);
    const double phi = std::atan2(std::sqrt(1 - e.e * e.e) * std::sin(E), std::cos(E) - e.e) + e.omega;
    const double s2 = std::sin(2 * phi), c2 = std::cos(2 * phi);
    const double u = phi + e.cus * s2 + e.cuc * c2, r = A * (1 - e.e * std::cos(E)) + e.crs * s2 + e.crc * c2;
    const double i = e.i0 + e.idot * tk + e.cis * s2 + e.cic * c2;
    const double O = e.omega0 + e.omega_dot * tk - rate * e.toe - rate * tk;
    const double x = r * std::cos(u), y = r * std::sin(u);
    const double relativity = -2.0 * std::sqrt(mu * A) * e.e * std::sin(E) / kLightSpeed / kLightSpeed;
    return {{x * std::cos(O) - y * std::cos(i) * std::sin(O), x * std::sin(O) + y * std::cos(i) * std::cos(O),
             y * std::sin(i)},
            clock.af0 + clock.af1 * tc + clock.af2 * tc * tc + relativity};
}

// False: no Keplerian orbit that turns with the Earth.
bool broadcast(const raw_t& raw, int sat, double t, orbit_point_t* out)
{
    int prn = 0;
    const int sys = satsys(sat, &prn);
    if (sys == SYS_GAL) {
        const galeph_t& e = raw.galeph[prn - 1];
        *out = user_orbit(e, e.sqrtA * e.sqrtA, e.inav_clock, 3.986004418e14, 7.2921151467e-5, t);
        return e.sat == sat;
    }
    if (sys != SYS_GPS && sys != SYS_QZS && (sys != SYS_BDS || prn <= 5)) return false;
    const eph_t& e = raw.eph[sys == SYS_QZS ? 77 + prn : sat - 1];
    const gal_clock_t clock = {e.toc, e.af0, e.af1, e.af2};
    *out = sys == SYS_BDS ? user_orbit(e, e.A, clock, 3.986004418e14, 7.2921150e-5, gpst2bdt(t, nullptr))
                          : user_orbit(e, e.A, clock, 3.986005e14, 7.2921151467e-5, t);
    return e.sat == sat;
}

}   // namespace

TEST(Sky, TrigonometryAgreesWithTheLibrary)
{
    for (int i = -100000; i <= 100000; ++i) {
        const double x = i * 0.0123;
        ASSERT_NEAR(sin_cos(x).sin, std::sin(x), 3e-16) << x;
        ASSERT_NEAR(sin_cos(x).cos, std::cos(x), 3e-16) << x;
    }
}

TEST(Sky, DataSetsFollowEachOtherWithoutJumpsAndTellTheTruth)
{
    for (const auto& v : make_constellation(kAllSystems, {2305, 18}, 590000)) {
        for (double t = 590000; t < 620000; t += 10) {   // through a change of week
            const double reference = v->reference();
            const orbit_point_t old = v->at(t);
            v->renew(t);
            if (v->reference() == reference) continue;
            const orbit_point_t now = v->at(t);
            ASSERT_LT(norm(now.position - old.position), 1e-3) << v->system() << ' ' << v->prn() << " at " << t;
            ASSERT_NEAR(now.clock, old.clock, 1e-13) << v->prn();
            const auto* k = dynamic_cast<const kepler_vehicle_t*>(v.get());
            if (k == nullptr) continue;
            const orbit_point_t told = evaluate(k->broadcast(), t);
            ASSERT_LT(norm(told.position - now.position), 0.15) << v->prn() << " at " << t;
            ASSERT_LT(std::fabs(told.clock - now.clock) * kLightSpeed, 0.1) << v->prn() << " at " << t;
        }
    }
}

TEST(Sky, TheSameBytesEverywhere)
{
    scenario_t plain, changes, slow;
    plain.duration = 20;
    changes.tow = 604770, changes.duration = 60, changes.rate = 5, changes.range = kCompressedRange, changes.seed = 2;
    changes.lat = -33.4, changes.lon = -70.6;
    slow.duration = 86400, slow.rate = 1.0 / 300;
    const auto crc = [](const bytes_t& log) { return crc24q(log.data(), static_cast<int>(log.size())); };
    EXPECT_EQ(0x2A18D6u, crc(make_log(plain)));   // on any processor, by any compiler
    EXPECT_EQ(0x8DD529u, crc(make_log(changes)));
    EXPECT_EQ(0xBD7114u, crc(make_log(slow)));
    EXPECT_EQ(0xD4BF40u, crc(damaged(plain, 12)));
}

TEST(Sky, EpochsFollowTheRateAndEveryMessageIsSent)
{
    const struct {
        double rate, duration;
        std::int64_t epochs;
        double last_tow;
    } kRates[] = {{1, 130, 130, 129}, {20, 1, 20, 0.95}, {0.0333, 90, 3, 60}, {5, 0.1, 1, 0}};
    for (const auto& r : kRates) {
        scenario_t scenario;
        scenario.rate = r.rate, scenario.duration = r.duration, scenario.tow = 0;
        const auto raw = new_record();
        std::map<int, std::int64_t> seen;
        feed_log(*raw, make_log(scenario), [&](int result) {
            EXPECT_LE(0, result);
            ++seen[raw->buff[4] | raw->buff[5] << 8];
        });
        EXPECT_EQ(r.epochs, seen[MSG_RANGE]);
        EXPECT_DOUBLE_EQ(r.last_tow, raw->obs_tow);
        if (r.epochs == 130) EXPECT_EQ(19u, seen.size());
    }
}

TEST(Sky, AUserFindsTheRangesThatWereSent)
{
    scenario_t scenario;
    scenario.tow = 50380;   // all systems change at 50400..50418
    scenario.duration = 60;
    const double site[] = {scenario.lat * kPi / 180, scenario.lon * kPi / 180, scenario.height};
    double p[3];
    pos2ecef(site, p);
    const vec3_t antenna = {p[0], p[1], p[2]};
    const auto raw = new_record();
    std::set<int> systems;
    feed_log(*raw, make_log(scenario), [&](int result) {
        if (result != DECODE_OBS) return;
        std::map<int, std::pair<double, double>> bounds;   // of a system, whose signals share a clock
        for (int i = 0; i < raw->nobs; ++i) {
            const obsd_t& o = raw->obs[i];
            const double sent = raw->obs_tow - o.P[0] / kLightSpeed;
            orbit_point_t s{};
            if (o.P[0] == 0 || !broadcast(*raw, o.sat, sent, &s)) continue;
            broadcast(*raw, o.sat, sent - s.clock, &s);
            const double turn = 7.2921151467e-5 * o.P[0] / kLightSpeed;
            const vec3_t d =
                vec3_t{s.position.x + turn * s.position.y, s.position.y - turn * s.position.x, s.position.z} - antenna;
            const double residual = o.P[0] - norm(d) + kLightSpeed * s.clock;
            const int sys = satsys(o.sat, nullptr);
            auto& [low, high] = bounds.try_emplace(sys, residual, residual).first->second;
            low = std::min(low, residual), high = std::max(high, residual);
            systems.insert(sys);
        }
        for (const auto& [system, b] : bounds) EXPECT_LT(b.second - b.first, 40.0) << system;   // the atmosphere's part
    });
    EXPECT_EQ(4u, systems.size());
}
