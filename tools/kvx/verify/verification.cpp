#include "verify/verification.h"

#include "common/error.h"
#include "verify/compare_ephemerides.h"
#include "verify/compare_observations.h"

namespace kvx {

namespace {

struct files_t {
    std::vector<std::string> observation, navigation;
};

files_t sorted_by_kind(const std::vector<std::string>& paths)
{
    files_t files;
    for (const std::string& path : paths) {
        const rinex_file_t file(path, {});
        (file.header().is_observation() ? files.observation : files.navigation).push_back(path);
    }
    return files;
}

}   // namespace

verification_t verify(const selection_options_t& options, const std::vector<std::string>& logs,
                      const std::vector<std::string>& files)
{
    const files_t sorted = sorted_by_kind(files);
    verification_t result;
    result.observation_files = sorted.observation.size();
    result.navigation_files = sorted.navigation.size();
    const wanted_t wanted(options);
    log_messages_t messages(logs);
    ephemeris_comparison_t ephemerides(wanted, messages, result);
    log_epochs_t log_epochs(messages, options, wanted, result, [&](const message_t& message, const log_place_t& place) {
        if (!sorted.navigation.empty()) ephemerides.add(message, place);
    });
    if (sorted.observation.empty()) {
        for (log_epoch_t epoch; log_epochs.next(epoch);) {
        }
        result.records = {};
    } else {
        file_epochs_t file_epochs(sorted.observation, result);
        observation_comparison_t(options.names, wanted, messages, file_epochs, result).run(log_epochs);
    }
    ephemerides.run(sorted.navigation);
    result.logs_damaged = messages.damaged();
    result.read_error = messages.read_error();
    return result;
}

}   // namespace kvx
