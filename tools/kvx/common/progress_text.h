/// @file progress_text.h  What the line of a progress says.
#ifndef KVX_PROGRESS_TEXT_H
#define KVX_PROGRESS_TEXT_H

#include <cstdint>
#include <string>

namespace kvx {

struct progress_state_t {
    std::uint64_t done = 0, total = 0;   ///< bytes
    int percent = -1;                    ///< negative: nobody knows how much it will be
    double rate = 0.0;                   ///< bytes per second, 0: unknown
    double seconds = 0.0;                ///< since the beginning
    std::size_t pieces = 1, ended = 0;
    std::string name;   ///< of what is under way
};

/// " 45 %, 3 of 8 files, 412 MB of 900 MB, 210 MB/s, 0:02 left, survey.log": what matters most stands first, for the
/// line is cut where the terminal ends.
/// @param columns  that it may have
std::string progress_text(const progress_state_t& state, std::size_t columns);

}   // namespace kvx

#endif
