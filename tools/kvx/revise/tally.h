/// @file tally.h  What an observation file holds, as its header has to tell.
#ifndef KVX_TALLY_H
#define KVX_TALLY_H

#include <array>
#include <cstdint>
#include <vector>

#include "log/steps.h"
#include "rinex/version_names.h"

namespace kvx {

/// Counts values by satellite and column, and follows the times.
struct tally_t {
    static constexpr std::size_t kNumbers = 100;   // of satellites, 0 to 99

    std::array<std::vector<std::uint64_t>, rinex::kSystemCount * kNumbers> values;   ///< empty: no such satellite
    rinex::ticks_t first = 0, last = 0;                                              ///< in the file's time system
    std::int64_t first_ms = 0, last_ms = 0;                                          ///< GPS time
    std::uint64_t epochs = 0;
    step_counter_t steps;

    std::vector<std::uint64_t>& of(std::size_t system, int number, std::size_t columns)
    {
        auto& counts = values[system * kNumbers + static_cast<std::size_t>(number)];
        if (counts.size() < columns || counts.empty()) counts.resize(columns + counts.empty());
        return counts;
    }
    bool has(std::size_t system, std::size_t number) const { return !values[system * kNumbers + number].empty(); }

    std::size_t satellites() const
    {
        std::size_t n = 0;
        for (const auto& counts : values) n += !counts.empty();
        return n;
    }

    bool has_system(std::size_t system) const
    {
        for (std::size_t number = 0; number < kNumbers; ++number) {
            if (has(system, number)) return true;
        }
        return false;
    }

    /// Values in a column of a system; of all systems in RINEX 2.
    std::uint64_t in_column(std::size_t system, bool one_list, std::size_t column) const
    {
        std::uint64_t n = 0;
        for (std::size_t i = 0; i < values.size(); ++i) {
            if ((one_list || i / kNumbers == system) && column < values[i].size()) n += values[i][column];
        }
        return n;
    }

    void add_time(rinex::ticks_t ticks, std::int64_t ms)
    {
        if (epochs++ == 0) {
            first = ticks, first_ms = ms;
        } else {
            steps.add(static_cast<double>(ms - last_ms) / 1000.0);
        }
        last = ticks, last_ms = ms;
    }
};

}   // namespace kvx

#endif
