/// @file epoch_collector.h  Puts the messages of one epoch together.
#ifndef KVX_EPOCH_COLLECTOR_H
#define KVX_EPOCH_COLLECTOR_H

#include <rtk_gnss.h>

#include <functional>
#include <memory>

namespace kvx {

/// Time of the record's epoch (ms since the beginning of GPS time).
std::int64_t epoch_time(const raw_t& epoch);

/// The receiver may send an epoch in several messages, which the decoder gathers in its record; only the
/// next epoch's first message tells that it was whole. The collector keeps a copy until then.
class epoch_collector_t {
public:
    /// Takes a whole epoch: the record as it was behind its last message, without ephemerides, stop-and-go block and
    /// lock tables, which no writer of epochs reads. May exchange it for another record.
    /// @param offset  of its first message in the log (bytes)
    using take_t = std::function<void(std::unique_ptr<raw_t>& epoch, std::uint64_t offset)>;

    explicit epoch_collector_t(take_t on_epoch);

    /// Takes the record after an observation message.
    /// @param offset  of the message in the log (bytes)
    void add(const raw_t& raw, std::uint64_t offset);

    /// Hands out the epoch in hand, at the end of the log or before an event.
    void flush();

    bool pending() const { return held_; }   ///< an epoch is in hand

    /// Whether what the record holds belongs to the epoch in hand.
    bool continues(const raw_t& raw) const;

private:
    take_t on_epoch_;
    std::unique_ptr<raw_t> epoch_;
    std::uint64_t offset_ = 0;
    bool held_ = false;
};

}   // namespace kvx

#endif
