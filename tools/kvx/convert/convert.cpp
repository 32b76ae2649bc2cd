// kvx convert: RINEX from logs.
#include <algorithm>
#include <cstdio>
#include <memory>

#include "common/command.h"
#include "common/error.h"
#include "common/interrupt.h"
#include "common/left_overs.h"
#include "common/publish.h"
#include "common/standard_streams.h"
#include "convert/conversion.h"
#include "convert/convert_options.h"
#include "convert/jobs.h"
#include "host/host_options.h"
#include "revise/revise.h"

namespace kvx {

namespace {

// RINEX files alone, each as what it is.
bool are_rinex(const sources_t& sources)
{
    const auto n = std::count_if(sources.begin(), sources.end(), is_rinex);
    if (n > 0 && static_cast<std::size_t>(n) < sources.size())
        throw error_t(sources.front(), "logs and RINEX files are not joined",
                      "convert the logs first, or give the files one kind at a time");
    return n > 0;
}

int convert_rinex(const convert_options_t& options, const sources_t& sources)
{
    const revision_t revision = revise(options, sources);
    const std::string text = options.json ? revision_json(revision) : revision_text(revision);
    std::fputs(text.c_str(), stdout);
    return revision.faults.count > 0 ? kDamaged : kDone;
}

int convert_one(const convert_options_t& options, const sources_t& sources)
{
    try {
        if (are_rinex(sources)) return convert_rinex(options, sources);
        const summary_t summary = convert_logs(options, sources);
        const std::string text = options.json ? summary_json(summary) : summary_text(summary);
        std::fputs(text.c_str(), stdout);
        if (summary.outcome->partial) {
            const error_t cut(summary.log, "interrupted", "what was read is in " + summary.outcome->files.front());
            std::fprintf(stderr, "kvx: error: %s\n", cut.what());
        }
        if (summary.ended_by_signal) return interrupt_code();
        return summary.damaged() ? kDamaged : kDone;
    } catch (const interruption_t& e) {
        std::fprintf(stderr, "kvx: error: %s\n", e.what());
        return interrupt_code();
    } catch (const std::exception& e) {
        print_failure(e, sources.front());
        return kFailed;
    }
}

// What is joined is one piece of work.
std::vector<sources_t> tasks_of(const convert_options_t& options)
{
    if (options.join) return {options.logs};
    std::vector<sources_t> tasks;
    for (const std::string& log : options.logs) tasks.push_back({log});
    return tasks;
}

void warn(const convert_options_t& o)
{
    if (o.as_host && header_and_records_disagree(o)) {
        std::fprintf(stderr,
                     "kvx: warning: receiver type \"%s\" with kind %d: header and records choose their "
                     "observation types by different rules; use a type with KV3A0 or KV4A0 and a kind other than 1\n",
                     o.receiver_type.c_str(), o.receiver_kind);
    }
    if (!o.as_host && o.marker.empty()) {
        std::fputs("kvx: warning: nothing names the site: marker UNKNOWN, files of site XXXX; name it with --marker\n",
                   stderr);
    }
    if (!o.as_host && o.version() < 300 && o.nav == "split") {
        std::fputs(
            "kvx: warning: RINEX 2.11 knows navigation files of GPS, GLONASS and SBAS; those of other systems are "
            "written in the form of the GPS files, and few programs read them\n",
            stderr);
    }
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

int run(const convert_options_t& options)
{
    if (has_logs(options.logs)) warn(options);
    make_folder(options.folder);
    begin_run(options.logs);
    remove_left_overs_once(options.folder);   // not in every process
    catch_interrupts();
    const auto convert = [&options](const sources_t& sources) { return convert_one(options, sources); };
    const std::vector<sources_t> tasks = tasks_of(options);
    if (tasks.size() == 1) return convert(tasks.front());
    return run_jobs(options, tasks, convert);
}

}   // namespace

command_t convert_command(command_line_t& program)
{
    auto options = std::make_shared<convert_options_t>();
    command_line_t app = program.command("convert", "RINEX files from logs of the receiver board");
    add_convert_options(app, *options);
    app.when_all_read([options] {
        if (!options->name.empty() && options->logs.size() > 1 && !options->join)
            throw usage_error_t("--name", "names the files of one log");
    });
    return {app, [options] { return run(*options); }};
}

}   // namespace kvx
