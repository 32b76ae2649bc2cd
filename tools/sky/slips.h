/// @file slips.h  Cycle slips that the receiver does not notice.
#ifndef SKY_SLIPS_H
#define SKY_SLIPS_H

#include <array>
#include <map>
#include <span>
#include <vector>

#include "sky/random.h"
#include "sky/range_messages.h"

namespace sky {

struct slip_t {
    double t;               ///< first epoch that has it, s from the beginning of the scenario's week
    int prn;                ///< as the board numbers it
    std::uint32_t status;   ///< channel tracking status, which tells system and signal
    int cycles;             ///< 1..50 of either sign, by which the phase grows
};

/// Spreads a number of slips over a log that is made epoch by epoch: one an epoch at most, of a phase that has been
/// held for more than 10 epochs, not in the last 10, and 20 or more behind another slip of its satellite. A slip stays
/// until the satellite sets.
class slips_t {
public:
    /// @param wanted    how many
    /// @param epochs    of the whole log
    /// @param interval  between them, s
    slips_t(std::int64_t wanted, std::int64_t epochs, double interval, std::uint64_t seed);

    /// Lets the phases of the next epoch slip.
    ///
    /// @param ranges  all there are, of each satellite in view at least one
    /// @param t       the epoch, s
    void apply(std::span<range_t> ranges, double t);

    const std::vector<slip_t>& placed() const { return placed_; }

private:
    // Of a satellite that was in view.
    struct state_t {
        std::int64_t seen, slipped;        // epochs of which it was last
        std::array<int, 32> cycles = {};   // by signal type
    };

    state_t& state_of(const range_t& range);
    void keep(std::span<range_t> ranges);
    bool due();
    std::vector<range_t*> able(std::span<range_t> ranges);

    std::int64_t wanted_, epochs_, epoch_ = -1;
    double interval_;
    random_t random_;
    std::map<int, state_t> states_;
    std::vector<slip_t> placed_;
};

}   // namespace sky

#endif
