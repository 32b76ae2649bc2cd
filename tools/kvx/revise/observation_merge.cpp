#include "revise/observation_merge.h"

#include <algorithm>

#include "common/error.h"

namespace kvx {

looked_at_t look_at(const std::string& path, bool at_epochs)
{
    faults_t unheard;   // they are told when the file is read
    observation_source_t source(path, 0, unheard);
    looked_at_t file{path, 0, source.header(), source.header_lines(), *source.listed()};
    if (!at_epochs) return file;
    source_epoch_t epoch;
    while (source.next(epoch)) {
        if (!epoch.read.has_time || epoch.read.is_event()) continue;
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

void observation_merge_t::drop_doubles(std::size_t& chosen)
{
    const auto is_epoch = [this](std::size_t i) {
        return open_[i].head->read.has_time && !open_[i].head->read.is_event();
    };
    for (std::size_t i = 0; i < open_.size();) {
        const bool same =
            i != chosen && is_epoch(i) && is_epoch(chosen) && open_[i].head->time == open_[chosen].head->time;
        if (!same) {
            ++i;
            continue;
        }
        ++overlaps_;
        const bool more = open_[i].head->values() > open_[chosen].head->values();
        const std::size_t loser = more ? chosen : i;
        const std::size_t size = open_.size();
        if (more) chosen = i;
        advance(loser);
        if (open_.size() < size && loser < chosen) --chosen;
        i = 0;
    }
}

bool observation_merge_t::next(std::unique_ptr<source_epoch_t>& epoch)
{
    open_due();
    if (open_.empty()) return false;
    std::size_t chosen = 0;
    for (std::size_t i = 1; i < open_.size(); ++i) {
        if (open_[i].head->time < open_[chosen].head->time) chosen = i;
    }
    if (open_.size() > 1) drop_doubles(chosen);
    std::swap(open_[chosen].head, epoch);
    if (open_[chosen].head == nullptr) open_[chosen].head = std::make_unique<source_epoch_t>();
    advance(chosen);
    return true;
}

std::uint64_t observation_merge_t::position() const
{
    std::uint64_t bytes = closed_bytes_;
    for (const open_t& open : open_) bytes += open.source->file().source().position_on_disk();
    return bytes;
}

}   // namespace kvx
