/// @file work_folder.h  Where the files of a batch are until they are whole.
#ifndef KVX_WORK_FOLDER_H
#define KVX_WORK_FOLDER_H

#include <cstdint>
#include <memory>
#include <string>

#include "common/output_file.h"

namespace kvx {

/// A hidden folder below that of the files, of one run. Goes with it; what killed runs left is removed by the next one.
class work_folder_t {
public:
    /// @throws error_t
    explicit work_folder_t(const std::string& folder);
    ~work_folder_t();
    work_folder_t(const work_folder_t&) = delete;
    work_folder_t& operator=(const work_folder_t&) = delete;

    const std::string& path() const { return path_; }
    std::int64_t made() const;   ///< ns since 1970, by the clock of the file system

private:
    std::string path_;
    std::unique_ptr<output_file_t> keeper_;   // as long as it is locked nobody takes the folder for a left-over
};

}   // namespace kvx

#endif
