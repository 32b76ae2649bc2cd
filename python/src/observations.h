/// @file observations.h  Observations as columns: what an observation file prints, unrounded.
#ifndef RTK_PYTHON_OBSERVATIONS_H
#define RTK_PYTHON_OBSERVATIONS_H

#include <array>
#include <cstdint>
#include <utility>

#include "column.h"
#include "rinex/ledger.h"
#include "rinex/locks.h"

namespace rtk_python {

/// A row is one signal of one satellite at one epoch. What many rows have alike is kept once: times by epoch, names in
/// a table.
class observations_t {
public:
    /// @param ledger  must outlive it
    explicit observations_t(rinex::ledger_t& ledger) : ledger_(ledger) {}

    /// Before the first epoch: of how many bytes the log is. What is reserved too much takes no memory.
    void expect(std::uint64_t bytes);

    /// Takes what can be used of an epoch, satellites and signals in the order of a file.
    /// @param locks  have followed all epochs before it
    /// @return whether there was anything
    bool add(rinex::epoch_t& epoch, rinex::lock_tracker_t& locks);

    struct columns_t {
        column_t<std::int64_t> times;    // of the epochs, ns
        column_t<std::int64_t> counts;   // of their rows
        column_t<std::uint16_t> names;   // places in names_of()
        column_t<double> pseudorange, phase;
        column_t<float> doppler, cn0;   // single precision, as the full message sends them
        column_t<std::uint8_t> lli;
    };

    /// The rows so far; there are none then.
    columns_t take() { return std::exchange(columns_, {}); }

private:
    std::size_t look_at(rinex::epoch_t& epoch, rinex::lock_tracker_t& locks);
    void write(std::size_t count);

    rinex::ledger_t& ledger_;
    columns_t columns_;

    // Of the epoch in hand: written column by column, which takes half the time of row by row.
    static constexpr std::size_t kMost = std::size_t{rinex::kSatellites} * rinex::kMostSignals;
    std::array<const rinex::observation_t*, kMost> kept_;
    std::array<std::uint16_t, kMost> names_;
};

/// All columns by name.
py::dict arrays_of(observations_t::columns_t columns);

/// Satellite and code by name: two arrays.
py::tuple names_of(const rinex::signals_t& signals);

}   // namespace rtk_python

#endif
