/// @file command.h  What every subcommand of kvx offers the program.
#ifndef KVX_COMMAND_H
#define KVX_COMMAND_H

#include <csignal>
#include <functional>

#include "common/command_line.h"

namespace kvx {

/// Exit codes of the program.
enum exit_code_t : int {
    kDone = 0,      ///< everything was done
    kFailed = 1,    ///< nothing usable came out
    kUsage = 2,     ///< the command line was wrong
    kDamaged = 3,   ///< done, but the input was damaged
    kReaderGone =
        128 + SIGPIPE,   ///< done, but the reader of standard output has gone: what a shell shows of such programs
};

/// A subcommand: its place on the command line and what it does when chosen.
struct command_t {
    command_line_t app;
    std::function<int()> run;   ///< returns an exit_code_t
};

command_t convert_command(command_line_t& program);
command_t info_command(command_line_t& program);
command_t positions_command(command_line_t& program);
command_t report_command(command_line_t& program);
command_t check_command(command_line_t& program);
command_t summary_command(command_line_t& program);
command_t verify_command(command_line_t& program);
command_t simulate_command(command_line_t& program);
command_t gpio_command(command_line_t& program);
command_t i2c_command(command_line_t& program);
command_t dump_command(command_line_t& program);
command_t frame_command(command_line_t& program);
command_t expand_command(command_line_t& program);
command_t help_command(command_line_t& program);
command_t manual_command(command_line_t& program);
command_t completion_command(command_line_t& program);

}   // namespace kvx

#endif
