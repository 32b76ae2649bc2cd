// kvx info: what logs and RINEX files hold and how good it is, without writing anything.
#include <sys/stat.h>

#include <cstdio>
#include <memory>

#include "common/command.h"
#include "common/error.h"
#include "common/interrupt.h"
#include "common/rinex_file.h"
#include "info/inspection.h"

namespace kvx {

namespace {

struct info_options_t {
    inspection_options_t inspection;
    std::vector<std::string> paths;
    bool json = false;
};

struct inputs_t {
    std::vector<std::string> described;    // in their order
    std::vector<std::string> navigation;   // for all observation files
    bool any_observations = false;
};

// What can be read only once is a log.
bool is_log(const std::string& path)
{
    struct stat status {};
    if (path == "-" || (stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode))) return true;
    return kind_of_file(path) == file_kind_t::log;
}

bool is_navigation(const std::string& path)
{
    return !is_log(path) && rinex_file_t(path, {}).header().is_navigation();
}

// Navigation files serve the observation files beside them; alone they are described themselves. What cannot be read
// fails in its turn.
inputs_t sorted(const std::vector<std::string>& paths)
{
    inputs_t inputs;
    for (const std::string& path : paths) {
        bool navigation = false;
        try {
            navigation = is_navigation(path);
            inputs.any_observations |= !navigation && !is_log(path);
        } catch (const error_t&) {
        }
        (navigation ? inputs.navigation : inputs.described).push_back(path);
    }
    if (!inputs.any_observations)
        inputs.described.insert(inputs.described.end(), inputs.navigation.begin(), inputs.navigation.end());
    return inputs;
}

inspection_t inspect(const inspection_options_t& options, const std::string& path, const inputs_t& inputs)
{
    if (is_log(path)) return inspect_log(options, path);
    return is_navigation(path) ? inspect_navigation(path) : inspect_observations(options, path, inputs.navigation);
}

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
    const inputs_t inputs = sorted(options.paths);
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
    command_line_t app =
        program.command("info", "What logs and RINEX files hold and how good it is: signals, slips, positions, damage");
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
