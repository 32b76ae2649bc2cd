#include "revise/revise.h"

#include <sys/stat.h>

#include <algorithm>
#include <ctime>

#include "common/error.h"
#include "common/rinex_file.h"
#include "revise/navigation_revision.h"
#include "revise/observation_revision.h"

namespace kvx {

namespace {

// What takes a log, which has more than its files.
void demand_no_log_options(const convert_options_t& o, const std::string& path)
{
    struct option_t {
        bool given;
        const char* name;
        const char* why;
    };
    const option_t options[] = {
        {o.verify, "--verify", "holds files against the log that they came from"},
        {o.as_host, "--as-host", "writes what a host gets of a log"},
        {o.follow, "--follow", "is for a log that grows"},
        {o.position_listing, "--xyz", "lists the positions of a log"},
        {o.names_changed, "--signal", "names signal types of a log"},
    };
    for (const option_t& option : options) {
        if (option.given) throw error_t(path, "is a RINEX file", std::string(option.name) + " " + option.why);
    }
}

maker_t maker_of(const convert_options_t& options)
{
    const std::time_t now = std::time(nullptr);
    std::tm utc{};
    gmtime_r(&now, &utc);
    char date[32];
    std::strftime(date, sizeof date, "%Y%m%d %H%M%S UTC", &utc);
    return {KVX_VERSION, options.run_by, date};
}

}   // namespace

bool is_rinex(const std::string& path)
{
    struct stat status {};
    if (path == "-" || (stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode))) return false;
    return kind_of_file(path) != file_kind_t::log;
}

revision_t revise(const convert_options_t& options, const sources_t& paths)
{
    demand_no_log_options(options, paths.front());
    sources_t observations, navigation;
    for (const std::string& path : paths)
        (rinex_file_t(path, {}).header().is_observation() ? observations : navigation).push_back(path);
    if (observations.empty() && options.nav == "none")
        throw error_t(paths.front(), "is a navigation file, of which --nav none writes nothing", "");
    if (options.split > 0) allow_many_files();
    revision_t revision;
    revision.inputs = paths;
    const maker_t maker = maker_of(options);
    std::vector<finished_file_t> files;
    navigation_outcome_t of_navigation;
    navigation_revision_t records(options, maker, revision.faults, of_navigation);
    if (navigation.size() > 1) navigation = earliest_first(navigation);
    for (const std::string& path : navigation) records.read(path);
    std::set<std::int64_t> units;
    std::optional<coverage_t> beside;
    if (!observations.empty()) {
        revision.observations.emplace();
        files = revise_observations(options, observations, maker, records.channels(), revision.faults,
                                    *revision.observations);
        const observation_outcome_t& o = *revision.observations;
        units = o.units;
        if (o.epochs > 0)
            beside = {static_cast<double>(o.first) / 1000.0, static_cast<double>(o.last) / 1000.0, o.step};
    }
    if (!navigation.empty() && options.nav != "none") {
        for (finished_file_t& file : records.finish(units, beside)) files.push_back(std::move(file));
        revision.navigation = std::move(of_navigation);
    }
    revision.files = publish(files, {.replace = options.force});
    return revision;
}

}   // namespace kvx
