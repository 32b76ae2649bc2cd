// kvx verify: proves that RINEX files hold what logs sent.
#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <stdexcept>

#include "common/command.h"
#include "common/error.h"
#include "common/gps_time.h"
#include "common/interrupt.h"
#include "common/systems.h"
#include "verify/rinex_file.h"
#include "verify/verification.h"

namespace kvx {

namespace {

struct command_options_t {
    verify_options_t verify;
    std::vector<std::string> paths;
    bool json = false;
};

struct paths_t {
    std::vector<std::string> logs, files;
};

// What the first bytes tell; all are read twice, so that pipes will not do.
paths_t sorted_by_content(const std::vector<std::string>& paths)
{
    paths_t sorted;
    for (const std::string& path : paths) {
        struct stat status {};
        if (stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode))
            throw error_t(path, "is no file", "it is read twice");
        (kind_of_file(path) == file_kind_t::log ? sorted.logs : sorted.files).push_back(path);
    }
    // Where a clock was set back the files' names have numbers: x_MO.rnx, x_2_MO.rnx.
    std::stable_sort(sorted.files.begin(), sorted.files.end(),
                     [](const std::string& a, const std::string& b) { return a.size() < b.size(); });
    if (sorted.logs.empty()) throw usage_error_t("LOG", "none of the files is a log");
    if (sorted.files.empty()) throw usage_error_t("FILE", "none of the files is a RINEX file");
    return sorted;
}

void add_time(command_line_t& app, const std::string& name, std::optional<double>& value, const std::string& help)
{
    const auto take = [&value, name](const std::string& text) {
        const auto time = parse_gps_time(text);
        if (!time) throw usage_error_t(name, "'" + text + "' is not a GPS time such as 2024-03-10 12:00:00");
        value = gps_seconds(time->week, time->tow);
    };
    app.option(name, take, help, {.type_name = "TIME"});
}

void add_names(command_line_t& app, const std::string& name, std::vector<std::string>& patterns,
               const std::string& help)
{
    app.option(name, &patterns, help, {.delimiter = ',', .type_name = "NAMES"});
}

void rename_signals(rinex::signals_t& names, const std::vector<std::string>& rules)
{
    for (const std::string& rule : rules) {
        if (const std::string fault = names.rename(rule); !fault.empty()) throw usage_error_t("--signal", fault);
    }
}

void add_options(command_line_t& app, command_options_t& options)
{
    verify_options_t& o = options.verify;
    app.option("PATHS", &options.paths,
               "Logs and the RINEX files that came of them, in any order; .gz is read directly", {.required = true});
    app.option("--systems", &o.systems, "Systems that were to be written",
               {.check = {fault_in_letters, "LETTERS"}, .show_default = true});
    add_names(app, "--satellites", o.satellites, "Satellites that were to be written: G01,E*");
    add_names(app, "--signals", o.signals, "Signals that were to be written: 1C,2W,G1C,E*");
    app.option("--signal", [&o](const std::vector<std::string>& rules) { rename_signals(o.names, rules); },
               "A signal was called by another name: G:17=2L is signal type 17 of GPS as 2L", {.type_name = "RULE"});
    app.option("--interval", &o.interval, "Epochs were thinned out to the points of the GPS time grid of S seconds",
               {.check = within(0.001, 86400.0), .type_name = "S"});
    app.option("--anchor", [&o](const std::string& anchor) { o.anchor_first = anchor == "first"; },
               "Where that grid begins: grid (GPS time) or first (the first epoch)",
               {.check = one_of({"grid", "first"})});
    add_time(app, "--start", o.start, "First epoch that was to be written, GPS time YYYY-MM-DD HH:MM:SS");
    add_time(app, "--end", o.end, "Last epoch that was to be written, GPS time");
    app.flag("--json", &options.json, "Print the account as JSON");
    app.footer("Exit codes: 0 proven, 1 it could not be done, 2 wrong usage, 3 the files are not what the logs sent.");
}

int run(const command_options_t& options)
{
    catch_interrupts();
    const paths_t paths = sorted_by_content(options.paths);
    const verification_t result = verify(options.verify, paths.logs, paths.files);
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
