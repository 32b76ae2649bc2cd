/// @file recorder.h  Who keeps account of what becomes of many logs.
#ifndef KVX_RECORDER_H
#define KVX_RECORDER_H

#include <string>
#include <vector>

#include "common/publish.h"
#include "log/summary.h"

namespace kvx {

/// Is asked and told before the files of a log get their names.
class recorder_t {
public:
    virtual ~recorder_t() = default;

    /// Folder that the names of the files begin at.
    virtual std::string root() const = 0;

    /// Takes the whole files, before any lock is held.
    virtual void look_at(const std::vector<finished_file_t>& files) = 0;

    /// Why the file that is there may not be replaced; empty: it may.
    virtual std::string obstacle(const std::string& path) = 0;

    /// Takes what came of the log. Where it throws the files get no names.
    /// @param paths  of the files that were looked at
    virtual void record(const summary_t& summary, const std::vector<std::string>& paths) = 0;
};

}   // namespace kvx

#endif
