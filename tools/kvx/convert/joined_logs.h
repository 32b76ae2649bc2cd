/// @file joined_logs.h  Several logs of one session as one.
#ifndef KVX_JOINED_LOGS_H
#define KVX_JOINED_LOGS_H

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "convert/log_feed.h"

namespace kvx {

/// Gives the epochs of several logs in order of time, one that stands in more than one of them once, with what any of
/// them has. Only logs that overlap are open at once.
///
/// Where the clock of a log steps back, what lies behind waits until all logs have been read up to there.
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
                  open_t open);

    void read(const take_t& take, const finish_t& finish);

    std::uint64_t epochs_in_common() const { return in_common_; }   ///< given once that stood in several logs

private:
    struct waiting_t {   // a log not opened yet
        std::int64_t first;
        std::string log;
    };
    struct open_log_t {
        std::unique_ptr<log_feed_t> feed;
        int run = -1;   // of its epochs, in each of which they follow each other

        std::int64_t time() const { return feed->current().epoch->time; }
    };
    void open_due(const take_t& take, const finish_t& finish);
    bool advance(open_log_t& log, const take_t& take);
    open_log_t& earliest();
    std::vector<std::size_t> next_ones();
    void unite(rinex::epoch_t& epoch, const rinex::epoch_t& other);
    void give(const std::vector<std::size_t>& places, const take_t& take);

    rinex::ledger_t& ledger_;
    open_t open_;
    std::vector<waiting_t> waiting_;   // the next one last
    std::vector<open_log_t> logs_;
    int run_ = -1;
    std::uint64_t in_common_ = 0;
};

}   // namespace kvx

#endif
