#include "verify/verification.h"

#include "common/error.h"
#include "verify/compare_ephemerides.h"
#include "verify/compare_observations.h"
#include "verify/joined_epochs.h"

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

void tell(const log_messages_t& messages, verification_t& result)
{
    result.logs_damaged = messages.damaged();
    result.read_error = messages.read_error();
}

void compare_epochs(const selection_options_t& options, const files_t& files, const wanted_t& wanted,
                    const log_epochs_t::source_t& source, verification_t& result)
{
    log_epochs_t log_epochs(source, options, wanted);
    if (!files.observation.empty()) {
        file_epochs_t file_epochs(files.observation, result);
        return observation_comparison_t(options.names, wanted, file_epochs, result).run(log_epochs);
    }
    for (log_epoch_t epoch; log_epochs.next(epoch);) {
    }
    result.records = {};
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
    ephemeris_comparison_t ephemerides(wanted, result);
    const auto take = [&](const message_t& message, const log_place_t& place) {
        if (!sorted.navigation.empty()) ephemerides.add(message, place);
    };
    const auto compare = [&](auto& epochs) {
        compare_epochs(
            options, sorted, wanted, [&epochs](log_epoch_t& epoch) { return epochs.next(epoch); }, result);
    };
    if (options.join) {
        joined_epochs_t epochs(logs, options.names, result, take);
        compare(epochs);
    } else {
        log_messages_t messages(by_first_ranges(logs));
        epoch_runs_t epochs(messages, options.names, result, take);
        compare(epochs);
        tell(messages, result);
    }
    ephemerides.run(sorted.navigation);
    return result;
}

}   // namespace kvx
