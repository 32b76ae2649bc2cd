#include "common/folder.h"

#include <dirent.h>

#include <algorithm>
#include <cerrno>
#include <memory>

namespace kvx {

std::vector<std::string> names_in(const std::string& folder, int& fault)
{
    std::vector<std::string> names;
    const std::unique_ptr<DIR, int (*)(DIR*)> entries(::opendir(folder.c_str()), ::closedir);
    fault = entries == nullptr ? errno : 0;
    while (entries != nullptr) {
        errno = 0;
        const dirent* const entry = ::readdir(entries.get());
        if (entry == nullptr) {
            fault = errno;
            break;
        }
        const std::string name = entry->d_name;
        if (name != "." && name != "..") names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

bool lies_below(const std::filesystem::path& path)
{
    return !path.is_absolute() && std::find(path.begin(), path.end(), "..") == path.end();
}

}   // namespace kvx
