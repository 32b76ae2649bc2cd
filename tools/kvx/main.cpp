// kvx: the command-line tool of rtk_utils.
#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>
#include <exception>
#include <new>

#include "common/command.h"

namespace {

using kvx::command_t;

constexpr command_t (*kCommands[])(CLI::App&) = {
    kvx::convert_command,  kvx::check_command, kvx::verify_command, kvx::expand_command, kvx::info_command,
    kvx::simulate_command, kvx::dump_command,  kvx::frame_command,  kvx::gpio_command,   kvx::i2c_command,
};

int run(int argc, char** argv)
{
    CLI::App app("Logs, RINEX files, messages and hardware of GNSS RTK receivers.", "kvx");
    app.set_version_flag("--version", KVX_VERSION);
    app.require_subcommand(1);
    app.failure_message([](const CLI::App*, const CLI::Error& e) {
        return "kvx: error: " + std::string(e.what()) + " (see --help)\n";
    });
    app.footer("Exit codes: 0 done, 1 failed, 2 wrong usage, 3 done but the input was damaged.");
    std::vector<command_t> commands;
    for (const auto make : kCommands) commands.push_back(make(app));
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        return app.exit(e) == 0 ? kvx::kDone : kvx::kUsage;
    }
    for (const command_t& command : commands) {
        if (command.app->parsed()) return kvx::finished(command.run());
    }
    return kvx::kUsage;
}

int failed(const char* what, int code)
{
    std::fprintf(stderr, "kvx: error: %s\n", what);
    return code;
}

}   // namespace

int main(int argc, char** argv)
{
    std::signal(SIGPIPE, SIG_IGN);   // a reader that has gone is an error like any other
    try {
        return run(argc, argv);
    } catch (const CLI::ParseError& e) {   // a value that only the command itself could judge
        return failed(e.what(), kvx::kUsage);
    } catch (const std::bad_alloc&) {
        return failed("out of memory", kvx::kFailed);
    } catch (const std::exception& e) {
        return failed(e.what(), kvx::kFailed);
    }
}
