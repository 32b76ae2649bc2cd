#include "verify/joined_epochs.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace kvx {

namespace {

bool stands_before(const log_record_t& a, const log_record_t& b)
{
    return std::pair(a.place, a.signal) < std::pair(b.place, b.signal);
}

// Of the first epoch that is in order (ms); a log without any stands in front, for what else it tells.
std::int64_t first_epoch(const std::string& log, const rinex::signals_t& names)
{
    verification_t of_no_concern;
    log_messages_t messages({&log});
    log_epoch_t epoch;
    epoch_runs_t epochs(messages, names, of_no_concern, [](const message_t&, const log_place_t&) {});
    return epochs.next(epoch) ? epoch.time : std::numeric_limits<std::int64_t>::min();
}

}   // namespace

joined_epochs_t::joined_epochs_t(const std::vector<std::string>& logs, const rinex::signals_t& names,
                                 verification_t& result, const epoch_runs_t::other_t& other)
    : result_(result),
      torn_(logs),
      logs_(
          logs, [&names](const std::string& log) { return first_epoch(log, names); },
          [this, &logs, &names, &result, other](const std::string& path) {
              const auto its = std::find(logs.begin(), logs.end(), path);
              return std::make_unique<log_t>(&*its, torn_, names, result, other);
          },
          [this](log_t& log) { finish(log); })
{}

bool joined_epochs_t::log_t::next()
{
    if (!epochs_.next(epoch_)) return false;
    run_ += epoch_.begins_run;
    return true;
}

void joined_epochs_t::finish(const log_t& log)
{
    result_.logs_damaged = result_.logs_damaged || log.messages().damaged();
    if (!log.messages().read_error().empty()) result_.read_error = log.messages().read_error();
}

void joined_epochs_t::unite(log_epoch_t& epoch, const log_epoch_t& other)
{
    const auto known = epoch.records;   // both are in order
    for (const log_record_t& r : other.records) {
        if (std::binary_search(known.begin(), known.end(), r, stands_before)) {
            result_.count(r.tracking_key, fate_t::other_log);
        } else {
            epoch.records.push_back(r);
        }
    }
    std::sort(epoch.records.begin(), epoch.records.end(), stands_before);
}

bool joined_epochs_t::next(log_epoch_t& epoch)
{
    const std::vector<log_t*>& logs = logs_.next();
    if (logs.empty()) return false;
    log_t* const most = *std::max_element(logs.begin(), logs.end(), [](log_t* a, log_t* b) {
        return a->epoch().records.size() < b->epoch().records.size();
    });
    for (log_t* other : logs) {
        if (other != most) unite(most->epoch(), other->epoch());
    }
    std::swap(epoch, most->epoch());
    epoch.begins_run = most->run() > std::exchange(run_, most->run());
    return true;
}

}   // namespace kvx
