/// @file joined_logs.h  The epochs of several logs of one session.
#ifndef KVX_JOINED_LOGS_H
#define KVX_JOINED_LOGS_H

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "convert/log_feed.h"
#include "log/side_by_side.h"

namespace kvx {

/// Gives the epochs of several logs in order of time. One that stands in more than one of them is given once, with what
/// any of them has.
class joined_logs_t {
public:
    using open_t = std::function<std::unique_ptr<log_feed_t>(const std::string& log)>;
    /// Takes an epoch of a log; may exchange it.
    using take_t = std::function<void(const log_feed_t& log, judged_epoch_t& epoch)>;
    /// Takes what a log was, at its end.
    using finish_t = std::function<void(const log_feed_t& log)>;

    /// @param logs    read twice: their first epochs tell their order
    /// @param names, ledger  must outlive it
    /// @throws error_t when one cannot be read
    joined_logs_t(const std::vector<std::string>& logs, const rinex::signals_t& names, rinex::ledger_t& ledger,
                  const open_t& open, take_t take, const finish_t& finish);

    void read();

    std::uint64_t epochs_in_common() const { return in_common_; }   ///< given once that stood in several logs

private:
    // Goes from epoch to epoch of those in order; the others need no place among those of other logs.
    class log_t {
    public:
        log_t(std::unique_ptr<log_feed_t> feed, const take_t& take) : feed_(std::move(feed)), take_(take) {}

        bool next();
        std::int64_t time() const { return feed_->current().epoch->time; }
        int run() const { return run_; }
        log_feed_t& feed() { return *feed_; }
        rinex::epoch_t& epoch() { return *feed_->current().epoch; }

    private:
        std::unique_ptr<log_feed_t> feed_;
        const take_t& take_;
        int run_ = -1;
    };
    void unite(rinex::epoch_t& epoch, const rinex::epoch_t& other);
    void give(const std::vector<log_t*>& logs);

    rinex::ledger_t& ledger_;
    take_t take_;
    side_by_side_t<log_t> logs_;
    int run_ = -1;
    std::uint64_t in_common_ = 0;
};

}   // namespace kvx

#endif
