/// @file observation_text.h  Epochs and events of an observation file as text.
#ifndef RINEX_OBSERVATION_TEXT_H
#define RINEX_OBSERVATION_TEXT_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "gnss/rinex/text.h"
#include "rinex/columns.h"
#include "rinex/locks.h"

namespace rinex {

enum epoch_flag_t : int { kGoodEpoch = 0, kStartMoving = 2, kNewSite = 3, kExternalEvent = 5 };

/// Makes the text of epochs. No line ends in blanks.
class observation_text_t {
public:
    /// @param version          times 100
    /// @param signals, ledger  must outlive it
    observation_text_t(int version, const signals_t& signals, ledger_t& ledger);

    /// Before the first epoch: see columns_t.
    void begin_with(const columns_t& columns) { columns_.begin_with(columns); }

    /// Before the first epoch: what came before it stands in another text of the same version.
    void continue_phases_of(const observation_text_t& before)
    {
        locks_ = before.locks_;
        sources_ = before.sources_;
    }

    /// Looks at an epoch that is not written: phases are followed through all of them.
    void follow(const epoch_t& epoch)
    {
        epoch.each([&](int place, int signal) { locks_.follow(place, signal, epoch.at(place, signal)); });
    }

    /// Bytes of an epoch at most.
    static constexpr std::size_t kLongestEpoch = 1 << 18;

    /// Appends an epoch.
    /// @param out  has room for the longest one
    /// @return false: no satellite has a value in it, and nothing was appended
    bool epoch(epoch_t& epoch, text_t& out);

    const columns_t& columns() const { return columns_; }
    const places_t& seen() const { return seen_; }   ///< satellites written

private:
    void look_at(epoch_t& epoch);
    bool is_other_source(int place, int column, int signal);
    int free_kinds(const observation_t& o, const columns_t::kinds_t& columns) const;
    template <int Kind>
    void put_value(const observation_t& o, const columns_t::kinds_t& columns);
    void put_values(const observation_t& o, int kinds, const columns_t::kinds_t& columns);
    void put_signals(epoch_t& epoch, int place);
    void put_satellite(epoch_t& epoch, int place, text_t& out);
    void put_epoch_lines(const epoch_t& epoch, text_t& out) const;

    bool rinex2_;
    ledger_t& ledger_;
    columns_t columns_;
    lock_tracker_t locks_;
    places_t seen_;
    std::vector<std::vector<std::int8_t>> sources_;   // RINEX 2: signal of each satellite's last phase, by column
    std::vector<char> rows_;                          // RINEX 2: columns of a satellite, behind each other
    char* row_ = nullptr;                             // columns of the satellite in hand
    char* row_end_ = nullptr;                         // behind its last value
    std::uint64_t used_ = 0;                          // its columns with a value: bits
};

/// An event: its epoch line with a count, and header lines, which end in LF.
/// @param ticks  see dates.h
std::string event_text(int version, std::int64_t ticks, int flag, const std::vector<std::string>& lines);

}   // namespace rinex

#endif
