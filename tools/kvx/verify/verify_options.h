/// @file verify_options.h  What a conversion was asked for, as far as its proof must know.
#ifndef KVX_VERIFY_OPTIONS_H
#define KVX_VERIFY_OPTIONS_H

#include <optional>
#include <string>
#include <vector>

#include "rinex/signals.h"

namespace kvx {

/// As the options of `kvx convert` of the same names.
struct verify_options_t {
    std::string systems = "GRECJS";
    std::vector<std::string> satellites, signals;   ///< patterns; empty: all
    rinex::signals_t names;                         ///< of the signals
    double interval = 0.0;                          ///< s, 0: every epoch
    bool anchor_first = false;                      ///< the first epoch begins the grid, not GPS time
    std::optional<double> start, end;               ///< GPS seconds
};

}   // namespace kvx

#endif
