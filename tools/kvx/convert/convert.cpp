// kvx convert: RINEX from logs, and from RINEX.
#include <algorithm>
#include <cstdio>
#include <memory>

#include "common/batch.h"
#include "common/command.h"
#include "common/error.h"
#include "common/interrupt.h"
#include "common/left_overs.h"
#include "common/publish.h"
#include "convert/convert_options.h"
#include "convert/jobs.h"
#include "convert/task.h"
#include "fleet/batch_run.h"
#include "host/host_options.h"
#include "revise/revise.h"

namespace kvx {

namespace {

// What is joined is one piece of work.
std::vector<sources_t> tasks_of(const convert_options_t& options)
{
    if (options.join) return {options.logs};
    std::vector<sources_t> tasks;
    for (const std::string& log : options.logs) tasks.push_back({log});
    return tasks;
}

std::vector<std::string> first_sources(const std::vector<sources_t>& tasks)
{
    std::vector<std::string> names(tasks.size());
    std::transform(tasks.begin(), tasks.end(), names.begin(), [](const sources_t& sources) { return sources.front(); });
    return names;
}

// What cannot be read fails in its turn.
bool has_logs(const sources_t& sources)
{
    return !std::all_of(sources.begin(), sources.end(), [](const std::string& path) {
        try {
            return is_rinex(path);
        } catch (const error_t&) {
            return false;
        }
    });
}

int convert_all(const convert_options_t& options, const std::vector<sources_t>& tasks, batch_t& batch)
{
    progress_run_t progress(tasks, options.quiet, options.passes());
    const auto convert = [&](std::size_t task) { return convert_task(options, tasks[task], task, batch); };
    return tasks.size() == 1 ? convert(0) : run_jobs(options, {tasks, progress, batch}, convert);
}

int run(const convert_options_t& options)
{
    if (!options.batch.empty()) return convert_batch(options);
    if (has_logs(options.logs)) warn(options);
    make_folder(options.folder);
    make_folder(options.folder_of(false));
    begin_run(options.logs);
    remove_left_overs_once(options.folder);   // not in every process
    remove_left_overs_once(options.folder_of(false));
    catch_interrupts();
    const std::vector<sources_t> tasks = tasks_of(options);
    batch_t batch(first_sources(tasks), "logs");
    const int code = convert_all(options, tasks, batch);
    batch.tell();
    return code;
}

}   // namespace

void warn(const convert_options_t& o)
{
    if (o.as_host && header_and_records_disagree(o)) {
        std::fprintf(stderr,
                     "kvx: warning: receiver type \"%s\" with kind %d: header and records choose their "
                     "observation types by different rules; use a type with KV3A0 or KV4A0 and a kind other than 1\n",
                     o.receiver_type.c_str(), o.receiver_kind);
    }
    if (!o.as_host && o.marker.empty()) {
        std::fprintf(stderr, "kvx: warning: nothing names the site: marker UNKNOWN%s; name it with --marker\n",
                     o.name.empty() ? ", files of site XXXX" : "");
    }
    if (!o.as_host && o.version() < 300 && o.nav == "split") {
        std::fputs(
            "kvx: warning: RINEX 2.11 knows navigation files of GPS, GLONASS and SBAS; those of other systems are "
            "written in the form of the GPS files, and few programs read them\n",
            stderr);
    }
}

command_t convert_command(command_line_t& program)
{
    auto options = std::make_shared<convert_options_t>();
    command_line_t app = program.command("convert", "RINEX files from logs of the receiver board, or from RINEX files");
    app.describe(
        "Every signal of the log is written under its own name, and the summary accounts for every observation that is "
        "not. A log gives an observation file and a navigation file, which get their names when they are whole; "
        "--marker and --country name the site in them. Of RINEX files what nobody asks to be changed stays as it is.");
    app.example("kvx convert survey.log -o rinex/ --marker BASE --country DNK",
                "RINEX 3.05 of a log, named by the convention");
    app.example("kvx convert *.log -o rinex/ -j 2 --rinex 4.02 --interval 30 --systems GRE",
                "Many logs, two at once: RINEX 4.02 of three systems, an epoch every 30 s");
    app.example("kvx convert survey.log -o packed/ --crx --gz --verify",
                "To be archived: compact and compressed, and proven to hold all that the log sent");
    app.example("kvx convert hours/*.rnx -o session --join", "RINEX files of hours into one session");
    add_convert_options(app, *options);
    app.when_all_read([options] {
        if (!options->name.empty() && options->logs.size() > 1 && !options->join)
            throw usage_error_t("--name", "names the files of one log");
    });
    return {app, [options] { return run(*options); }};
}

}   // namespace kvx
