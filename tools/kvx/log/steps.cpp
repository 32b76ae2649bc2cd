#include "log/steps.h"

#include <algorithm>
#include <cmath>

namespace kvx {

namespace {

// Different steps remembered; a log that jumps about has no more use for them.
constexpr std::size_t kMostSteps = 4096;
constexpr double kHundredth = 0.01;   // s

}   // namespace

void step_counter_t::add(double seconds)
{
    const auto key = static_cast<std::int64_t>(std::llround(std::clamp(seconds, -1e9, 1e9) / kHundredth));
    if (key <= 0 || (steps_.size() >= kMostSteps && steps_.count(key) == 0)) return;
    ++steps_[key];
}

double step_counter_t::usual() const
{
    const auto most = std::max_element(steps_.begin(), steps_.end(),
                                       [](const auto& a, const auto& b) { return a.second < b.second; });
    return most == steps_.end() ? 0.0 : static_cast<double>(most->first) / 100.0;
}

std::uint64_t step_counter_t::gaps() const
{
    std::uint64_t n = 0;
    for (const auto& [step, count] : steps_) {
        if (static_cast<double>(step) * kHundredth > 1.5 * usual()) n += count;
    }
    return n;
}

std::uint64_t step_counter_t::missing() const
{
    std::uint64_t n = 0;
    for (const auto& [step, count] : steps_) {
        const double steps = static_cast<double>(step) * kHundredth / usual();
        if (steps > 1.5) n += count * static_cast<std::uint64_t>(std::llround(steps) - 1);
    }
    return n;
}

}   // namespace kvx
