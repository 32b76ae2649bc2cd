/// @file site_changes.h  What events say of the site and its equipment.
#ifndef KVX_SITE_CHANGES_H
#define KVX_SITE_CHANGES_H

#include <string>
#include <vector>

#include "rinex/read_header.h"

namespace kvx {

/// Lines of events that change what the header says. A file that begins behind them begins with them.
class site_changes_t {
public:
    void take(const std::vector<rinex::header_record_t>& records);

    /// Puts what was taken in the place of the lines of a header and forgets it.
    /// @param lines  of the header, a LF behind each
    void apply(rinex::file_header_t& header, std::vector<std::string>& lines);

private:
    std::vector<rinex::header_record_t> changes_;   // one of a label
};

}   // namespace kvx

#endif
