/// @file observation_file.h  One RINEX observation file made from epochs and events.
#ifndef KVX_OBSERVATION_FILE_H
#define KVX_OBSERVATION_FILE_H

#include <rtk_gnss.h>

#include <memory>
#include <string>

#include "common/output_file.h"
#include "convert/convert_options.h"
#include "convert/file_names.h"
#include "log/summary.h"

namespace kvx {

/// Appears with its first epoch; a file without any never does.
class observation_file_t {
public:
    observation_file_t(const convert_options_t& options, const std::string& default_marker);

    /// Writes an epoch: what the command line asked for of it.
    /// @param epoch  changed: satellites that are not written are taken out
    void add_epoch(raw_t& epoch);

    /// Keeps the place of an event between the epochs around it.
    /// @param epoch_pending  an epoch that came before the event is still to be added
    void add_stop_and_go(const raw_t& raw, bool epoch_pending);
    void add_mark(const raw_t& raw, bool epoch_pending);

    bool exists() const { return file_ != nullptr; }
    const epoch_count_t& epochs() const { return epochs_; }
    std::uint64_t left_out() const { return left_out_; }           ///< satellites that the version cannot name
    std::uint64_t out_of_order() const { return out_of_order_; }   ///< epochs not later than the one before
    std::uint64_t events_lost() const { return events_lost_; }     ///< too many before an epoch
    coverage_t coverage() const;

    /// Patches the header and gives the file its name.
    /// @param raw          the decoder's record at the end of the log
    /// @param has_antenna  the log has told the antenna
    /// @return path
    std::string finish(const raw_t& raw, bool has_antenna, const std::string& name);

private:
    bool in_window(double now) const;
    bool on_grid(double now) const;
    bool is_wanted(double now);
    void write_epoch(const raw_t& epoch, double now);
    void select_satellites(raw_t& epoch);
    void start(const raw_t& epoch);
    void add_event(const std::string& text, bool epoch_pending);
    void write(std::string& events);
    void patch_header(const raw_t& raw, bool has_antenna);

    const convert_options_t& options_;
    rnx_t opt_;
    std::unique_ptr<output_file_t> file_;
    std::string events_before_, events_after_;   // of the epoch to come, of the epoch pending
    epoch_count_t epochs_;
    std::uint64_t left_out_ = 0, out_of_order_ = 0, events_lost_ = 0;
};

}   // namespace kvx

#endif
