/// @file epoch_collector.h  Puts the messages of one epoch together.
#ifndef KVX_EPOCH_COLLECTOR_H
#define KVX_EPOCH_COLLECTOR_H

#include <rtk_gnss.h>

#include <functional>
#include <memory>

namespace kvx {

/// The receiver may send an epoch in several messages, which the decoder gathers in its record; only the
/// next epoch's first message tells that it was whole. The collector keeps a copy until then.
class epoch_collector_t {
public:
    /// @param on_epoch  called with each whole epoch: the record as it was behind its last message, without
    ///                  ephemerides, stop-and-go block and lock tables, which no writer of epochs reads
    explicit epoch_collector_t(std::function<void(raw_t& epoch)> on_epoch);

    /// Takes the record after an observation message.
    void add(const raw_t& raw);

    /// Hands out the epoch in hand, at the end of the log or before an event.
    void flush();

    bool pending() const { return held_; }   ///< an epoch is in hand

    /// Whether what the record holds belongs to the epoch in hand.
    bool continues(const raw_t& raw) const;

private:
    std::function<void(raw_t&)> on_epoch_;
    std::unique_ptr<raw_t> epoch_;
    bool held_ = false;
};

}   // namespace kvx

#endif
