/// @file steps.h  Differences between epochs: their usual step and the gaps.
#ifndef KVX_STEPS_H
#define KVX_STEPS_H

#include <cstdint>
#include <map>

namespace kvx {

class step_counter_t {
public:
    void add(double seconds);
    double usual() const;            ///< the most frequent step (s), of several the smallest; 0: unknown
    std::uint64_t gaps() const;      ///< steps longer than one and a half usual ones
    std::uint64_t missing() const;   ///< epochs that the gaps lack

private:
    std::map<std::int64_t, std::uint64_t> steps_;   // by hundredths of a second
};

}   // namespace kvx

#endif
