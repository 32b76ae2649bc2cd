/// @file observation_file.h  One RINEX observation file made from epochs and events.
#ifndef KVX_OBSERVATION_FILE_H
#define KVX_OBSERVATION_FILE_H

#include <rtk_gnss.h>

#include <memory>
#include <string>
#include <vector>

#include "common/publish.h"
#include "convert/convert_options.h"
#include "convert/file_names.h"
#include "convert/packing.h"
#include "log/summary.h"

namespace kvx {

/// Texts of events that wait.
class events_t {
public:
    /// Counts the event as lost when there are too many.
    /// @return false: it was lost
    bool add(const std::string& text);

    template <typename Visit>
    void each(Visit visit) const
    {
        for (const std::string& text : texts_) visit(text);
    }
    void clear() { texts_.clear(); }
    std::uint64_t lost() const { return lost_; }

private:
    static constexpr std::size_t kMost = 1 << 14;
    std::vector<std::string> texts_;
    std::uint64_t lost_ = 0;
};

/// Appears with its first epoch; a file without any never does.
class observation_file_t {
public:
    observation_file_t(const convert_options_t& options, const std::string& default_marker);

    /// Writes an epoch: what the command line asked for of it.
    /// @param epoch  changed: satellites that are not written are taken out
    void add_epoch(raw_t& epoch);

    /// An event that the decoder has just read, as text; empty when it is not asked for.
    std::string stop_and_go_text(const raw_t& raw) const;
    std::string mark_text(const raw_t& raw) const;

    /// Writes an event behind the epochs so far.
    void add_event(const std::string& text);

    /// Gives the events that wait for the first epoch to another file.
    void hand_over_events(observation_file_t& next);

    /// Leaves nothing of what has been written in memory.
    void bring_to_disk()
    {
        if (file_ != nullptr) file_->check("the observations");
    }

    bool exists() const { return file_ != nullptr; }
    observation_counts_t counts() const { return {epochs_.epochs, events_, waiting_.lost(), left_out_}; }
    coverage_t coverage() const;

    /// Patches the header.
    /// @param raw          the decoder's record at the end of the log
    /// @param has_antenna  the log has told the antenna
    finished_file_t finish(const raw_t& raw, bool has_antenna, const std::string& name);

private:
    bool in_window(double now) const;
    bool on_grid(double now) const;
    bool is_wanted(double now);
    void write_epoch(const raw_t& epoch, double now);
    void select_satellites(raw_t& epoch);
    void start(const raw_t& epoch);
    void patch_header(const raw_t& raw, bool has_antenna);

    const convert_options_t& options_;
    rnx_t opt_;
    std::unique_ptr<output_file_t> file_;
    events_t waiting_;   // for the first epoch
    epoch_count_t epochs_;
    std::uint64_t events_ = 0, left_out_ = 0;
};

}   // namespace kvx

#endif
