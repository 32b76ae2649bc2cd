/// @file plan.h  The logs of an archive, and what is known of their sites.
#ifndef KVX_PLAN_H
#define KVX_PLAN_H

#include <filesystem>
#include <string>
#include <vector>

#include "convert/convert_options.h"

namespace kvx {

struct planned_log_t {
    std::string path;                         ///< absolute
    std::string marker, country;              ///< empty: as the command line says
    std::vector<header_setting_t> settings;   ///< header lines beside those of the command line
    std::string fault;                        ///< why it cannot be read; empty: not known

    bool operator==(const planned_log_t&) const = default;
};

/// A path from the root on, without parts that are "."; what ".." means only the file system knows.
std::string absolute_path(const std::filesystem::path& path);

/// The lines of a list: the path of a log; behind it, each behind a tab, its marker, its country and header lines as
/// --set takes them, any of which may be empty. What begins with # is none.
/// @param list  its path, - is standard input
/// @throws error_t  also when a log stands there twice and differs
std::vector<planned_log_t> read_list(const std::string& list);

/// The files of a folder and of those below it, but for hidden ones; and the folders that cannot be read.
/// @param match  pattern of the files' names: "*.log"
std::vector<planned_log_t> logs_below(const std::string& folder, const std::string& match);

}   // namespace kvx

#endif
