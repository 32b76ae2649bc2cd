#include "convert/observation_output.h"

#include <algorithm>
#include <iterator>
#include <limits>

#include "common/error.h"
#include "common/progress.h"
#include "convert/header_settings.h"
#include "rinex/dates.h"
#include "rinex/header.h"
#include "rinex/relay.h"

namespace kvx {

namespace {

constexpr std::size_t kMostWaiting = 1 << 14;   // events kept until the next epoch

// Lines kept free in the header for what later epochs bring: signals, where they are not foreseen; satellites of
// GLONASS, leap seconds, the antenna.
constexpr std::size_t kFreeLines = 20, kFreeLinesForeseen = 6;

// What is smaller is copied in a moment, and its header needs no comments.
constexpr std::uint64_t kWorthPatching = 1 << 20;   // bytes

// Written at once. Of many logs the small ones are not written before their header is known.
constexpr std::size_t kBlock = 1 << 18;   // bytes
std::size_t first_block(const convert_options_t& options)
{
    return options.recorder != nullptr ? kWorthPatching : kBlock;
}

// For an epoch behind events.
constexpr std::size_t kRoom = kBlock + rinex::observation_text_t::kLongestEpoch;

}   // namespace

observation_output_t::observation_output_t(const convert_options_t& options, const rinex::station_t& station,
                                           const rinex::channels_t& channels, const rinex::columns_t* foreseen,
                                           rinex::ledger_t& ledger)
    : options_(options),
      station_(station),
      channels_(channels),
      foreseen_(foreseen),
      text_(options.version(), options.names, ledger),
      most_(first_block(options)),
      buffer_(std::make_unique_for_overwrite<char[]>(most_ + kRoom)),
      block_(buffer_.get(), most_ + kRoom)
{
    if (foreseen != nullptr) text_.begin_with(*foreseen);
}

void observation_output_t::write(std::string_view text)
{
    size_ += std::fwrite(text.data(), 1, text.size(), file_->stream());   // the stream keeps its error
}

void observation_output_t::write_block()
{
    if (header_size_ == 0) {
        const std::string header = first_header();
        header_size_ = header.size();
        write(header);
    }
    write(block_.view());
    block_.cut(buffer_.get());
    most_ = kBlock;
}

void observation_output_t::bring_to_disk()
{
    if (file_ == nullptr) return;
    write_block();
    file_->check("the observations");
}

void observation_output_t::write_events(std::int64_t until)
{
    for (; !events_.empty(); events_.pop_front()) {
        const auto& [event, behind] = events_.front();
        if (event.ticks > until || (event.ticks == until && behind)) return;
        if (block_.size() >= most_) write_block();
        block_.put(rinex::event_text(options_.version(), event.ticks, event.flag, event.lines));
        ++events_written_;
    }
}

// Logs that are joined may have events in common; they are read side by side.
bool observation_output_t::is_known(const event_t& event) const
{
    return std::any_of(events_.begin(), events_.end(), [&](const waiting_t& w) { return w.event == event; });
}

void observation_output_t::add(event_t event, bool behind)
{
    if (!options_.events) return;
    if (events_.size() >= kMostWaiting) {
        ++events_lost_;
        return;
    }
    if (options_.join && is_known(event)) return;
    const auto later = [](std::int64_t ticks, const waiting_t& other) { return ticks < other.event.ticks; };
    const auto place = std::upper_bound(events_.begin(), events_.end(), event.ticks, later);
    events_.insert(place, {std::move(event), behind});
}

void observation_output_t::add(rinex::epoch_t& epoch)
{
    const std::size_t begin = block_.size();
    if (!text_.epoch(epoch, block_)) return;
    session_.last = epoch.time * rinex::kTicksPerMs;
    if (file_ == nullptr) {
        file_ = std::make_unique<output_file_t>(options_.folder_of(!options_.packs_observations()), 0);
        session_.first = session_.last;
    }
    if (!events_.empty()) {
        const std::string text(block_.view().substr(begin));
        block_.cut(buffer_.get() + begin);
        write_events(session_.last);
        block_.put(text);
    }
    if (block_.size() >= most_) write_block();
    epochs_.add(static_cast<double>(epoch.time) / 1000.0);
}

std::string observation_output_t::header(const rinex::columns_t& columns) const
{
    return with_set_lines(
        rinex::observation_header(options_.version(), station_, session_, columns, text_.seen(), channels_), options_,
        'O', options_.version());
}

// With room for the last one.
std::string observation_output_t::first_header() const
{
    const std::string now = header(foreseen_ != nullptr ? *foreseen_ : text_.columns());
    const std::size_t room = (foreseen_ != nullptr ? kFreeLinesForeseen : kFreeLines) * rinex::kEmptyComment;
    return *rinex::header_of_size(now, now.size() + room);
}

void observation_output_t::hand_over_events(observation_output_t& next)
{
    const auto mine = [this](const waiting_t& w) { return file_ != nullptr && w.event.ticks >= session_.last; };
    const auto first = std::find_if(events_.begin(), events_.end(), mine);   // they are in order
    std::move(events_.begin(), first, std::back_inserter(next.events_));
    events_.erase(events_.begin(), first);
}

void observation_output_t::hand_over_events_from(std::int64_t ticks, observation_output_t& next)
{
    const auto later = [&](const waiting_t& w) { return file_ == nullptr || w.event.ticks >= ticks; };
    const auto first = std::find_if(events_.begin(), events_.end(), later);   // they are in order
    std::move(first, events_.end(), std::back_inserter(next.events_));
    events_.erase(first, events_.end());
}

// The same file with another header, and its columns in order.
std::unique_ptr<output_file_t> observation_output_t::rewritten(const std::string& header, const std::string& name)
{
    auto copy = std::make_unique<output_file_t>(options_.folder_of(!options_.packs_observations()), 0);
    std::fwrite(header.data(), 1, header.size(), copy->stream());
    file_->seek(static_cast<std::int64_t>(header_size_));
    progress_t progress(name, *file_);
    rinex::copy_in_order(file_->stream(), copy->stream(), text_.columns(), [&](std::uint64_t n) { progress.at(n); });
    if (std::ferror(file_->stream()) != 0)
        throw error_t(file_->path(), "reading back failed", "putting the columns in order");
    return copy;
}

coverage_t observation_output_t::coverage() const
{
    return {epochs_.first, epochs_.last, options_.interval > 0.0 ? options_.interval : epochs_.steps.usual()};
}

finished_file_t observation_output_t::finish(const std::string& name)
{
    write_events(std::numeric_limits<std::int64_t>::max());
    session_.interval = coverage().interval;
    complete(header(text_.columns()), name);
    return packed_observations(std::move(file_), name, options_);
}

void observation_output_t::complete(const std::string& header, const std::string& name)
{
    const bool settled = text_.columns().settled();
    if (header_size_ == 0 && settled) {   // nothing has been written
        write(header);
        return write(block_.view());
    }
    write_block();
    file_->check(name);
    const auto padded = rinex::header_of_size(header, header_size_);
    if (padded && settled && size_ >= kWorthPatching) {
        file_->seek(0);
        write(*padded);
    } else {
        file_ = rewritten(header, name);
    }
}

}   // namespace kvx
