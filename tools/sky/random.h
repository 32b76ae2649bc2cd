/// @file random.h  Repeatable random numbers: the same on every machine, unlike those of <random>.
#ifndef SKY_RANDOM_H
#define SKY_RANDOM_H

#include <cstdint>

namespace sky {

/// Generator with 64 bits of state.
/// @note SplitMix64: Steele, Lea, Flood, Fast splittable pseudorandom number generators, 2014.
class random_t {
public:
    explicit random_t(std::uint64_t seed) : state_(seed) {}

    std::uint64_t bits()
    {
        std::uint64_t z = state_ += 0x9E3779B97F4A7C15u;
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
        return z ^ (z >> 31);
    }

    /// Uniform in 0..n-1; n is at least 1 and small against 2^64.
    std::uint64_t below(std::uint64_t n) { return bits() % n; }

    /// Nearly normal with mean 0 and deviation 1, within -6..6: the sum of twelve uniform numbers, which
    /// needs no logarithm and so rounds alike everywhere.
    double normal()
    {
        std::uint64_t sum = 0;
        for (int draw = 0; draw < 3; ++draw) {
            const std::uint64_t b = bits();
            sum += (b & 0xFFFF) + (b >> 16 & 0xFFFF) + (b >> 32 & 0xFFFF) + (b >> 48);
        }
        return (static_cast<double>(sum) + 6.0) / 65536.0 - 6.0;
    }

private:
    std::uint64_t state_;
};

}   // namespace sky

#endif
