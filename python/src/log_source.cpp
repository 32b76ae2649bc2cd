#include "log_source.h"

#include <utility>

#include "rinex/dates.h"

namespace rtk_python {

log_source_t::log_source_t(source_t source, const kvx::selection_options_t& options)
    : source_(std::move(source)),
      options_(options),
      selection_(options_),
      choice_(options_, selection_, [this](auto& epoch, rinex::fate_t fate) { on_chosen(epoch, fate); })
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
    choice_.flush();
    summary_.finish(feed_->reader(), feed_->source());
    return false;
}

void log_source_t::on_judged(kvx::judged_epoch_t& judged)
{
    std::unique_ptr<rinex::epoch_t>& epoch = judged.epoch;
    summary_.count_epoch(epoch->time, epoch->offset, judged.order);
    if (judged.order == kvx::order_t::out) return ledger_.add(*epoch, rinex::fate_t::out_of_order);
    if (judged.order == kvx::order_t::begins_file) begin_file();
    choice_.take(epoch);
}

// As files have it: a clock that was set back begins another one, and no phase is followed into it.
void log_source_t::begin_file()
{
    choice_.begin();
    if (std::exchange(any_epoch_, false)) locks_ = {};
}

void log_source_t::on_chosen(rinex::epoch_t& epoch, rinex::fate_t fate)
{
    if (fate != rinex::fate_t::written) {
        epoch.each([&](int place, int signal) { locks_.follow(place, signal, epoch.at(place, signal)); });
        return ledger_.add(epoch, fate);
    }
    selection_.apply(epoch, ledger_);
    any_epoch_ |= takes_->epoch(epoch, locks_);
}

std::string log_source_t::why_no_log() const
{
    return summary_.messages.empty() ? source_.told(summary_.why_no_epoch()) : "";
}

}   // namespace rtk_python
