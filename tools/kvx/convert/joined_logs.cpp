#include "convert/joined_logs.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "common/error.h"

namespace kvx {

namespace {

// Where the log is to be opened (ms): at its first epoch in order, or before it for what else it tells. One without any
// epoch is the first.
std::int64_t begin_of(const std::string& log, const rinex::signals_t& names)
{
    rinex::ledger_t of_no_concern;
    std::int64_t first = std::numeric_limits<std::int64_t>::max();
    log_feed_t feed(log, false, names, of_no_concern,
                    {[&first](const log_feed_t&, const message_t& message) {
                         first = std::min(first, message.sent);
                         return 0;
                     },
                     [](const log_feed_t&, const frame_t&, const std::uint8_t*) {}});
    while (feed.next()) {
        if (feed.current().order != order_t::out) return std::min(first, feed.current().epoch->time);
    }
    if (!feed.source().read_error().empty())
        throw error_t(log, feed.source().read_error(), "looking for its first epoch");
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
                             rinex::ledger_t& ledger, const open_t& open, take_t take, const finish_t& finish)
    : ledger_(ledger),
      take_(std::move(take)),
      logs_(
          logs, [&names](const std::string& log) { return begin_of(log, names); },
          [this, open](const std::string& log) { return std::make_unique<log_t>(open(log), take_); },
          [finish](log_t& log) { finish(log.feed()); })
{}

bool joined_logs_t::log_t::next()
{
    while (feed_->next()) {
        const order_t order = feed_->current().order;
        run_ += order == order_t::begins_file;
        if (order != order_t::out) return true;
        take_(*feed_, feed_->current());
    }
    return false;
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

// Gives what logs have of one epoch, as the one that tells most of it has it.
void joined_logs_t::give(const std::vector<log_t*>& logs)
{
    log_t* const most = *std::max_element(logs.begin(), logs.end(), [](log_t* a, log_t* b) {
        return observations(a->epoch()) < observations(b->epoch());
    });
    for (log_t* other : logs) {
        if (other != most) unite(most->epoch(), other->epoch());
    }
    in_common_ += logs.size() > 1;
    judged_epoch_t& epoch = most->feed().current();
    epoch.order = most->run() > std::exchange(run_, most->run()) ? order_t::begins_file : order_t::follows;
    take_(most->feed(), epoch);
}

void joined_logs_t::read()
{
    for (const auto* logs = &logs_.next(); !logs->empty(); logs = &logs_.next()) give(*logs);
}

}   // namespace kvx
