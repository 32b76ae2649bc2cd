#include "sky/locks.h"

#include <algorithm>
#include <cmath>

#include "sky/random.h"

namespace sky {

namespace {

constexpr double kParityKnown = 6.0;   // s of lock
constexpr int kLongestLoss = 3;        // s; that one takes the code along

}   // namespace

lock_t interrupted_lock(std::uint64_t signal, double since, double t)
{
    random_t random(signal);
    const bool steady = random.below(4) == 0;
    const auto period = static_cast<double>(60 * (1 + random.below(64)));
    const auto shift = static_cast<double>(random.below(3600));
    const auto length = static_cast<double>(random.below(kLongestLoss + 1));   // 0: only the lock time tells of it

    lock_t lock;
    const double losses = steady ? 0.0 : std::floor((t + shift) / period);
    const double found = steady ? since : losses * period - shift + length;
    random_t of_this_lock(signal + static_cast<std::uint64_t>(losses) + 1);
    const bool half = of_this_lock.below(2) == 1;
    lock.turns = static_cast<double>(of_this_lock.below(2001)) - 1000.0;
    lock.phase = t >= found;
    lock.code = lock.phase || length < kLongestLoss;
    lock.time = std::max(0.0, t - std::max(found, since));
    lock.parity = lock.phase && lock.time >= kParityKnown;
    lock.half_cycle = lock.parity && half;
    if (half && !lock.parity) lock.turns += 0.5;
    return lock;
}

}   // namespace sky
