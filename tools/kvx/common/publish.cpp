#include "common/publish.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <set>
#include <utility>

#include "common/error.h"

namespace kvx {

namespace {

using identity_t = std::pair<dev_t, ino_t>;

std::vector<identity_t> g_inputs;   // in order

bool is_input(const struct stat& status)
{
    return std::binary_search(g_inputs.begin(), g_inputs.end(), identity_t(status.st_dev, status.st_ino));
}

// The paths of the files that the run has made, in memory that forked processes share: a table of the first entry with
// each hash, and entries that each tell the next one, so that a run of many logs searches none but these. While one
// process holds the object the others wait.
class made_files_t {
public:
    bool contain(const std::string& path) const
    {
        const std::string name = full_name(path);
        entry_t entry{};
        for (std::uint64_t at = first_with(name); at != 0; at = entry.next) {
            read(&entry, sizeof entry, at);
            if (entry.size != name.size()) continue;
            std::string other(name.size(), '\0');
            read(other.data(), other.size(), at + sizeof entry);
            if (other == name) return true;
        }
        return false;
    }

    void add(const std::string& path)
    {
        const std::string name = full_name(path);
        struct stat status {};
        if (::fstat(memory(), &status) != 0) throw failure();
        const std::uint64_t at = std::max<std::uint64_t>(static_cast<std::uint64_t>(status.st_size), kTableSize);
        const entry_t entry{first_with(name), name.size()};
        write(&entry, sizeof entry, at);
        write(name.data(), name.size(), at + sizeof entry);
        write(&at, sizeof at, place_of(name));
    }

    static int memory()
    {
        static const int fd = ::memfd_create("kvx-made", MFD_CLOEXEC);
        return fd;
    }

    static error_t failure() { return system_error("the names of this run's files", "keeping them in memory"); }

private:
    struct entry_t {   // its name behind it
        std::uint64_t next;
        std::uint64_t size;
    };
    static constexpr std::uint64_t kPlaces = 16384;
    static constexpr std::uint64_t kTableSize = kPlaces * sizeof(std::uint64_t);

    static std::string full_name(const std::string& path)
    {
        const std::filesystem::path p(path);   // a folder may be spelled in many ways
        return (std::filesystem::canonical(p.parent_path()) / p.filename()).string();
    }

    static std::uint64_t place_of(const std::string& name)
    {
        return std::hash<std::string>{}(name) % kPlaces * sizeof(std::uint64_t);
    }

    static std::uint64_t first_with(const std::string& name)
    {
        std::uint64_t at = 0;
        if (::pread(memory(), &at, sizeof at, static_cast<off_t>(place_of(name))) < 0) throw failure();
        return at;   // 0 too where nothing has been written yet
    }

    static void read(void* to, std::size_t n, std::uint64_t at)
    {
        if (::pread(memory(), to, n, static_cast<off_t>(at)) != static_cast<ssize_t>(n)) throw failure();
    }

    static void write(const void* from, std::size_t n, std::uint64_t at)
    {
        if (::pwrite(memory(), from, n, static_cast<off_t>(at)) != static_cast<ssize_t>(n)) throw failure();
    }

    struct lock_t {
        lock_t() { set(F_WRLCK); }
        ~lock_t() { set(F_UNLCK); }
        lock_t(const lock_t&) = delete;
        lock_t& operator=(const lock_t&) = delete;

        static void set(short type)
        {
            struct flock all {};   // of the process: flock() would not keep forked ones apart
            all.l_type = type;
            all.l_whence = SEEK_SET;
            while (::fcntl(memory(), F_SETLKW, &all) != 0 && errno == EINTR) {
            }
        }
    };

