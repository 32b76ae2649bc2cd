/// @file ledger.h  What became of each observation of a log.
#ifndef RINEX_LEDGER_H
#define RINEX_LEDGER_H

#include <array>
#include <cstdint>
#include <numeric>

#include "rinex/epoch.h"
#include "rinex/signals.h"

namespace rinex {

/// Ends that an observation comes to.
enum class fate_t : std::uint8_t {
    written,
    no_code_lock,
    unknown_type,   // the table has no name for the signal
    no_satellite,   // the PRN is none of its system
    superseded,     // the same signal stands in the other range message of the epoch
    repeated,       // or again in the same one
    other_log,      // or in another log of the session
    no_value,       // nothing in it that the file can print
    not_asked,      // system, satellite or signal
    outside,        // the time window
    off_grid,       // the interval
    out_of_order,   // not later than the epoch before
    no_name,        // in this version of the format
    count
};
inline constexpr std::size_t kFates = static_cast<std::size_t>(fate_t::count);

/// What the fates are called in summaries.
// clang-format off
inline constexpr const char* kFateNames[kFates] = {
    "written",
    "no code lock",
    "signal without a name",
    "no such satellite",
    "also in the full range message",
    "repeated",
    "also in another log",
    "without a value",
    "not asked for",
    "outside the time window",
    "off the interval's grid",
    "epoch out of order",
    "no name in this version",
};
// clang-format on

/// Counts by signal; the sum is the log's.
class ledger_t {
public:
    void add(std::uint8_t tracking_key, fate_t fate) { ++rows_[tracking_key].fates[static_cast<std::size_t>(fate)]; }
    /// All of an epoch.
    void add(const epoch_t& epoch, fate_t fate)
    {
        epoch.each([&](int place, int signal) { add(epoch.at(place, signal).tracking_key, fate); });
    }
    void add_lost_phase(std::uint8_t tracking_key) { ++rows_[tracking_key].lost_phases; }
    void add_blanks(std::uint8_t tracking_key, unsigned n) { rows_[tracking_key].blanks += n; }

    struct row_t {
        std::array<std::uint64_t, kFates> fates{};
        std::uint64_t lost_phases = 0;   // of observations written, in a version with one phase a band
        std::uint64_t blanks = 0;        // values that have no room in their columns

        std::uint64_t records() const { return std::accumulate(fates.begin(), fates.end(), std::uint64_t{0}); }
        std::uint64_t written() const { return fates[0]; }
    };
    const row_t& row(int tracking_key) const { return rows_[static_cast<std::size_t>(tracking_key)]; }

    std::uint64_t count(fate_t fate) const
    {
        std::uint64_t n = 0;
        for (const row_t& row : rows_) n += row.fates[static_cast<std::size_t>(fate)];
        return n;
    }

private:
    std::array<row_t, kTrackingKeys> rows_{};
};

}   // namespace rinex

#endif
