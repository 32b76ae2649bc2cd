/// @file log_epochs.h  What range messages sent, epoch by epoch.
#ifndef KVX_VERIFY_LOG_EPOCHS_H
#define KVX_VERIFY_LOG_EPOCHS_H

#include <deque>
#include <functional>
#include <optional>

#include "log/epoch_order.h"
#include "verify/log_messages.h"
#include "verify/verification.h"
#include "verify/wanted.h"

namespace kvx {

/// Whether F14.3 has room for a value.
constexpr bool has_room(std::int64_t thousandths)
{
    return thousandths >= -999'999'999'999 && thousandths <= 9'999'999'999'999;
}

/// One signal of one satellite, by its values as files print them.
struct log_record_t {
    std::array<std::int64_t, rinex::kKindCount> thousandths{};   ///< 0: none; a phase may be beyond its columns
    std::int16_t place = 0;                                      ///< of the satellite, see rinex/satellites.h
    std::int16_t constellation = 0, signal = 0;                  ///< see rinex/signals.h
    std::uint8_t tracking_key = 0;
    bool compressed = false;
    bool parity_known = false;
};

struct log_epoch_t {
    std::int64_t time = 0;   ///< ms since the beginning of GPS time
    log_place_t place;
    bool begins_run = false;             ///< the first one, or behind a step back of the clock
    fate_t fate = fate_t::found;         ///< of all its records: outside, off_grid; found: to be compared
    std::vector<log_record_t> records;   ///< each signal of a satellite once, in order
};

/// Takes range messages and gives epochs. Those up to a millisecond apart are one epoch, with the time of its full
/// message; of a signal told twice the full message's record counts, else the first.
class epoch_assembly_t {
public:
    /// @param names, result  must outlive it; records that stand in no epoch are counted
    epoch_assembly_t(const rinex::signals_t& names, verification_t& result);

    /// Takes a message.
    /// @param done  becomes the epoch before it when it begins another one
    /// @return whether it did
    bool add(const message_t& message, const log_place_t& place, log_epoch_t& done);

    /// Gives the epoch in hand.
    /// @return false when there is none
    bool finish(log_epoch_t& done);

private:
    void add_record(const std::uint8_t* record, bool compressed);
    void keep(const log_record_t& record);

    const rinex::signals_t& names_;
    verification_t& result_;
    log_epoch_t epoch_;
    bool pending_ = false, has_full_ = false;
    std::array<std::array<std::int16_t, rinex::kMostSignals>, rinex::kSatellites> slots_;   // place in records; -1
};

/// Epochs of logs that are read one after the other: runs in each of which they follow each other in time.
class epoch_runs_t {
public:
    /// Takes the messages that are no ranges.
    using other_t = std::function<void(const message_t& message, const log_place_t& place)>;

    /// @param messages, names, result  must outlive it; so must those that `other` refers to
    epoch_runs_t(log_messages_t& messages, const rinex::signals_t& names, verification_t& result, other_t other);

    /// The next epoch; the one before is overwritten.
    bool next(log_epoch_t& epoch);

private:
    bool assemble(log_epoch_t& epoch);
    void on_judged(log_epoch_t& epoch, order_t order);

    log_messages_t& messages_;
    verification_t& result_;
    other_t other_;
    epoch_assembly_t assembly_;
    epoch_order_t<log_epoch_t> order_;
    std::deque<log_epoch_t> judged_;
    log_epoch_t spare_;
    bool over_ = false;
};

/// Epochs judged by the options: whether they are within the time span, and on the grid.
class log_epochs_t {
public:
    /// Gives the next epoch.
    using source_t = std::function<bool(log_epoch_t& epoch)>;

    /// @param options, wanted  must outlive it
    log_epochs_t(source_t source, const selection_options_t& options, const wanted_t& wanted);

    /// The next epoch; the one before is overwritten.
    bool next(log_epoch_t& epoch);

private:
    bool read_ahead();

    source_t source_;
    const wanted_t& wanted_;
    grid_t grid_;
    std::deque<log_epoch_t> ahead_;   // the next one and the one behind it
    log_epoch_t spare_;
    std::optional<std::int64_t> before_;   // ms: given last, in the time span
    bool over_ = false;
};

}   // namespace kvx

#endif
