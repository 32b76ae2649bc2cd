// kvx verify: proves that RINEX files hold what logs sent.
#include <algorithm>
#include <cstdio>
#include <memory>
#include <stdexcept>

#include "common/command.h"
#include "common/error.h"
#include "common/input_file.h"
#include "common/interrupt.h"
#include "common/progress.h"
#include "common/rinex_file.h"
#include "common/selection_options.h"
#include "verify/verification.h"

namespace kvx {

namespace {

struct command_options_t {
    selection_options_t verify;
    std::vector<std::string> paths;
    bool json = false, quiet = false;
};

struct paths_t {
    std::vector<std::string> logs, files;
};

// What the first bytes tell; all are read twice, so that pipes will not do.
paths_t sorted_by_content(const std::vector<std::string>& paths)
{
    paths_t sorted;
    for (const std::string& path : paths) {
        demand_file(path);
        (kind_of_file(path) == file_kind_t::log ? sorted.logs : sorted.files).push_back(path);
    }
    // Where a clock was set back the files' names have numbers: x_MO.rnx, x_2_MO.rnx.
    std::stable_sort(sorted.files.begin(), sorted.files.end(),
                     [](const std::string& a, const std::string& b) { return a.size() < b.size(); });
    if (sorted.logs.empty()) throw usage_error_t("LOG", "none of the files is a log");
    if (sorted.files.empty()) throw usage_error_t("FILE", "none of the files is a RINEX file");
    return sorted;
}

void add_options(command_line_t& app, command_options_t& options)
{
    app.describe(
        "The options of the selection must be those that the files were written with. Without navigation files "
        "ephemerides are not looked for, without observation files ranges are not.");
    app.example("kvx verify survey.log rinex/*", "Is all of the log in these files, and nothing else?");
    app.option("FILE", &options.paths, "Logs and the RINEX files that came of them, in any order; .gz is read directly",
               {.required = true});
    add_selection_options(app, options.verify, "of the files");
    app.flag("--join", &options.verify.join, "The logs were joined to one session");
    app.flag("--json", &options.json, "Print the account as JSON");
    add_quiet_option(app, &options.quiet);
    app.exit_codes({{"0", "proven"}, {"1", "it could not be done"}, {"3", "the files are not what the logs sent"}});
}

verification_t verified(const command_options_t& options, const paths_t& paths)
{
    const progress_run_t progress(std::vector{paths.logs}, options.quiet);
    return verify(options.verify, paths.logs, paths.files);
}

int run(const command_options_t& options)
{
    catch_interrupts();
    const paths_t paths = sorted_by_content(options.paths);
    const verification_t result = verified(options, paths);
    if (!result.read_error.empty()) throw std::runtime_error(result.read_error + " (reading the logs)");
    const auto print = options.json ? verification_json : verification_text;
    std::fputs(print(result, options.verify.names).c_str(), stdout);
    return result.proven() ? kDone : kDamaged;
}

}   // namespace

command_t verify_command(command_line_t& program)
{
    auto options = std::make_shared<command_options_t>();
    command_line_t app = program.command("verify", "Proof that RINEX files hold what logs sent");
    add_options(app, *options);
    return {app, [options] { return run(*options); }};
}

}   // namespace kvx
