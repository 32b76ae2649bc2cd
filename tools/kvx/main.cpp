// kvx: the command-line tool of rtk_utils.
#include <malloc.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
#include <new>
#include <optional>
#include <vector>

#include "common/command.h"
#include "common/interrupt.h"
#include "common/standard_streams.h"

namespace {

using kvx::command_line_t;
using kvx::command_t;

constexpr const char kAbout[] =
    "Results go to standard output, progress and errors to standard error: 'kvx: error: FILE: what (where)'. Files may "
    "be compressed (.gz, .zst), and - is standard input.\n\n"
    "Files that a command makes get their names when they are whole and on the disk; until then they are called "
    ".kvx-XXXXXX. A file that exists is replaced with --force only, an input never. What a run that was killed left "
    "behind is removed by the next one that writes into the folder.";

constexpr command_t (*kCommands[])(command_line_t&) = {
    kvx::convert_command,  kvx::summary_command,    kvx::check_command,  kvx::verify_command,
    kvx::expand_command,   kvx::info_command,       kvx::report_command, kvx::positions_command,
    kvx::simulate_command, kvx::dump_command,       kvx::frame_command,  kvx::gpio_command,
    kvx::i2c_command,      kvx::completion_command, kvx::help_command,   kvx::manual_command,
};

bool g_memory_ran_out = false;

// Gives an exit code when that was all: the line asks for the help or the version, or it is wrong.
std::optional<int> read_command_line(command_line_t& app, int argc, char** argv)
{
    int code = kvx::kUsage;
    try {
        if (app.read(argc, argv)) return std::nullopt;
        code = kvx::kDone;
    } catch (const kvx::usage_error_t& e) {
        std::fprintf(stderr, "kvx: error: %s (see --help)\n", e.what());
    }
    if (g_memory_ran_out) throw std::bad_alloc();   // the streams that make these texts are silent about it
    return code;
}

// What the command line asks for. Nothing else of the table of commands stays: memory that is long needed is the
// work's.
std::function<int()> chosen(int argc, char** argv)
{
    command_line_t app("kvx", "Logs, RINEX files, messages and hardware of GNSS RTK receivers", KVX_VERSION);
    app.describe(kAbout);
    app.example("kvx simulate -o survey.log", "Make a log to try things on");
    app.example("kvx info survey.log", "See whether a log is good");
    app.example("kvx convert survey.log -o rinex/ --marker BASE", "Make RINEX files of it");
    app.exit_codes({{"0", "done"},
                    {"1", "failed"},
                    {"2", "wrong usage"},
                    {"3", "done but the input was damaged"},
                    {"129, 130 or 143", "ended by SIGHUP, Ctrl-C or SIGTERM"},
                    {"141", "the reader of standard output has gone"}});
    std::vector<command_t> commands;
    for (const auto make : kCommands) commands.push_back(make(app));
    const auto only = [](int code) { return [code] { return code; }; };
    if (argc == 1) {
        std::fputs(kvx::help_text(app.page()).c_str(), stdout);
        return only(kvx::kUsage);
    }
    if (const auto code = read_command_line(app, argc, argv)) return only(*code);
    for (const command_t& command : commands) {
        if (command.app.given()) return command.run;
    }
    return only(kvx::kUsage);
}

int run(int argc, char** argv)
{
    const std::function<int()> command = chosen(argc, argv);
    malloc_trim(0);
    return kvx::finished(command());
}

int failed(const char* what, int code)
{
    std::fprintf(stderr, "kvx: error: %s\n", what);
    return code;
}

// What would end the program is an error of the call that it comes of; whoever started us may have set the rest.
void set_signals()
{
    std::signal(SIGPIPE, SIG_IGN);   // a reader that has gone
    std::signal(SIGXFSZ, SIG_IGN);   // a file as large as files may be
    std::signal(SIGCHLD, SIG_DFL);   // else nobody tells how a child has ended
}

std::terminate_handler g_terminate = nullptr;   // the usual one

// Memory may run out before main, where nothing catches it: the option parser makes objects of its own.
// Nothing has been opened then.
void terminate()
{
    try {
        if (std::current_exception() != nullptr) throw;
    } catch (const std::bad_alloc&) {
        _exit(failed("out of memory", kvx::kFailed));
    } catch (...) {   // for the usual one to tell
    }
    g_terminate();
}

__attribute__((constructor(101))) void before_those_objects()
{
    g_terminate = std::set_terminate(terminate);
    std::set_new_handler([] {
        g_memory_ran_out = true;
        throw std::bad_alloc();
    });
}

}   // namespace

int main(int argc, char** argv)
{
    set_signals();
    if (!kvx::occupy_closed_streams()) return kvx::kFailed;
    try {
        return run(argc, argv);
    } catch (const kvx::stdout_lost_t&) {
        return kvx::finished(kvx::kDone);
    } catch (const kvx::usage_error_t& e) {   // a value that only the command itself could judge
        return failed(e.what(), kvx::kUsage);
    } catch (const kvx::interruption_t& e) {
        return failed(e.what(), kvx::interrupt_code());
    } catch (const std::bad_alloc&) {
        return failed("out of memory", kvx::kFailed);
    } catch (const std::exception& e) {
        return failed(e.what(), kvx::kFailed);
    }
}
