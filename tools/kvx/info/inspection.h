/// @file inspection.h  What is told of a log, or of RINEX files: what it holds, what it lost, how good it is.
#ifndef KVX_INSPECTION_H
#define KVX_INSPECTION_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "common/selection_options.h"
#include "info/seen_signals.h"
#include "log/summary.h"
#include "quality/quality.h"

namespace kvx {

struct inspection_options_t : selection_options_t {
    bool quick = false;   ///< messages, satellites, gaps and damage alone
};

/// Input that is not a log has no messages in its summary.
struct inspection_t {
    enum class kind_t { log, observations, navigation };
    kind_t kind = kind_t::log;
    summary_t summary;
    std::vector<damage_t> damage;                    ///< the first places
    std::unique_ptr<quality::carriers_t> carriers;   ///< what the signals are called
    std::unique_ptr<seen_signals_t> seen;            ///< of a quick inspection
    std::unique_ptr<quality::quality_t> quality;     ///< of any other
    std::string header;                              ///< of a file: "RINEX 3.05, marker ESBC"
    std::uint64_t findings = 0;                      ///< of a file: errors in its structure
    std::string first_finding;

    bool damaged() const { return summary.damaged() || findings > 0; }
};

/// Called before the first epoch; may listen to them.
using on_quality_t = std::function<void(quality::quality_t&)>;

/// @throws error_t when the log cannot be read
inspection_t inspect_log(const inspection_options_t& options, const std::string& path,
                         const on_quality_t& on_quality = {});

/// Of an observation file, with the ephemerides of navigation files.
/// @throws error_t when a file cannot be read
inspection_t inspect_observations(const inspection_options_t& options, const std::string& path,
                                  const std::vector<std::string>& navigation, const on_quality_t& on_quality = {});

/// Of a navigation file alone.
/// @throws error_t when it cannot be read
inspection_t inspect_navigation(const std::string& path);

/// What makes it damaged, in a line.
std::string damage_line(const inspection_t& inspection);

/// For people.
std::string inspection_text(inspection_t& inspection);

/// For programs: one JSON object, a line. docs/formats/info.md tells its fields.
std::string inspection_json(inspection_t& inspection);

}   // namespace kvx

#endif
