/// @file selection_options.h  What of a log is wanted: the options that every command that reads one has.
#ifndef KVX_SELECTION_OPTIONS_H
#define KVX_SELECTION_OPTIONS_H

#include <optional>
#include <string>
#include <vector>

#include "rinex/signals.h"

namespace kvx {

class command_line_t;

struct selection_options_t {
    bool join = false;   ///< the logs are one session
    std::string systems = "GRECJS";
    std::vector<std::string> satellites, signals;   ///< patterns; empty: all
    rinex::signals_t names;                         ///< of the signals
    bool names_changed = false;                     ///< by --signal
    double interval = 0.0;                          ///< s, 0: every epoch
    bool anchor_first = false;                      ///< the first epoch begins the grid, not GPS time
    std::optional<double> start, end;               ///< GPS seconds
};

/// Declares the options.
/// @param what  is done with what they leave: "to write"
void add_selection_options(command_line_t& app, selection_options_t& options, const std::string& what);

}   // namespace kvx

#endif
