#include "convert/joined_logs.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace kvx {

namespace {

constexpr std::int64_t kSameEpoch = 1;   // ms, as between the two range messages of an epoch

// Of the first epoch that is in order (ms); a log without any stands in front, for what else it tells.
std::int64_t first_epoch(const std::string& log, const rinex::signals_t& names)
{
    rinex::ledger_t of_no_concern;
    log_feed_t feed(log, false, names, of_no_concern,
                    {[](const log_feed_t&, const message_t&) { return 0; },
                     [](const log_feed_t&, const frame_t&, const std::uint8_t*) {}});
    while (feed.next()) {
        if (feed.current().order != order_t::out) return feed.current().epoch->time;
    }
    return std::numeric_limits<std::int64_t>::min();
}

int observations(const rinex::epoch_t& epoch)
{
    int n = 0;
    epoch.each([&n](int, int) { ++n; });
    return n;
}

}   // namespace

joined_logs_t::joined_logs_t(const std::vector<std::string>& logs, const rinex::signals_t& names,
                             rinex::ledger_t& ledger, open_t open)
    : ledger_(ledger), open_(std::move(open))
{
    for (const std::string& log : logs) waiting_.push_back({first_epoch(log, names), log});
    std::stable_sort(waiting_.begin(), waiting_.end(),
                     [](const waiting_t& a, const waiting_t& b) { return a.first > b.first; });
}

// To the log's next epoch; those out of order need no place among the others.
bool joined_logs_t::advance(open_log_t& log, const take_t& take)
{
    while (log.feed->next()) {
        const order_t order = log.feed->current().order;
        log.run += order == order_t::begins_file;
        if (order != order_t::out) return true;
        take(*log.feed, log.feed->current());
    }
    return false;
}

// All logs that begin before the next epoch.
void joined_logs_t::open_due(const take_t& take, const finish_t& finish)
{
    while (!waiting_.empty()) {
        const bool due = logs_.empty() || earliest().run > 0 || waiting_.back().first <= earliest().time() + kSameEpoch;
        if (!due) return;
        open_log_t log{open_(waiting_.back().log)};
        waiting_.pop_back();
        if (advance(log, take)) {
            logs_.push_back(std::move(log));
        } else {
            finish(*log.feed);
        }
    }
}

joined_logs_t::open_log_t& joined_logs_t::earliest()
{
    return *std::min_element(logs_.begin(), logs_.end(), [](const open_log_t& a, const open_log_t& b) {
        return std::pair(a.run, a.time()) < std::pair(b.run, b.time());
    });
}

// Logs whose next epoch is the earliest.
std::vector<std::size_t> joined_logs_t::next_ones()
{
    const open_log_t& first = earliest();
    std::vector<std::size_t> places;
    for (std::size_t i = 0; i < logs_.size(); ++i) {
        if (logs_[i].run == first.run && logs_[i].time() <= first.time() + kSameEpoch) places.push_back(i);
    }
    return places;
}

// Adds what an epoch lacks of the same epoch in another log.
void joined_logs_t::unite(rinex::epoch_t& epoch, const rinex::epoch_t& other)
{
    other.each([&](int place, int signal) {
        const rinex::observation_t& o = other.at(place, signal);
        if (epoch.has(place, signal)) {
            ledger_.add(o.tracking_key, rinex::fate_t::other_log);
        } else {
            epoch.add(place, signal) = o;
        }
    });
}

// Gives what the logs have of an epoch, as the one that tells most of it has it.
void joined_logs_t::give(const std::vector<std::size_t>& places, const take_t& take)
{
    const auto epoch_of = [this](std::size_t place) -> rinex::epoch_t& { return *logs_[place].feed->current().epoch; };
    const std::size_t most = *std::max_element(places.begin(), places.end(), [&](std::size_t a, std::size_t b) {
        return observations(epoch_of(a)) < observations(epoch_of(b));
    });
    for (const std::size_t other : places) {
        if (other != most) unite(epoch_of(most), epoch_of(other));
    }
    in_common_ += places.size() > 1;
    open_log_t& log = logs_[most];
    log.feed->current().order = log.run > run_ ? order_t::begins_file : order_t::follows;
    run_ = log.run;
    take(*log.feed, log.feed->current());
}

void joined_logs_t::read(const take_t& take, const finish_t& finish)
{
    for (open_due(take, finish); !logs_.empty(); open_due(take, finish)) {
        const std::vector<std::size_t> places = next_ones();
        give(places, take);
        for (const std::size_t place : places) {
            if (advance(logs_[place], take)) continue;
            finish(*logs_[place].feed);
            logs_[place].feed.reset();
        }
        std::erase_if(logs_, [](const open_log_t& log) { return log.feed == nullptr; });
    }
}

}   // namespace kvx
