/// @file revision.h  What came of RINEX files that were converted.
#ifndef KVX_REVISION_H
#define KVX_REVISION_H

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "convert/convert_options.h"
#include "revise/observation_rows.h"
#include "revise/observation_source.h"

namespace kvx {

/// A time without epochs.
struct break_t {
    std::int64_t begin = 0, length = 0;   ///< GPS time and length (ms)
};

struct observation_outcome_t {
    int version = 0;
    std::uint64_t epochs = 0, events = 0;   ///< written
    std::int64_t first = 0, last = 0;       ///< GPS time (ms)
    std::size_t satellites = 0;
    std::uint64_t outside = 0;    ///< epochs outside the window
    std::uint64_t off_grid = 0;   ///< left out by the interval
    std::uint64_t empty = 0;      ///< of which nothing was wanted
    std::uint64_t overlaps = 0;   ///< that several files had
    std::uint64_t timeless = 0;   ///< without a time that can be read
    double step = 0.0;            ///< usual step of the epochs read (s)
    std::uint64_t gaps = 0;
    break_t longest;
    version_losses_t losses;
    std::map<std::string, std::string> meanings;   ///< types of RINEX 2 and what they became
    std::vector<std::string> labels;               ///< lines that the version has no place for
    std::vector<std::string> notes;
    std::set<std::int64_t> units;   ///< of --split, counted since the beginning of GPS time
};

struct navigation_outcome_t {
    int version = 0;
    std::uint64_t read = 0, written = 0;         ///< records
    std::uint64_t repeated = 0;                  ///< that several files had, or one twice
    std::uint64_t outside = 0;                   ///< of no use in the window
    std::uint64_t not_asked = 0;                 ///< of other satellites
    std::map<std::string, std::uint64_t> lost;   ///< by message: "C CNV1"
    std::vector<std::string> labels;
};

struct revision_t {
    sources_t inputs;
    std::optional<observation_outcome_t> observations;
    std::optional<navigation_outcome_t> navigation;
    faults_t faults;
    std::vector<std::string> files;
};

std::string revision_text(const revision_t& revision);
std::string revision_json(const revision_t& revision);

}   // namespace kvx

#endif
