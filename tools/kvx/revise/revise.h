/// @file revise.h  `kvx convert` of RINEX files.
#ifndef KVX_REVISE_H
#define KVX_REVISE_H

#include "revise/revision.h"

namespace kvx {

/// Whether an input is a RINEX file; what can be read only once is a log.
/// @throws error_t when it cannot be read
bool is_rinex(const std::string& path);

/// Makes files of a RINEX file, or of several that are joined: observation and navigation files each for themselves.
/// @throws error_t for what goes with logs only, and when nothing came of it
revision_t revise(const convert_options_t& options, const sources_t& paths);

}   // namespace kvx

#endif
