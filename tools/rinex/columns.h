/// @file columns.h  Which observation stands in which column of a file.
#ifndef RINEX_COLUMNS_H
#define RINEX_COLUMNS_H

#include <array>
#include <string>
#include <vector>

#include "rinex/epoch.h"
#include "rinex/ledger.h"

namespace rinex {

/// The columns of a file as far as it is written. A signal that occurs gets columns for all its kinds behind those that
/// are there; by the end some may be left empty or stand out of order.
///
/// RINEX 3 and 4 have a list of columns for each system, named by signal ("C1C"); RINEX 2 has one for all, named by
/// band ("C1"), in which a satellite's signals of one band share the phase: the preferred one has it.
class columns_t {
public:
    columns_t(int version, const signals_t& signals);

    /// Begins with the columns that occurred in others, in their order. RINEX 2 has all from the beginning.
    /// @param others  of the same version and signals
    void begin_with(const columns_t& others);

    /// Columns of an epoch's signals are there from now on.
    void prepare(const epoch_t& epoch);

    /// The columns that an observation's signal has, by kind; -1: none in this version.
    using kinds_t = std::array<std::int16_t, kKindCount>;
    const kinds_t& of(int constellation, int signal) const
    {
        return places_[static_cast<std::size_t>(constellation)][static_cast<std::size_t>(signal)];
    }

    /// Signals of a system in the order in which they take columns.
    const std::vector<int>& preference(int constellation) const
    {
        return preference_[static_cast<std::size_t>(constellation)];
    }

    bool one_list() const { return one_list_; }
    std::size_t list_of(int constellation) const { return one_list_ ? 0 : static_cast<std::size_t>(constellation); }
    std::size_t size(int constellation) const { return lists_[list_of(constellation)].size(); }

    /// Tells that columns of a list occurred: bits.
    void note(std::size_t list, std::uint64_t columns) { used_[list] |= columns; }

    /// Places so far of the columns that occurred, in the order of the published format, and their names.
    std::vector<std::size_t> order(std::size_t list) const;
    std::vector<std::string> names(std::size_t list) const;
    bool settled() const;   ///< all are where they belong

private:
    void prefer_pilots(int constellation);
    void list_all();
    void add_signals(int constellation, unsigned signals);
    std::string name_of(int constellation, const std::string& code, int kind) const;
    std::int16_t place_of_name(std::size_t list, const std::string& name);

    const signals_t& signals_;
    bool one_list_;
    std::array<std::vector<std::string>, kConstellationCount> lists_;   // names; no list has 64
    std::array<std::uint64_t, kConstellationCount> used_{};
    std::array<std::array<kinds_t, kMostSignals>, kConstellationCount> places_{};
    std::array<std::uint16_t, kConstellationCount> known_{};   // bits of signals that have columns
    std::array<std::vector<int>, kConstellationCount> preference_;
};

}   // namespace rinex

#endif
