// What is dead is told by a lock: it ends with its holder, however that one ends, and means the same in every
// container that shares the folder, which no process id does.
#include "common/left_overs.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <set>
#include <string_view>

#include "common/error.h"

namespace kvx {

namespace {

constexpr std::string_view kPrefix = ".kvx-";
constexpr std::size_t kRandom = 6;   // letters and digits behind it, as mkostemp() makes them
constexpr int kMostTries = 100;

bool is_temporary_name(std::string_view name)
{
    const auto made = [](char c) { return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); };
    return name.size() == kPrefix.size() + kRandom && name.starts_with(kPrefix) &&
           std::all_of(name.begin() + kPrefix.size(), name.end(), made);
}

// Whether the name still is that of the open file.
enum class named_t { yes, no, unknown };
named_t is_named(int folder, const char* name, int fd)
{
    struct stat of_name {
    }, of_file{};
    if (::fstatat(folder, name, &of_name, AT_SYMLINK_NOFOLLOW) != 0)
        return errno == ENOENT ? named_t::no : named_t::unknown;
    if (::fstat(fd, &of_file) != 0) return named_t::unknown;
    return of_name.st_dev == of_file.st_dev && of_name.st_ino == of_file.st_ino ? named_t::yes : named_t::no;
}

// Until it is locked a new file looks like a left-over: who is removing those may hold it, or has removed it.
bool is_ours(int fd, const std::string& path)
{
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) return errno != EWOULDBLOCK;   // without locks nobody removes it
    return is_named(AT_FDCWD, path.c_str(), fd) != named_t::no;
}

void remove_if_dead(int folder, const char* name)
{
    struct stat status {};
    if (::fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISREG(status.st_mode)) return;
    const int fd = ::openat(folder, name, O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) return;
    if (::flock(fd, LOCK_EX | LOCK_NB) == 0 && is_named(folder, name, fd) == named_t::yes) ::unlinkat(folder, name, 0);
    ::close(fd);
}

}   // namespace

int make_temporary(const std::string& folder, std::string& path)
{
    for (int tries = 0; tries < kMostTries; ++tries) {
        path = folder + "/" + std::string(kPrefix) + std::string(kRandom, 'X');
        const int fd = ::mkostemp(path.data(), O_CLOEXEC);
        if (fd < 0) throw system_error(folder, "creating a file in it");
        if (is_ours(fd, path)) return fd;
        ::close(fd);
    }
    throw error_t(folder, "new files are taken away at once", "creating a file in it");
}

void remove_left_overs(const std::string& folder)
{
    const std::unique_ptr<DIR, int (*)(DIR*)> entries(::opendir(folder.c_str()), ::closedir);
    if (entries == nullptr) return;
    while (const dirent* entry = ::readdir(entries.get())) {
        if (is_temporary_name(entry->d_name)) remove_if_dead(::dirfd(entries.get()), entry->d_name);
    }
}

void remove_left_overs_once(const std::string& folder)
{
    static std::set<std::string> looked_at;
    if (looked_at.insert(folder).second) remove_left_overs(folder);
}

}   // namespace kvx
