// The built-in sky: its broadcast data tell the truth, and its bytes are the same everywhere.
#include <gtest/gtest.h>

#include <map>

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

}   // namespace

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
