#include "convert/task.h"

#include <algorithm>
#include <cstdio>

#include "common/command.h"
#include "common/error.h"
#include "common/interrupt.h"
#include "common/progress.h"
#include "common/text_format.h"
#include "convert/conversion.h"
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

void print(const std::string& text)
{
    const progress_aside_t aside(STDERR_FILENO);
    std::fputs(text.c_str(), stdout);
}

int convert_rinex(const convert_options_t& options, const sources_t& sources, std::size_t task, batch_t& batch)
{
    const revision_t revision = revise(options, sources);
    const bool faulty = revision.faults.count > 0;
    if (faulty) batch.note(task, "damaged", plural(revision.faults.count, "fault"));
    if (options.json || !options.quiet) print(options.json ? revision_json(revision) : revision_text(revision));
    return faulty ? kDamaged : kDone;
}

int convert_log(const convert_options_t& options, const sources_t& sources, std::size_t task, batch_t& batch)
{
    const summary_t summary = convert_logs(options, sources);
    if (summary.damaged()) batch.note(task, "damaged", damage_line(summary));
    if (options.json || !options.quiet) print(options.json ? summary_json(summary) : summary_text(summary));
    if (summary.outcome->partial) {
        const error_t cut(summary.log, "interrupted", "what was read is in " + summary.outcome->files.front());
        const progress_aside_t aside(STDERR_FILENO);
        std::fprintf(stderr, "kvx: error: %s\n", cut.what());
    }
    if (summary.ended_by_signal) return interrupt_code();
    return summary.damaged() ? kDamaged : kDone;
}

}   // namespace

int convert_task(const convert_options_t& options, const sources_t& sources, std::size_t task, batch_t& batch)
{
    const progress_piece_t piece(task);
    try {
        const auto convert = are_rinex(sources) ? convert_rinex : convert_log;
        return convert(options, sources, task, batch);
    } catch (const interruption_t& e) {
        const progress_aside_t aside(STDERR_FILENO);
        std::fprintf(stderr, "kvx: error: %s\n", e.what());
        return interrupt_code();
    } catch (const std::exception& e) {
        batch.failed(task, e);
        const progress_aside_t aside(STDERR_FILENO);
        print_failure(e, sources.front());
        return kFailed;
    }
}

}   // namespace kvx
