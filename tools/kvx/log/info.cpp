// kvx info: what logs hold, without writing anything.
#include <cstdio>
#include <memory>

#include "common/command.h"
#include "common/error.h"
#include "common/interrupt.h"
#include "common/progress.h"
#include "log/epoch_collector.h"
#include "log/log_reader.h"
#include "log/summary.h"

namespace kvx {

namespace {

// Of an epoch.
struct place_t {
    std::int64_t time;   // ms
    std::uint64_t offset;
};

struct info_options_t {
    std::vector<std::string> logs;
    bool json = false;
};

int describe(const std::string& log, bool json)
{
    input_file_t source(log);
    const auto raw = std::make_unique<raw_t>();
    Initial_raw(raw.get(), 0);
    log_reader_t reader(source, *raw);
    summary_t summary;
    epoch_order_t<place_t> order([] { return place_t{}; },
                                 [&](place_t& p, order_t o) { summary.count_epoch(p.time, p.offset, o); });
    epoch_collector_t epochs([&](auto& epoch, std::uint64_t offset) {
        summary.count_satellites(*epoch);
        place_t place{epoch_time(*epoch), offset};
        order.add(place.time, place);
    });
    {
        progress_t progress(source.name(), source.size_on_disk());
        frame_t frame{};
        while (reader.next(frame)) {
            summary.count(frame, raw->buff, numbering_t::record);
            if (frame.result == DECODE_OBS) epochs.add(*raw, frame.offset);
            progress.at(source.size_on_disk() > 0 ? source.position_on_disk() : reader.bytes());
        }
        epochs.flush();
        order.flush();
    }
    summary.finish(reader, source);
    std::fputs((json ? summary_json(summary) : summary_text(summary, true)).c_str(), stdout);
    return summary.damaged() ? kDamaged : kDone;
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
            print_failure(e, log);
            code = kFailed;
        }
        if (interrupted()) return interrupt_code();
    }
    return code;
}

}   // namespace

command_t info_command(command_line_t& program)
{
    auto options = std::make_shared<info_options_t>();
    command_line_t app = program.command("info", "What logs hold: messages, epochs, satellites, damage");
    app.option("LOG", &options->logs, "Logs of the receiver board; .gz is read directly, - is standard input",
               {.required = true});
    app.flag("--json", &options->json, "Print as JSON");
    return {app, [options] { return run(*options); }};
}

}   // namespace kvx
