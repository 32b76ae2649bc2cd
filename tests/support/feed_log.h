/// @file feed_log.h  Feeds whole logs of the built-in sky to the decoder.
#ifndef TESTS_FEED_LOG_H
#define TESTS_FEED_LOG_H

#include "sky/simulator.h"

/// Feeds every message of a log and calls `each(result)` after it. @return the last result
template <class Each>
int feed_log(raw_t& raw, const sky::bytes_t& log, const Each& each)
{
    int result = 0;
    for (int left = static_cast<int>(log.size()); left > 0; each(result))
        result = input_korvexb(&raw, log.data() + log.size() - left, &left);
    return result;
}

inline int feed_log(raw_t& raw, const sky::bytes_t& log)
{
    return feed_log(raw, log, [](int) {});
}

/// Runs a scenario and calls `each(simulator)` when all messages of an epoch have been fed.
template <class Each>
void feed_scenario(raw_t& raw, const sky::scenario_t& scenario, const Each& each)
{
    sky::simulator_t sim(scenario);
    for (sky::bytes_t log; sim.next(log); log.clear()) {
        feed_log(raw, log, [](int result) { EXPECT_LE(0, result); });
        each(sim);
    }
}

#endif
