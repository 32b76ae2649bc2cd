/// @file joined_epochs.h  The epochs of logs that were joined.
#ifndef KVX_VERIFY_JOINED_EPOCHS_H
#define KVX_VERIFY_JOINED_EPOCHS_H

#include <memory>
#include <string>
#include <vector>

#include "log/side_by_side.h"
#include "log/torn_frames.h"
#include "verify/log_epochs.h"

namespace kvx {

/// Epochs in order of time. Those of one time in several logs are one, with the records of the log that has most, and
/// with those of the others that it lacks.
class joined_epochs_t {
public:
    /// @param logs, names, result  must outlive it; so must those that `other` refers to
    joined_epochs_t(const std::vector<std::string>& logs, const rinex::signals_t& names, verification_t& result,
                    const epoch_runs_t::other_t& other);

    /// The next epoch; the one before is overwritten.
    bool next(log_epoch_t& epoch);

private:
    class log_t {
    public:
        log_t(const std::string* path, torn_frames_t& torn, const rinex::signals_t& names, verification_t& result,
              const epoch_runs_t::other_t& other)
            : messages_({path}, &torn), epochs_(messages_, names, result, other)
        {}

        bool next();
        std::int64_t time() const { return epoch_.time; }
        int run() const { return run_; }
        log_epoch_t& epoch() { return epoch_; }
        const log_messages_t& messages() const { return messages_; }

    private:
        log_messages_t messages_;
        epoch_runs_t epochs_;
        log_epoch_t epoch_;
        int run_ = -1;
    };
    void finish(const log_t& log);
    void unite(log_epoch_t& epoch, const log_epoch_t& other);

    verification_t& result_;
    torn_frames_t torn_;
    side_by_side_t<log_t> logs_;
    int run_ = -1;
};

}   // namespace kvx

#endif
