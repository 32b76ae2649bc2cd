#include "verify/log_messages.h"

#include <algorithm>
#include <limits>

#include "common/error.h"
#include "common/interrupt.h"

namespace kvx {

namespace {

// A log without ranges stands behind the others.
std::int64_t first_range(const std::string& log)
{
    log_messages_t messages({log});
    for (message_t message{}; messages.next(message);) {
        if (message.is_range()) return message.sent;
    }
    return std::numeric_limits<std::int64_t>::max();
}

}   // namespace

log_messages_t::log_messages_t(std::vector<std::string> logs)
    : logs_(std::move(logs)), frame_(std::make_unique_for_overwrite<raw_t>())
{
    if (logs_.size() > 1) {
        std::vector<std::pair<std::int64_t, std::string>> order;
        for (std::string& log : logs_) order.emplace_back(first_range(log), log);
        std::sort(order.begin(), order.end());
        for (std::size_t i = 0; i < order.size(); ++i) logs_[i] = order[i].second;
    }
    open(0);
}

void log_messages_t::open(std::size_t log)
{
    log_ = log;
    Initial_raw(frame_.get(), 1);   // framing needs no more
    source_ = std::make_unique<input_file_t>(logs_[log]);
    reader_ = std::make_unique<log_reader_t>(*source_, *frame_, false);
    progress_ = std::make_unique<progress_t>(*source_);
}

void log_messages_t::close()
{
    if (source_->ended_by_signal())
        throw interruption_t(source_->name(), "at byte " + std::to_string(reader_->bytes()));
    if (!source_->read_error().empty()) read_error_ = source_->name() + ": " + source_->read_error();
    damaged_ = damaged_ || reader_->losses().any() || !source_->damage().empty();
    progress_.reset();
}

bool log_messages_t::next(message_t& message)
{
    for (frame_t frame{};;) {
        if (!reader_->next(frame)) {
            if (progress_) close();
            if (log_ + 1 == logs_.size()) return false;
            open(log_ + 1);
            continue;
        }
        progress_->at(source_->position_on_disk());
        if (!frame.checksum_ok) continue;
        const korvex::header_t header = korvex::read_header(frame_->buff);
        const auto sent = time_of(header);
        if (!sent) continue;
        message = {frame.id, *sent, frame_->buff + korvex::kHeaderSize, header.body_size};
        return true;
    }
}

std::string log_messages_t::text(const log_place_t& place) const
{
    return logs_[place.log] + ": byte " + std::to_string(place.byte);
}

}   // namespace kvx
