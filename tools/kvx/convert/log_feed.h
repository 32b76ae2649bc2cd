/// @file log_feed.h  A log as conversions take it: its epochs, judged by those around them, and its other messages.
#ifndef KVX_LOG_FEED_H
#define KVX_LOG_FEED_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "log/epoch_order.h"
#include "log/log_reader.h"
#include "log/message_time.h"
#include "log/summary.h"
#include "rinex/ranges.h"

namespace kvx {

struct judged_epoch_t {
    std::unique_ptr<rinex::epoch_t> epoch;
    order_t order;
};

class log_feed_t {
public:
    /// Called in the order of the log, while next() reads on.
    struct takes_t {
        /// Messages of known time that are no ranges; gives what they were worth (decode_result_t).
        std::function<int(const log_feed_t& feed, const message_t& message)> message;
        /// Every frame, behind its message, and its bytes.
        std::function<void(const log_feed_t& feed, const frame_t& frame, const std::uint8_t* content)> frame;
    };

    /// @param names, ledger  must outlive it
    /// @throws error_t when the log cannot be opened
    log_feed_t(const std::string& log, bool follow, const rinex::signals_t& names, rinex::ledger_t& ledger,
               takes_t takes);

    /// Reads on until an epoch has been judged.
    /// @return false at the end of the log
    bool next();

    /// The epoch, until the next call; it may be exchanged for another one, whose contents are of no concern.
    judged_epoch_t& current() { return judged_[first_]; }

    /// Whether the epoch in hand, of which more messages may come, is of this time (ms).
    bool is_in_epoch(std::int64_t time) const { return ranges_.pending() && ranges_.time() == time; }

    const epoch_count_t& epochs() const { return epochs_; }   ///< judged so far and in order

    input_file_t& source() { return source_; }
    const input_file_t& source() const { return source_; }
    log_reader_t& reader() { return reader_; }
    const log_reader_t& reader() const { return reader_; }
    const rinex::channels_t& channels() const { return ranges_.channels(); }

private:
    bool read_on();
    int take(const frame_t& frame);
    void keep(std::unique_ptr<rinex::epoch_t>& epoch, order_t order);

    input_file_t source_;
    std::unique_ptr<raw_t> frame_;   // the framing keeps the frame in hand there
    log_reader_t reader_;
    takes_t takes_;
    rinex::range_collector_t ranges_;
    epoch_order_t<std::unique_ptr<rinex::epoch_t>> order_;
    epoch_count_t epochs_;
    std::vector<judged_epoch_t> judged_;   // used again and again
    std::size_t first_ = 0, unread_ = 0;   // of them, those not given yet: unread_ from first_ on
    bool given_ = false, over_ = false;    // the first one is in the caller's hands; the log has ended
};

}   // namespace kvx

#endif
