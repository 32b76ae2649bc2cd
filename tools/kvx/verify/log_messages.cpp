#include "verify/log_messages.h"

#include <algorithm>
#include <limits>
#include <tuple>

#include "common/error.h"
#include "common/interrupt.h"

namespace kvx {

namespace {

std::int64_t first_range(const std::string& log)
{
    log_messages_t messages({&log});
    for (message_t message{}; messages.next(message);) {
        if (message.is_range()) return message.sent;
    }
    return std::numeric_limits<std::int64_t>::max();
}

}   // namespace

log_messages_t::paths_t by_first_ranges(const std::vector<std::string>& logs)
{
    std::vector<std::tuple<std::int64_t, std::string, const std::string*>> order;
    order.reserve(logs.size());
    for (const std::string& log : logs) order.emplace_back(logs.size() > 1 ? first_range(log) : 0, log, &log);
    std::sort(order.begin(), order.end());
    log_messages_t::paths_t paths;
    for (const auto& [first, log, path] : order) paths.push_back(path);
    return paths;
}

log_messages_t::log_messages_t(paths_t logs, torn_frames_t* torn)
    : logs_(std::move(logs)), torn_(torn), frame_(std::make_unique_for_overwrite<raw_t>())
{
    open(0);
}

void log_messages_t::open(std::size_t log)
{
    log_ = log;
    Initial_raw(frame_.get(), 1);   // framing needs no more
    source_ = std::make_unique<input_file_t>(*logs_[log]);
    reader_ = std::make_unique<log_reader_t>(*source_, *frame_, false);
    if (torn_ != nullptr) torn_->apply_to(*reader_, *logs_[log]);
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

}   // namespace kvx
