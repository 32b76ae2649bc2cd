/// @file damage.h  Faults of a serial line: bit errors, lost bytes, foreign bytes.
#ifndef SKY_DAMAGE_H
#define SKY_DAMAGE_H

#include <string>

#include "sky/frame.h"
#include "sky/random.h"

namespace sky {

struct fault_t {
    std::int64_t offset;   ///< in the damaged log (bytes)
    std::string what;
};

/// Spreads a number of faults over a log that is made epoch by epoch.
class damage_t {
public:
    /// @param faults  how many
    /// @param epochs  of the whole log, at least 1
    damage_t(std::int64_t faults, std::int64_t epochs, std::uint64_t seed);

    /// Damages the bytes of the next epoch, of which there must be some.
    ///
    /// @return the faults of this epoch
    std::vector<fault_t> apply(bytes_t& epoch);

private:
    std::string strike(bytes_t& out, bytes_t::const_iterator& from, bytes_t::const_iterator end);

    random_t random_;
    std::vector<std::int64_t> epochs_;   // of the faults, the last one first
    std::int64_t epoch_ = 0;
    std::int64_t offset_ = 0;   // bytes so far
};

}   // namespace sky

#endif
