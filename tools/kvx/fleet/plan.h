/// @file plan.h  The logs of an archive, and what is known of their sites.
#ifndef KVX_PLAN_H
#define KVX_PLAN_H

#include <string>
#include <vector>

namespace kvx {

struct planned_log_t {
    std::string path;              ///< absolute
    std::string dir;               ///< folder below the one that was named; of a list the name of the log's own
    std::string marker, country;   ///< empty: as the command line says
};

/// The lines of a list: a path, or path, marker and country between tabs. What begins with # is none. Each log once.
/// @param list  its path, - is standard input
/// @throws error_t
std::vector<planned_log_t> read_list(const std::string& list);

/// The files of a folder and of those below it, but for hidden ones.
/// @param match  pattern of their names: "*.log"
/// @throws error_t
std::vector<planned_log_t> logs_below(const std::string& folder, const std::string& match);

}   // namespace kvx

#endif
