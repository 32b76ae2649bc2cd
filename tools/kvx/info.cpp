// kvx info: what logs hold, without writing anything.
#include <cstdio>
#include <memory>

#include "command.h"
#include "epoch_collector.h"
#include "error.h"
#include "interrupt.h"
#include "log_reader.h"
#include "log_summary.h"
#include "progress.h"

namespace kvx {

namespace {

struct info_options_t {
    std::vector<std::string> logs;
    bool json = false;
};

int describe(const std::string& log, bool json)
{
    LogSource source(log);
    const auto raw = std::make_unique<raw_t>();
    Initial_raw(raw.get(), 0);
    LogReader reader(source, *raw);
    LogSummary summary;
    EpochCollector epochs([&summary](const raw_t& epoch) { summary.count_epoch(epoch); });
    {
        Progress progress(source.name(), source.size_on_disk());
        frame_t frame{};
        while (!interrupted() && reader.next(frame)) {
            summary.count_frame(frame);
            if (frame.result == DECODE_OBS) epochs.add(*raw);
            progress.at(source.size_on_disk() > 0 ? source.position_on_disk() : reader.bytes());
        }
        epochs.flush();
    }
    if (interrupted()) throw Error(source.name(), "interrupted", "at byte " + std::to_string(reader.bytes()));
    auto result = summary.to_json(reader, source.damage());
    result["log"] = source.name();
    const std::string text = json ? json_text(result) + "\n" : source.name() + ":\n" + summary_text(result, true);
    std::fputs(text.c_str(), stdout);
    return reader.losses().any() || !source.damage().empty() ? kDamaged : kDone;
}

int run(const info_options_t& options)
{
    catch_interrupts();
    int code = kDone;
    for (const std::string& log : options.logs) {
        try {
            const int one = describe(log, options.json);
            if (code == kDone) code = one;
        } catch (const std::exception& e) {
            std::fprintf(stderr, "kvx: error: %s\n", e.what());
            code = kFailed;
        }
    }
    return code;
}

}   // namespace

command_t info_command(CLI::App& program)
{
    auto options = std::make_shared<info_options_t>();
    CLI::App* app = program.add_subcommand("info", "What logs hold: messages, epochs, satellites, damage");
    app->add_option("LOG", options->logs, "Logs of the receiver board; .gz is read directly, - is standard input")
        ->required();
    app->add_flag("--json", options->json, "Print as JSON");
    return {app, [options] { return run(*options); }};
}

}   // namespace kvx
