// kvx: the command-line tool of rtk_utils.
#include <csignal>
#include <cstdio>
#include <exception>

#include "common/command.h"

namespace {

using kvx::command_t;

constexpr command_t (*kCommands[])(CLI::App&) = {
    kvx::convert_command, kvx::info_command, kvx::simulate_command, kvx::dump_command,
    kvx::frame_command,   kvx::gpio_command, kvx::i2c_command,
};

int run_chosen(const std::vector<command_t>& commands)
{
    for (const command_t& command : commands) {
        if (!command.app->parsed()) continue;
        try {
            return kvx::finished(command.run());
        } catch (const CLI::ParseError& e) {   // a value that only the command itself could judge
            std::fprintf(stderr, "kvx: error: %s\n", e.what());
            return kvx::kUsage;
        } catch (const std::exception& e) {
            std::fprintf(stderr, "kvx: error: %s\n", e.what());
            return kvx::kFailed;
        }
    }
    return kvx::kUsage;
}

}   // namespace

int main(int argc, char** argv)
{
    std::signal(SIGPIPE, SIG_IGN);   // a reader that has gone is an error like any other
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
    return run_chosen(commands);
}
