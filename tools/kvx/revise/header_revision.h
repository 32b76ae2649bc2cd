/// @file header_revision.h  The header of an observation file, from that of its source and what its data turned out to
/// be.
#ifndef KVX_HEADER_REVISION_H
#define KVX_HEADER_REVISION_H

#include <map>
#include <set>
#include <string>
#include <vector>

#include "revise/tally.h"
#include "rinex/line_tape.h"
#include "rinex/read_header.h"

namespace kvx {

/// Lines of who makes a file, and when.
struct maker_t {
    std::string program, run_by, date;
};

/// What the header of a file tells; all must outlive its making.
struct revised_header_t {
    int version;
    const rinex::file_header_t& source;
    const std::vector<std::string>& lines;   ///< of the source as they stand, LF included
    const rinex::type_names_t& listed;       ///< types that those lines list
    const rinex::type_names_t& columns;      ///< types of the file
    const tally_t& tally;
    const maker_t& maker;
    char letter = ' ';                                  ///< of the system, M, or blank: that of the source
    double interval = 0.0;                              ///< s; 0: as the source says
    const std::map<int, int>& channels;                 ///< of GLONASS by slot, as far as the inputs tell
    const std::map<std::string, std::string>& shifts;   ///< lines of phases that the source does not list: "GL5Q"
};

/// Labels whose lines the version has no place for.
using lost_labels_t = std::set<std::string>;

/// What nobody asks for stays as it stands: lines, their order, comments. The line of the program that made the source
/// becomes a comment.
std::string revised(const revised_header_t& header, lost_labels_t& lost);

/// The lines of a header that has been read, as they stand, LF included; one whose label does not stand in its place is
/// made anew.
std::vector<std::string> header_lines(const rinex::file_header_t& header, const rinex::line_tape_t& tape);

/// The lines of SYS / PHASE SHIFT by phase, under the names of a version.
std::map<std::string, std::string> shift_lines(const rinex::file_header_t& header, int version);

/// Lines of the types of a file.
std::string type_lines(int version, const rinex::type_names_t& columns);

}   // namespace kvx

#endif
