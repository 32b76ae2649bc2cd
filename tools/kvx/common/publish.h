/// @file publish.h  How finished files get their names: all of them or none, and none in the place of what is not
/// theirs.
#ifndef KVX_PUBLISH_H
#define KVX_PUBLISH_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "common/output_file.h"

namespace kvx {

/// A whole file that waits for its name.
struct finished_file_t {
    std::unique_ptr<output_file_t> file;
    std::string name;
};

/// Begins a run that makes files from these inputs; processes that it forks afterwards belong to it. No file takes the
/// place of an input, and no two files of the run have one name.
/// @param inputs  paths; - is standard input
/// @throws error_t
void begin_run(const std::vector<std::string>& inputs);

/// Asks whether a file may have this path: it is no input and no directory, and free, or what is there may be replaced.
/// @throws error_t when it may not
void demand_free(const std::string& path, bool replace);

/// Which names may be had.
struct claim_t {
    bool replace = false;   ///< older files may be replaced, others of this run may not
    bool live = false;   ///< the files came of what cannot be read again: where a name is taken they get numbers behind
                         ///< their names, and the error tells them
    std::string root =
        {};   ///< folder that names begin at, with folders in them that are made; empty: that of each file
    /// Why what is at this path may not be replaced, in the place of what replace says; empty: it may.
    std::function<std::string(const std::string& path)> foreign = {};
    /// Called when all names may be had. Where it throws no file gets its own.
    std::function<void(const std::vector<std::string>& paths)> before = {};
};

/// Gives the files of one result their names, when all of these may be had.
/// @return paths
/// @throws error_t none has its name then, but for what a failure in the middle has replaced; or they have all, and
///         whether that is on the disk is not known
std::vector<std::string> publish(const std::vector<finished_file_t>& files, const claim_t& claim);

/// Gives the files of one result their names. Where one of these is taken all get numbers, the first that is free.
/// @param numbered  a name with a number, from 2 on
/// @return paths
std::vector<std::string> publish_beside(
    const std::vector<finished_file_t>& files,
    const std::function<std::string(const std::string& name, int number)>& numbered);

/// publish() for a single file.
std::string publish(std::unique_ptr<output_file_t> file, const std::string& name, bool replace);

}   // namespace kvx

#endif
