#include "fleet/work_folder.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "common/error.h"
#include "common/folder.h"
#include "common/left_overs.h"
#include "fleet/batch_ledger.h"

namespace kvx {

namespace {

namespace fs = std::filesystem;

constexpr const char* kPrefix = ".kvx-batch-";
constexpr int kMostTries = 100;

// A folder in which a file is locked does not go.
void remove_dead_folders(const std::string& folder)
{
    int fault = 0;
    for (const std::string& name : names_in(folder, fault)) {
        if (!name.starts_with(kPrefix)) continue;
        const std::string dead = (fs::path(folder) / name).string();
        remove_left_overs(dead);
        ::rmdir(dead.c_str());
    }
}

}   // namespace

work_folder_t::work_folder_t(const std::string& folder)
{
    remove_dead_folders(folder);
    for (int tries = 0; keeper_ == nullptr; ++tries) {
        path_ = (fs::path(folder) / kPrefix).string() + "XXXXXX";
        if (::mkdtemp(path_.data()) == nullptr) throw system_error(folder, "creating a folder in it");
        try {
            keeper_ = std::make_unique<output_file_t>(path_, 0);
        } catch (const error_t&) {   // another run may have taken the empty folder for dead
            ::rmdir(path_.c_str());
            if (tries == kMostTries) throw;
        }
    }
}

std::int64_t work_folder_t::made() const
{
    return identity_t::of(keeper_->path(), false).value().modified;
}

work_folder_t::~work_folder_t()
{
    keeper_.reset();
    remove_left_overs(path_);
    ::rmdir(path_.c_str());
}

}   // namespace kvx
