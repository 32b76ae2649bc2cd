// kvx info: what logs and RINEX files hold and how good it is, without writing anything.
#include <cstdio>
#include <memory>

#include "common/batch.h"
#include "common/command.h"
#include "common/error.h"
#include "common/interrupt.h"
#include "common/progress.h"
#include "info/inputs.h"

namespace kvx {

namespace {

struct info_options_t {
    inspection_options_t inspection;
    std::vector<std::string> paths;
    bool json = false, quiet = false;
};

inspection_t inspected(const info_options_t& options, const inputs_t& inputs, std::size_t number)
{
    const progress_piece_t piece(number);
    return inspect(options.inspection, inputs.described[number], inputs);
}

// @return whether all is as it was sent
bool describe(const info_options_t& options, const inputs_t& inputs, std::size_t number, batch_t& batch)
{
    inspection_t result = inspected(options, inputs, number);
    std::fputs((options.json ? inspection_json(result) : inspection_text(result)).c_str(), stdout);
    if (result.damaged()) batch.note(number, "damaged", damage_line(result));
    return !result.damaged();
}

int describe_all(const info_options_t& options, const inputs_t& inputs, batch_t& batch)
{
    const progress_run_t progress(inputs.described, options.quiet);
    int code = kDone;
    for (std::size_t i = 0; i < inputs.described.size() && !interrupted(); ++i) {
        try {
            if (!describe(options, inputs, i, batch) && code == kDone) code = kDamaged;
        } catch (const std::exception& e) {
            print_failure(e, inputs.described[i]);
            batch.failed(i, e);
            code = kFailed;
        }
    }
    return code;
}

int run(const info_options_t& options)
{
    catch_interrupts();
    const inputs_t inputs = inputs_of(options.paths);
    batch_t batch(inputs.described, "files");
    const int code = describe_all(options, inputs, batch);
    batch.tell();
    return interrupted() ? interrupt_code() : code;
}

}   // namespace

command_t info_command(command_line_t& program)
{
    auto options = std::make_shared<info_options_t>();
    command_line_t app = program.command("info", "What logs and RINEX files hold, and how good it is");
    app.example("kvx info survey.log", "Is this log good?");
    app.example("kvx info --quick *.log", "Counts, gaps and damage of many logs, at the speed of reading them");
    app.example("kvx info rinex/*.rnx --systems GE --json", "Of RINEX files, two systems as JSON");
    app.option("FILE", &options->paths,
               "Logs of the receiver board; RINEX observation files, with navigation files for their positions; .gz is "
               "read directly, - is a log on standard input",
               {.required = true});
    app.flag("--quick", &options->inspection.quick, "Messages, satellites, gaps and damage of logs, and nothing else");
    app.flag("--json", &options->json, "Print as JSON");
    add_quiet_option(app, &options->quiet);
    add_selection_options(app, options->inspection, "to look at");
    return {app, [options] { return run(*options); }};
}

}   // namespace kvx
