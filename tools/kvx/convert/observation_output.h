/// @file observation_output.h  The observation file of a log, with every signal.
#ifndef KVX_OBSERVATION_OUTPUT_H
#define KVX_OBSERVATION_OUTPUT_H

#include <deque>
#include <memory>
#include <optional>
#include <string>

#include "common/output_file.h"
#include "convert/file_names.h"
#include "convert/packing.h"
#include "convert/station_messages.h"
#include "log/summary.h"
#include "rinex/observation_text.h"

namespace kvx {

/// Appears with its first epoch; a file without any never does.
class observation_output_t {
public:
    /// @param options, station, channels, foreseen, ledger  must outlive it
    /// @param foreseen  columns that it will have, as far as that is known; nullptr: it is not
    observation_output_t(const convert_options_t& options, const rinex::station_t& station,
                         const rinex::channels_t& channels, const rinex::columns_t* foreseen, rinex::ledger_t& ledger);

    /// Looks at an epoch that is not written.
    void follow(const rinex::epoch_t& epoch) { text_.follow(epoch); }

    /// Writes an epoch, and before it the events that came earlier.
    void add(rinex::epoch_t& epoch);

    /// Keeps an event until the epochs before it are written.
    /// @param behind  of an epoch of the same time
    void add(event_t event, bool behind);

    /// Gives the events that belong to no epoch so far to another file, but for those behind the last epoch.
    void hand_over_events(observation_output_t& next);

    /// Gives the events from a time on to the file of the next part; without any epoch, all.
    void hand_over_events_from(std::int64_t ticks, observation_output_t& next);

    /// Begins where another file ended: a slip between the two is told.
    void continue_phases_of(const observation_output_t& before) { text_.continue_phases_of(before.text_); }

    /// Leaves nothing of what has been written in memory.
    void bring_to_disk();

    bool exists() const { return file_ != nullptr; }
    coverage_t coverage() const;
    observation_counts_t counts() const { return {epochs_.epochs, events_written_, events_lost_, 0}; }

    /// Writes what is left and completes the header in its place. The file is copied when it is small but not so small
    /// that it was not begun yet, when the header has outgrown its room, and when columns are not where they belong:
    /// one was never used, or a signal that was not foreseen came late and stands in front of another of its system; in
    /// RINEX 2 mostly.
    finished_file_t finish(const std::string& name);

private:
    struct waiting_t {
        event_t event;
        bool behind;
    };
    void write(std::string_view text);
    void write_block();
    bool is_known(const event_t& event) const;
    void write_events(std::int64_t until);
    std::string first_header() const;
    std::string header(const rinex::columns_t& columns) const;
    void complete(const std::string& header, const std::string& name);
    std::unique_ptr<output_file_t> rewritten(const std::string& header, const std::string& name);

    const convert_options_t& options_;
    const rinex::station_t& station_;
    const rinex::channels_t& channels_;
    const rinex::columns_t* foreseen_;
    rinex::observation_text_t text_;
    std::size_t most_;                 // bytes of the block
    std::unique_ptr<char[]> buffer_;   // its own
    rinex::text_t block_;              // not written yet
    std::unique_ptr<output_file_t> file_;
    std::size_t header_size_ = 0;    // with the lines kept free; 0: not written yet
    std::uint64_t size_ = 0;         // bytes written
    std::deque<waiting_t> events_;   // in order of time
    std::uint64_t events_written_ = 0, events_lost_ = 0;
    epoch_count_t epochs_;
    rinex::session_t session_;
};

}   // namespace kvx

#endif
