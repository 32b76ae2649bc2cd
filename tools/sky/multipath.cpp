#include "sky/multipath.h"

#include <cmath>

#include "sky/random.h"
#include "sky/trigonometry.h"

namespace sky {

namespace {

constexpr double kHalfHour = 1800.0;                     // s
constexpr std::uint64_t kFewest = 5, kMost = 15;         // waves in it
constexpr std::uint64_t kStream = 0x6A09E667F3BCC908u;   // sets its random numbers apart from others of the seed

double wave(std::uint64_t number, double t, random_t& random)
{
    const double begin = static_cast<double>(random.below(3600)) / 3600.0;
    const double of_half_hour = std::fmod(t, kHalfHour) / kHalfHour;
    return sin_cos(2.0 * kPi * (begin + static_cast<double>(number) * of_half_hour)).sin;
}

}   // namespace

double multipath_t::at(std::uint64_t signal, double t) const
{
    if (rms_ == 0.0) return 0.0;
    random_t random((seed_ ^ kStream) + (signal << 32));
    const std::uint64_t first = kFewest + random.below(kMost - kFewest + 1);
    const std::uint64_t other = kFewest + random.below(kMost - kFewest);
    const double both = wave(first, t, random) + wave(other < first ? other : other + 1, t, random);
    return rms_ * both;   // a sine has the half of its amplitude's square, and these two are orthogonal
}

}   // namespace sky
