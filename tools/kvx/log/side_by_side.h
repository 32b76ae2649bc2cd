/// @file side_by_side.h  Several logs of one session, read as one.
#ifndef KVX_SIDE_BY_SIDE_H
#define KVX_SIDE_BY_SIDE_H

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace kvx {

/// Tells which of several logs have the next epoch, in order of time. Only logs that overlap are open at once. Where
/// the clock of a log steps back a run of epochs ends: what lies behind waits until all logs have been read up to
/// there.
///
/// @tparam Log  next() goes to its next epoch and is false at its end; time() of that epoch (ms); run(): steps back of
///              the clock before it
template <typename Log>
class side_by_side_t {
public:
    /// Tells the time at which a log is to be opened (ms): not behind its first epoch.
    using begin_t = std::function<std::int64_t(const std::string& path)>;
    using open_t = std::function<std::unique_ptr<Log>(const std::string& path)>;
    using finish_t = std::function<void(Log& log)>;

    /// @param finish  takes a log at its end
    side_by_side_t(const std::vector<std::string>& logs, const begin_t& begin, open_t open, finish_t finish)
        : open_(std::move(open)), finish_(std::move(finish))
    {
        waiting_.reserve(logs.size());
        for (const std::string& log : logs) waiting_.push_back({begin(log), log});
        std::stable_sort(waiting_.begin(), waiting_.end(), [](const waiting_t& a, const waiting_t& b) {
            return a.first > b.first;
        });   // the next one last
    }

    /// The logs that have the next epoch, at least one; none behind the last epoch. Those given before go on.
    const std::vector<Log*>& next()
    {
        for (Log* log : given_) {
            if (log->next()) continue;
            finish_(*log);
            std::erase_if(logs_, [log](const auto& open) { return open.get() == log; });
        }
        given_.clear();
        open_due();
        if (logs_.empty()) return given_;
        const Log& first = earliest();
        for (const auto& log : logs_) {
            if (log->run() == first.run() && log->time() <= first.time() + kSameEpoch) given_.push_back(log.get());
        }
        return given_;
    }

private:
    struct waiting_t {   // a log that has not been opened
        std::int64_t first;
        std::string path;
    };

    static constexpr std::int64_t kSameEpoch = 1;   // ms, as between the two range messages of an epoch

    const Log& earliest() const
    {
        return **std::min_element(logs_.begin(), logs_.end(), [](const auto& a, const auto& b) {
            return std::pair(a->run(), a->time()) < std::pair(b->run(), b->time());
        });
    }

    // All logs that begin before the next epoch.
    void open_due()
    {
        while (!waiting_.empty()) {
            const bool due =
                logs_.empty() || earliest().run() > 0 || waiting_.back().first <= earliest().time() + kSameEpoch;
            if (!due) return;
            std::unique_ptr<Log> log = open_(waiting_.back().path);
            waiting_.pop_back();
            if (log->next()) {
                logs_.push_back(std::move(log));
            } else {
                finish_(*log);
            }
        }
    }

    std::vector<waiting_t> waiting_;
    open_t open_;
    finish_t finish_;
    std::vector<std::unique_ptr<Log>> logs_;
    std::vector<Log*> given_;
};

}   // namespace kvx

#endif
