#include "convert/log_feed.h"

#include <utility>

namespace kvx {

log_feed_t::log_feed_t(const std::string& log, bool follow, const rinex::signals_t& names, rinex::ledger_t& ledger,
                       takes_t takes)
    : source_(log, follow),
      frame_(std::make_unique_for_overwrite<raw_t>()),
      reader_(source_, *frame_, false),
      takes_(std::move(takes)),
      ranges_(names, ledger, [this](auto& epoch) { order_.add(epoch->time, epoch); }),
      order_(std::make_unique<rinex::epoch_t>, [this](auto& epoch, order_t order) { keep(epoch, order); })
{
    Initial_raw(frame_.get(), 1);   // framing needs no more
}

// Behind those that wait already.
void log_feed_t::keep(std::unique_ptr<rinex::epoch_t>& epoch, order_t order)
{
    const std::size_t at = first_ + unread_++;
    if (at == judged_.size()) judged_.push_back({std::make_unique<rinex::epoch_t>(), order});
    std::swap(judged_[at].epoch, epoch);
    judged_[at].order = order;
    if (order != order_t::out) epochs_.add(static_cast<double>(judged_[at].epoch->time) / 1000.0);
}

int log_feed_t::take(const frame_t& frame)
{
    const korvex::header_t header = korvex::read_header(frame_->buff);
    const auto time = time_of(header);
    if (!time) return DECODE_NOTHING;
    const std::uint8_t* const body = frame_->buff + korvex::kHeaderSize;
    if (!is_range(frame.id)) return takes_.message(*this, {frame.id, *time, body, header.body_size});
    const bool compressed = frame.id == MSG_RANGE_COMPRESSED;
    if (!ranges_.add(*time, body, header.body_size, compressed, frame.offset)) return DECODE_REFUSED;
    order_.expect(ranges_.time());
    return DECODE_OBS;
}

bool log_feed_t::read_on()
{
    if (over_) return false;
    frame_t frame{};
    if (reader_.next(frame)) {
        if (frame.checksum_ok) frame.result = take(frame);
        takes_.frame(*this, frame, frame_->buff);
        return true;
    }
    over_ = true;
    ranges_.flush();
    order_.flush();
    return true;
}

bool log_feed_t::next()
{
    if (unread_ > 0 && given_) {
        ++first_;
        --unread_;
    }
    if (unread_ == 0) first_ = 0;
    while (unread_ == 0 && read_on()) {
    }
    given_ = unread_ > 0;
    return given_;
}

}   // namespace kvx
