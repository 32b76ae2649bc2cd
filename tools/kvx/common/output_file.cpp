#include "common/output_file.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "common/error.h"

namespace kvx {

namespace {

constexpr std::size_t kStreamBuffer = 256 * 1024;

// Names that this run has published, each between NULs; forked processes share them.
const int kClaims = ::memfd_create("kvx-claims", MFD_CLOEXEC);

void lock_claims(short type)
{
    struct flock all {};   // of the process: flock() would not keep forked ones apart
    all.l_type = type;
    all.l_whence = SEEK_SET;
    while (::fcntl(kClaims, F_SETLKW, &all) != 0 && errno == EINTR) {
    }
}

// True the first time that this run asks for the name.
bool claim(const std::string& name)
{
    lock_claims(F_WRLCK);
    struct stat status {};
    ::fstat(kClaims, &status);
    std::string names(static_cast<std::size_t>(status.st_size), '\0');
    (void)!::pread(kClaims, names.data(), names.size(), 0);
    const std::string entry = '\0' + name + '\0';
    const bool first = names.find(entry) == std::string::npos;
    if (first) (void)!::pwrite(kClaims, entry.data(), entry.size(), status.st_size);
    lock_claims(F_UNLCK);
    return first;
}

}   // namespace

output_file_t::output_file_t(const std::string& folder) : folder_(folder), path_(folder + "/.kvx-XXXXXX")
{
    const int fd = ::mkstemp(path_.data());
    if (fd < 0) throw system_error(folder, "creating a file in it");
    const mode_t mask = ::umask(0);
    ::umask(mask);
    ::fchmod(fd, 0666 & ~mask);
    stream_ = ::fdopen(fd, "w+b");
    if (stream_ == nullptr) {
        const int reason = errno;
        ::close(fd);
        ::unlink(path_.c_str());
        errno = reason;
        throw system_error(path_, "opening");
    }
    std::setvbuf(stream_, nullptr, _IOFBF, kStreamBuffer);
}

output_file_t::~output_file_t()
{
    if (stream_ == nullptr) return;
    std::fclose(stream_);
    ::unlink(path_.c_str());
}

void output_file_t::check(const std::string& what)
{
    if (std::fflush(stream_) != 0) throw system_error(folder_, "writing " + what);
    if (std::ferror(stream_) != 0) throw error_t(folder_, "a write failed: is the disk full?", "writing " + what);
}

std::string output_file_t::publish(const std::string& name)
{
    check(name);
    std::string target = folder_ + "/" + name;
    if (!claim(target)) {
        throw error_t(target, "another log of this run has made this file",
                      "give the logs different names with --marker, or convert them one by one with --name");
    }
    const int closed = std::fclose(stream_);
    stream_ = nullptr;
    if (closed != 0 || ::rename(path_.c_str(), target.c_str()) != 0) {
        const int reason = errno;
        ::unlink(path_.c_str());
        errno = reason;
        throw system_error(target, "closing");
    }
    return target;
}

bool is_device(const std::string& path)
{
    const auto type = std::filesystem::status(path).type();
    return type == std::filesystem::file_type::character || type == std::filesystem::file_type::fifo;
}

void make_folder(const std::string& folder)
{
    std::error_code code;
    std::filesystem::create_directories(folder, code);
    if (!std::filesystem::is_directory(folder)) {
        throw error_t(folder, code ? code.message() : "not a folder", "creating the output folder");
    }
}

}   // namespace kvx
