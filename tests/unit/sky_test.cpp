// The built-in sky: its broadcast data tell the truth. Its bytes are kept by the session of kvx.
#include <gtest/gtest.h>

#include "gnss/foundation/satellites.h"
#include "sky/simulator.h"

using namespace sky;

TEST(Sky, DataSetsFollowEachOtherWithoutJumpsAndTellTheTruth)
{
    for (const auto& v : make_constellation(kAllSystems, {2305, 18}, 590000, true)) {
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
