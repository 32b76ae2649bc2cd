/// @file navigation_header.h  The header of a navigation file, from that of its source.
#ifndef KVX_NAVIGATION_HEADER_H
#define KVX_NAVIGATION_HEADER_H

#include <string>
#include <vector>

#include "revise/header_revision.h"

namespace kvx {

/// A header as it was read.
struct navigation_source_t {
    rinex::file_header_t header;
    std::vector<std::string> lines;   ///< as they stand, LF included
};

/// The header of a file of one version, of a system or of several (M), from the first source that may have records of
/// it: lines stay as they stand where they can; ionosphere and time system corrections take the form of the version,
/// those of other sources come to them.
/// @param all  sources; not empty
std::string navigation_header(const std::vector<navigation_source_t>& all, int version, char letter,
                              const maker_t& maker, lost_labels_t& lost);

}   // namespace kvx

#endif
