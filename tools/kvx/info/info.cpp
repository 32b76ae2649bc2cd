// kvx info: what logs and RINEX files hold and how good it is, without writing anything.
#include <cstdio>
#include <memory>

#include "common/command.h"
#include "common/error.h"
#include "common/interrupt.h"
#include "info/inputs.h"

namespace kvx {

namespace {

struct info_options_t {
    inspection_options_t inspection;
    std::vector<std::string> paths;
    bool json = false;
};

int describe(const info_options_t& options, const std::string& path, const inputs_t& inputs)
{
    inspection_t result = inspect(options.inspection, path, inputs);
    std::fputs((options.json ? inspection_json(result) : inspection_text(result)).c_str(), stdout);
    return result.damaged() ? kDamaged : kDone;
}

int run(const info_options_t& options)
{
    catch_interrupts();
    int code = kDone;
    const inputs_t inputs = inputs_of(options.paths);
    for (const std::string& path : inputs.described) {
        try {
            const int one = describe(options, path, inputs);
            if (code == kDone) code = one;
        } catch (const std::exception& e) {
            print_failure(e, path);
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
    add_selection_options(app, options->inspection, "to look at");
    return {app, [options] { return run(*options); }};
}

}   // namespace kvx