    lock_t lock_;
};

constexpr const char* kForceReplaces = "--force replaces it";

class taken_t : public error_t {
public:
    explicit taken_t(std::string path, const std::string& where, const std::string& by = "exists already")
        : error_t(path, by, where), path_(std::move(path))
    {}
    const std::string& path() const { return path_; }

private:
    std::string path_;
};

// Without a look beforehand, between which and the renaming another program could make the file.
int rename_to_free(const std::string& from, const std::string& to)
{
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return 0;
    if (errno != EINVAL && errno != ENOSYS) return -1;
    if (::link(from.c_str(), to.c_str()) == 0) {
        ::unlink(from.c_str());
        return 0;
    }
    if (errno == EEXIST) return -1;
    struct stat status {};   // nor has it hard links: to look is all that is left
    if (::lstat(to.c_str(), &status) != 0) return ::rename(from.c_str(), to.c_str());
    errno = EEXIST;
    return -1;
}

void name_file(output_file_t& file, const std::string& path, const std::string& obstacle)
{
    const int result =
        obstacle.empty() ? ::rename(file.path().c_str(), path.c_str()) : rename_to_free(file.path(), path);
    if (result != 0 && errno == EEXIST && !obstacle.empty()) throw taken_t(path, obstacle);
    if (result != 0) throw system_error(path, "giving the file its name");
    file.keep();
}

// A folder that cannot be opened for reading takes files all the same.
void settle_folder(const std::string& folder)
{
    const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return;
    const bool settled = is_on_disk(fd);
    const int reason = errno;
    ::close(fd);
    errno = reason;
    if (!settled) throw system_error(folder, "writing the folder");
}

// Where there is an obstacle to replace what is there it must be free.
void demand_path(const std::string& path, const std::string& obstacle)
{
    struct stat status {};
    if (::stat(path.c_str(), &status) == 0) {
        if (is_input(status)) throw error_t(path, "is an input of this run", "choose another name or folder");
        if (S_ISDIR(status.st_mode)) throw error_t(path, "is a directory", "choose another name or folder");
    }
    if (!obstacle.empty() && ::lstat(path.c_str(), &status) == 0) throw taken_t(path, obstacle);
}

void name_all(const std::vector<finished_file_t>& files, const std::vector<std::string>& paths, const claim_t& claim)
{
    const auto obstacle = [&claim](const std::string& path) -> std::string {
        if (claim.foreign) return claim.foreign(path);
        return claim.replace ? "" : kForceReplaces;
    };
    for (const std::string& path : paths) {
        if (!claim.root.empty()) make_folder(std::filesystem::path(path).parent_path().string());
    }
    made_files_t made;
    std::vector<std::string> obstacles;
    for (const std::string& path : paths) {
        if (made.contain(path))
            throw taken_t(path, "give the logs different names with --marker, or convert them one by one with --name",
                          "another log of this run has made this file");
        demand_path(path, obstacles.emplace_back(obstacle(path)));
    }
    if (claim.before) claim.before(paths);
    std::size_t named = 0;
    try {
        for (; named < files.size(); ++named) name_file(*files[named].file, paths[named], obstacles[named]);
        for (const std::string& path : paths) made.add(path);
    } catch (...) {
        for (std::size_t i = 0; i < named; ++i) {
            if (!obstacles[i].empty()) ::unlink(paths[i].c_str());
        }
        throw;
    }
}

using numbered_t = std::function<std::string(const std::string& name, int number)>;

std::vector<std::string> name_beside(const std::vector<finished_file_t>& files, const numbered_t& numbered)
{
    constexpr int kMost = 10000;
    for (int number = 2;; ++number) {
        std::vector<std::string> paths;
        paths.reserve(files.size());
        for (const auto& [file, name] : files) paths.push_back(file->folder() + "/" + numbered(name, number));
        try {
            name_all(files, paths, {});
            return paths;
        } catch (const taken_t&) {
            if (number == kMost) throw;
        }
    }
}

std::string with_number_behind(const std::string& name, int number)
{
    return name + "." + std::to_string(number);
}

// Closed files, and where they are to be.
std::vector<std::string> paths_of(const std::vector<finished_file_t>& files, const std::string& root)
{
    std::vector<std::string> paths;
    for (const auto& [file, name] : files) {
        file->close(name);
        paths.push_back((std::filesystem::path(root.empty() ? file->folder() : root) / name).string());
    }
    return paths;
}

void settle_folders(const std::vector<std::string>& paths)
{
    std::set<std::string> folders;
    for (const std::string& path : paths) folders.insert(std::filesystem::path(path).parent_path().string());
    for (const std::string& folder : folders) settle_folder(folder);
}

}   // namespace

void begin_run(const std::vector<std::string>& inputs)
{
    if (made_files_t::memory() < 0) throw made_files_t::failure();
    for (const std::string& path : inputs) {
        struct stat status {};
        const bool there = (path == "-" ? ::fstat(STDIN_FILENO, &status) : ::stat(path.c_str(), &status)) == 0;
        if (there) g_inputs.emplace_back(status.st_dev, status.st_ino);
    }
    std::sort(g_inputs.begin(), g_inputs.end());
}

void demand_free(const std::string& path, bool replace)
{
    demand_path(path, replace ? "" : kForceReplaces);
}

std::vector<std::string> publish(const std::vector<finished_file_t>& files, const claim_t& claim)
{
    std::vector<std::string> paths = paths_of(files, claim.root);
    try {
        name_all(files, paths, claim);
    } catch (const taken_t& e) {
        if (!claim.live) throw;
        const std::vector<std::string> beside = name_beside(files, with_number_behind);
        throw taken_t(e.path(), "what was recorded is in " + beside.front());
    }
    settle_folders(paths);
    return paths;
}

std::vector<std::string> publish_beside(const std::vector<finished_file_t>& files, const numbered_t& numbered)
{
    std::vector<std::string> paths = paths_of(files, "");
    try {
        name_all(files, paths, {});
    } catch (const taken_t&) {
        paths = name_beside(files, numbered);
    }
    settle_folders(paths);
    return paths;
}

std::string publish(std::unique_ptr<output_file_t> file, const std::string& name, bool replace)
{
    std::vector<finished_file_t> files;
    files.push_back({std::move(file), name});
    return publish(files, {.replace = replace}).front();
}

}   // namespace kvx
