#include "log_source.h"

#include <utility>

#include "rinex/dates.h"

namespace rtk_python {

log_source_t::log_source_t(source_t source, const kvx::selection_options_t& options)
    : source_(std::move(source)), options_(options), selection_(options_)
{
    feed_ = std::make_unique<kvx::log_feed_t>(
        source_.path(), false, options_.names, ledger_,
        kvx::log_feed_t::takes_t{
            [this](const kvx::log_feed_t&, const kvx::message_t& message) {
                return takes_->message ? takes_->message(message) : static_cast<int>(DECODE_NOTHING);
            },
            [this](const kvx::log_feed_t&, const kvx::frame_t& frame, const std::uint8_t* content) {
                summary_.count(frame, content, kvx::numbering_t::rinex);
            }});
}

bool log_source_t::read_on(const takes_t& takes)
{
    takes_ = &takes;
    if (feed_->next()) {
        on_judged(feed_->current());
        return true;
    }
    if (thinning_) thinning_->flush();
    thinning_.reset();
    summary_.finish(feed_->reader(), feed_->source());
    return false;
}

void log_source_t::on_judged(kvx::judged_epoch_t& judged)
{
    std::unique_ptr<rinex::epoch_t>& epoch = judged.epoch;
    summary_.count_epoch(epoch->time, epoch->offset, judged.order);
    if (judged.order == kvx::order_t::out) return count(*epoch, rinex::fate_t::out_of_order);
    if (judged.order == kvx::order_t::begins_file) begin_file();
    if (selection_.in_window(epoch->time * rinex::kTicksPerMs)) return thinning_->add(epoch);
    thinning_->flush();
    leave_out(*epoch, rinex::fate_t::outside);
}

// As files have it: a clock that was set back begins another one, and no phase is followed into it.
void log_source_t::begin_file()
{
    if (thinning_) thinning_->flush();
    thinning_.emplace(options_.interval, options_.anchor_first,
                      [this](auto& epoch, bool kept) { on_released(epoch, kept); });
    if (std::exchange(any_epoch_, false)) locks_ = {};
}

void log_source_t::on_released(rinex::epoch_t& epoch, bool kept)
{
    if (!kept) return leave_out(epoch, rinex::fate_t::off_grid);
    selection_.apply(epoch, ledger_);
    any_epoch_ |= takes_->epoch(epoch, locks_);
}

// Its phases are followed all the same.
void log_source_t::leave_out(const rinex::epoch_t& epoch, rinex::fate_t fate)
{
    epoch.each([&](int place, int signal) { locks_.follow(place, signal, epoch.at(place, signal)); });
    count(epoch, fate);
}

void log_source_t::count(const rinex::epoch_t& epoch, rinex::fate_t fate)
{
    epoch.each([&](int place, int signal) { ledger_.add(epoch.at(place, signal).tracking_key, fate); });
}

std::string log_source_t::why_no_log() const
{
    return summary_.messages.empty() ? source_.told(summary_.why_no_epoch()) : "";
}

}   // namespace rtk_python
