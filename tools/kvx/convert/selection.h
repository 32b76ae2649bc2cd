/// @file selection.h  Which epochs and observations of a log are wanted.
#ifndef KVX_SELECTION_H
#define KVX_SELECTION_H

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "common/selection_options.h"
#include "rinex/epoch.h"
#include "rinex/ledger.h"

namespace kvx {

/// Whether a name is like one of the patterns: "E*".
bool matches(const std::vector<std::string>& patterns, const std::string& name);

/// Satellites and signals by what the command line says.
class selection_t {
public:
    explicit selection_t(const selection_options_t& options);

    bool in_window(std::int64_t ticks) const;   ///< see rinex/dates.h
    bool wants(const rinex::satellite_t& satellite) const;

    /// Takes out of an epoch what is not wanted.
    void apply(rinex::epoch_t& epoch, rinex::ledger_t& ledger) const;

private:
    std::int64_t start_, end_;   // ticks
    rinex::places_t satellites_;
    std::array<std::uint16_t, rinex::kConstellationCount> signals_{};   // bits
    bool everything_;
};

}   // namespace kvx

#endif
