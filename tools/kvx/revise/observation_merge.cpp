#include "revise/observation_merge.h"

#include <algorithm>

#include "common/error.h"

namespace kvx {

namespace {

constexpr std::size_t kMostTold = 1 << 22;   // bytes of the events of a time

bool is_epoch(const source_epoch_t& epoch)
{
    return epoch.read.has_time && !epoch.read.is_event();
}

}   // namespace

looked_at_t look_at(const std::string& path, bool at_epochs)
{
    faults_t unheard;   // they are told when the file is read
    observation_source_t source(path, 0, unheard);
    looked_at_t file{path, 0, source.header(), source.header_lines(), *source.listed()};
    if (!at_epochs) return file;
    source_epoch_t epoch;
    while (source.next(epoch)) {
        if (!is_epoch(epoch)) continue;
        file.first = epoch.time;
        return file;
    }
    throw error_t(path, "has no epoch", "finding out where it belongs among the others");
}

// Files that begin before the next epoch of those that are open.
void observation_merge_t::open_due()
{
    const auto next = [this] {
        return std::min_element(open_.begin(), open_.end(),
                                [](const open_t& a, const open_t& b) { return a.head->time < b.head->time; });
    };
    while (opened_ < files_.size() && (open_.empty() || files_[opened_].first <= next()->head->time)) {
        open_t open;
        open.source = std::make_unique<observation_source_t>(files_[opened_].path, opened_, faults_);
        open.head = std::make_unique<source_epoch_t>();
        open_.push_back(std::move(open));
        ++opened_;
        advance(open_.size() - 1);
    }
}

// @return false when the file has ended, which takes it away
bool observation_merge_t::advance(std::size_t at)
{
    if (open_[at].source->next(*open_[at].head)) return true;
    closed_bytes_ += open_[at].source->file().source().position_on_disk();
    open_.erase(open_.begin() + static_cast<std::ptrdiff_t>(at));
    return false;
}

// Events stand in front of the epoch of their time: when that has come, all files that have it have come to it.
std::size_t observation_merge_t::first_head() const
{
    const auto place = [this](std::size_t i) { return std::pair(open_[i].head->time, is_epoch(*open_[i].head)); };
    std::size_t first = 0;
    for (std::size_t i = 1; i < open_.size(); ++i) {
        if (place(i) < place(first)) first = i;
    }
    return first;
}

void observation_merge_t::drop_doubles(std::size_t& chosen)
{
    for (std::size_t i = 0; i < open_.size();) {
        const source_epoch_t &one = *open_[i].head, &other = *open_[chosen].head;
        if (i == chosen || !is_epoch(one) || !is_epoch(other) || one.time != other.time) {
            ++i;
            continue;
        }
        ++overlaps_;
        const bool more = one.values() > other.values();
        const std::size_t loser = more ? chosen : i;
        const std::size_t size = open_.size();
        if (more) chosen = i;
        advance(loser);
        if (open_.size() < size && loser < chosen) --chosen;
        i = 0;
    }
}

// An event that another file had at its time comes once, too.
bool observation_merge_t::has_been_told(const source_epoch_t& event)
{
    if (files_.size() == 1 || is_epoch(event)) return false;
    if (event.time != told_time_) told_.clear(), told_bytes_ = 0;
    told_time_ = event.time;
    if (told_bytes_ > kMostTold) return false;
    told_bytes_ += event.text.size();
    told_t& told = told_[event.text];
    if (++told.by_input[event.input] <= told.written) return true;
    ++told.written;
    return false;
}

bool observation_merge_t::next(std::unique_ptr<source_epoch_t>& epoch)
{
    do {
        open_due();
        if (open_.empty()) return false;
        std::size_t chosen = first_head();
        if (open_.size() > 1) drop_doubles(chosen);
        std::swap(open_[chosen].head, epoch);
        if (open_[chosen].head == nullptr) open_[chosen].head = std::make_unique<source_epoch_t>();
        advance(chosen);
    } while (has_been_told(*epoch));
    return true;
}

std::uint64_t observation_merge_t::position() const
{
    std::uint64_t bytes = closed_bytes_;
    for (const open_t& open : open_) bytes += open.source->file().source().position_on_disk();
    return bytes;
}

}   // namespace kvx
