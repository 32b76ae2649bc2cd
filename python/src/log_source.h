/// @file log_source.h  A log as a conversion takes it: epochs in order, within the window, on the grid, of what is
/// asked for, and what else it tells.
#ifndef RTK_PYTHON_LOG_SOURCE_H
#define RTK_PYTHON_LOG_SOURCE_H

#include <functional>
#include <memory>

#include "common/selection_options.h"
#include "convert/epoch_choice.h"
#include "convert/log_feed.h"
#include "log/summary.h"
#include "rinex/locks.h"
#include "source.h"

namespace rtk_python {

class log_source_t {
public:
    struct takes_t {
        /// An epoch, and what is known of its phases; gives whether it had anything to take.
        std::function<bool(rinex::epoch_t& epoch, rinex::lock_tracker_t& locks)> epoch;
        /// Messages of known time that are no ranges; gives what they were worth (decode_result_t). Empty: none.
        std::function<int(const kvx::message_t& message)> message;
    };

    /// @throws kvx::error_t when the log cannot be opened
    log_source_t(source_t source, const kvx::selection_options_t& options);

    /// Reads on until an epoch has been judged.
    /// @return false at the end of the log, with all epochs taken
    /// @throws kvx::error_t; what Python's signal handlers raise
    bool read_on(const takes_t& takes);

    /// Why it is no log at all; empty when it is one. At its end.
    std::string why_no_log() const;

    const source_t& source() const { return source_; }
    const kvx::selection_options_t& options() const { return options_; }
    const kvx::selection_t& selection() const { return selection_; }
    const kvx::summary_t& summary() const { return summary_; }   ///< complete at the end of the log
    const kvx::log_feed_t& feed() const { return *feed_; }
    rinex::ledger_t& ledger() { return ledger_; }

private:
    void on_judged(kvx::judged_epoch_t& judged);
    void begin_file();
    void on_chosen(rinex::epoch_t& epoch, rinex::fate_t fate);

    source_t source_;
    kvx::selection_options_t options_;
    kvx::selection_t selection_;
    kvx::summary_t summary_;
    rinex::ledger_t ledger_;
    rinex::lock_tracker_t locks_;
    bool any_epoch_ = false;   // since the clock was set back
    kvx::epoch_choice_t<rinex::epoch_t> choice_;
    const takes_t* takes_ = nullptr;   // while it reads
    std::unique_ptr<kvx::log_feed_t> feed_;
};

}   // namespace rtk_python

#endif
