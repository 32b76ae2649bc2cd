// Physics of the built-in sky, and that it is the same everywhere.
#include <gtest/gtest.h>

#include "support/feed_log.h"
#include "support/frame_builder.h"

namespace sky {
namespace {

constexpr double kDegree = kPi / 180.0;
const time_base_t kBase = {2305, 18};

TEST(SkyTrigonometry, AgreesWithTheLibrary)
{
    for (int i = -100000; i <= 100000; ++i) {
        const double x = i * 0.0123;
        ASSERT_NEAR(sin_cos(x).sin, std::sin(x), 3e-16) << x;
        ASSERT_NEAR(sin_cos(x).cos, std::cos(x), 3e-16) << x;
    }
}

/// Velocity in axes that do not turn, by differences.
vec3_t InertialVelocity(const vehicle_t& v, double t)
{
    const vec3_t p = v.at(t).position;
    const vec3_t d = v.at(t + 0.5).position - v.at(t - 0.5).position;
    return {d.x - kEarthRate * p.y, d.y + kEarthRate * p.x, d.z};
}

TEST(SkyOrbits, HaveTheHeightInclinationAndEnergyOfTheRealOnes)
{
    struct {
        const char* name;
        int system;
        int first_prn, last_prn;
        double semi_major, inclination;   // m, degrees
    } const kOrbits[] = {
        {"GPS", SYS_GPS, 1, 32, 26560e3, 55.0},
        {"Galileo", SYS_GAL, 1, 36, 29600e3, 56.0},
        {"BeiDou medium", SYS_BDS, 19, 30, 27906e3, 55.0},
        {"BeiDou inclined", SYS_BDS, 39, 40, 42164e3, 55.0},
        {"BeiDou geostationary", SYS_BDS, 1, 5, 42164e3, 0.0},
        {"QZSS", SYS_QZS, 193, 195, 42165e3, 41.0},
        {"GLONASS", SYS_GLO, 38, 61, 25508e3, 64.8},
    };
    for (const auto& o : kOrbits) {
        SCOPED_TRACE(o.name);
        int seen = 0;
        for (const auto& v : make_constellation(o.system, kBase, 43200)) {
            if (v->prn() < o.first_prn || v->prn() > o.last_prn) continue;
            const vec3_t p = v->at(43200).position, u = InertialVelocity(*v, 43200);
            const double mu = 3.986005e14;
            const double a = 1.0 / (2.0 / norm(p) - dot(u, u) / mu);
            EXPECT_NEAR(a, o.semi_major, 0.002 * o.semi_major) << v->prn();
            const double normal = (p.x * u.y - p.y * u.x) / std::sqrt(dot(p, p) * dot(u, u) - dot(p, u) * dot(p, u));
            EXPECT_NEAR(std::acos(normal) / kDegree, o.inclination, 0.1) << v->prn();
            ++seen;
        }
        EXPECT_GE(seen, 2);
    }
}

TEST(SkyOrbits, DataSetsFollowEachOtherWithoutJumps)
{
    for (const auto& v : make_constellation(kAllSystems, kBase, 590000)) {
        SCOPED_TRACE(std::to_string(v->system()) + " " + std::to_string(v->prn()));
        for (double t = 590000; t < 620000; t += 10) {   // through a change of week
            const double reference = v->reference();
            const orbit_point_t old = v->at(t);
            v->renew(t);
            if (v->reference() == reference) continue;
            const orbit_point_t now = v->at(t);
            ASSERT_LT(norm(now.position - old.position), 1e-3) << t;
            ASSERT_NEAR(now.clock, old.clock, 1e-13) << t;
        }
    }
}

TEST(SkyOrbits, BroadcastSetsDescribeTheTruthToDecimetres)
{
    for (const auto& v : make_constellation(SYS_GPS | SYS_GAL | SYS_BDS | SYS_QZS, kBase, 0)) {
        const auto& k = dynamic_cast<const kepler_vehicle_t&>(*v);
        for (double t = 0; t < 86400; t += 500) {
            v->renew(t);
            const orbit_point_t truth = v->at(t), told = evaluate(k.broadcast(), t);
            ASSERT_LT(norm(told.position - truth.position), 0.15) << v->prn() << " at " << t;
            ASSERT_LT(std::fabs(told.clock - truth.clock) * kLightSpeed, 0.1) << v->prn() << " at " << t;
            ASSERT_LE(std::fabs(k.broadcast().t_toe - t), 7200.0);
        }
    }
}

TEST(SkyOrbits, GlonassIntegrationIsExact)
{
    const glonass_state_t start = {{7003008.8, -12206626.5, 21280765.6}, {783.5, 2804.2, 1352.5}};
    glonass_state_t coarse = start, fine = start;
    for (int i = 0; i < 15; ++i) coarse = advance(coarse, {0.0, 1.7e-6, -5.4e-6}, 60);
    for (int i = 0; i < 150; ++i) fine = advance(fine, {0.0, 1.7e-6, -5.4e-6}, 6);
    EXPECT_LT(norm(coarse.position - fine.position), 1e-3);
    EXPECT_LT(norm(coarse.velocity - fine.velocity), 1e-6);
}

TEST(SkySimulator, GivesTheSameBytesEverywhere)
{
    scenario_t scenario;
    scenario.duration = 20;
    const bytes_t log = make_log(scenario);
    EXPECT_EQ(log, make_log(scenario));
    EXPECT_EQ(0x2A18D6u, crc24q(log.data(), static_cast<int>(log.size())));   // on any processor, by any compiler
    scenario.seed = 2;
    EXPECT_NE(log, make_log(scenario));
}

TEST(SkySimulator, EpochsFollowTheRate)
{
    struct {
        double rate, duration;
        std::int64_t epochs;
        double last_tow;
    } const kRates[] = {{1, 60, 60, 59}, {20, 1, 20, 0.95}, {0.0333, 90, 3, 60}, {5, 0.1, 1, 0}, {1, 0.5, 1, 0}};
    for (const auto& r : kRates) {
        scenario_t scenario;
        scenario.rate = r.rate, scenario.duration = r.duration, scenario.tow = 0;
        const auto raw = new_record();
        std::int64_t made = 0;
        feed_scenario(*raw, scenario, [&](const simulator_t& sim) {
            EXPECT_EQ(++made, sim.done());
            EXPECT_EQ(r.epochs, sim.epochs()) << r.rate;
        });
        EXPECT_EQ(r.epochs, made) << r.rate;
        EXPECT_DOUBLE_EQ(r.last_tow, raw->obs_tow) << r.rate;
    }
}

}   // namespace
}   // namespace sky
