#include "common/output_file.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <utility>

#include "common/error.h"
#include "common/left_overs.h"

namespace kvx {

namespace {

std::FILE* stream_of(int fd)
{
    const int own = ::fcntl(fd, F_DUPFD_CLOEXEC, 0);
    std::FILE* stream = own < 0 ? nullptr : ::fdopen(own, "w+b");
    if (stream == nullptr && own >= 0) ::close(own);
    return stream;
}

}   // namespace

output_file_t::output_file_t(const std::string& folder, std::size_t buffer)
    : folder_(folder), buffer_(std::make_unique_for_overwrite<char[]>(buffer))
{
    remove_left_overs_once(folder);
    lock_ = make_temporary(folder, path_);
    const mode_t mask = ::umask(0);
    ::umask(mask);
    ::fchmod(lock_, 0666 & ~mask);
    stream_ = stream_of(lock_);
    if (stream_ == nullptr) {
        const int reason = errno;
        ::unlink(path_.c_str());
        ::close(lock_);
        errno = reason;
        throw system_error(path_, "opening");
    }
    std::setvbuf(stream_, buffer_.get(), buffer == 0 ? _IONBF : _IOFBF, buffer);
}

output_file_t::~output_file_t()
{
    if (stream_ != nullptr) std::fclose(stream_);
    if (!path_.empty()) ::unlink(path_.c_str());
    ::close(lock_);
}

std::uint64_t output_file_t::size() const
{
    struct stat status {};
    return ::fstat(lock_, &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
}

void output_file_t::check(const std::string& what)
{
    if (std::fflush(stream_) != 0) throw system_error(folder_, "writing " + what);
    if (std::ferror(stream_) != 0) throw error_t(folder_, "a write failed: is the disk full?", "writing " + what);
}

void output_file_t::seek(std::int64_t offset)
{
    if (::fseeko(stream_, offset, SEEK_SET) != 0) throw system_error(path_, "going to byte " + std::to_string(offset));
}

void output_file_t::close(const std::string& what)
{
    if (stream_ == nullptr) return;
    check(what);
    if (!is_on_disk(lock_)) throw system_error(folder_, "writing " + what);
    if (std::fclose(std::exchange(stream_, nullptr)) != 0) throw system_error(folder_, "closing " + what);
    buffer_.reset();
}

bool is_on_disk(int fd)
{
    int result = 0;
    do {
        result = ::fsync(fd);
    } while (result != 0 && errno == EINTR);
    return result == 0 || errno == EINVAL || errno == EROFS || errno == ENOTSUP;
}

bool is_device(const std::string& path)
{
    const auto type = std::filesystem::status(path).type();
    return type == std::filesystem::file_type::character || type == std::filesystem::file_type::fifo;
}

void allow_many_files()
{
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
    limit.rlim_cur = limit.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &limit);
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
