#include "log_source.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include "error.h"

namespace kvx {

LogSource::LogSource(const std::string& path) : name_(path == "-" ? "standard input" : path)
{
    const int fd = path == "-" ? ::dup(STDIN_FILENO) : ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) throw system_error(name_, "opening the log");
    struct stat status {};
    ::fstat(fd, &status);
    if (S_ISDIR(status.st_mode)) {
        ::close(fd);
        throw Error(name_, "is a directory", "name the logs in it");
    }
    if (S_ISREG(status.st_mode)) size_ = static_cast<std::uint64_t>(status.st_size);
    file_ = gzdopen(fd, "rb");
    if (file_ == nullptr) {
        ::close(fd);
        throw Error(name_, "out of memory", "opening the log");
    }
    gzbuffer(file_, 256 * 1024);
}

LogSource::~LogSource()
{
    gzclose_r(file_);
}

std::size_t LogSource::read(std::uint8_t* to, std::size_t n)
{
    if (!damage_.empty()) return 0;
    const int got = gzread(file_, to, static_cast<unsigned>(n));
    if (got == static_cast<int>(n)) return n;

    int code = Z_OK;
    const char* text = gzerror(file_, &code);
    if (code == Z_ERRNO && errno == EINTR) return got > 0 ? static_cast<std::size_t>(got) : 0;   // the end, by request
    if (code == Z_ERRNO) throw system_error(name_, "reading the log");
    if (code == Z_OK || code == Z_STREAM_END) return got > 0 ? static_cast<std::size_t>(got) : 0;
    damage_ = code == Z_BUF_ERROR ? "the compressed file ends too early" : text;
    return got > 0 ? static_cast<std::size_t>(got) : 0;
}

std::uint64_t LogSource::position_on_disk() const
{
    const z_off_t at = gzoffset(file_);
    return at > 0 ? static_cast<std::uint64_t>(at) : 0;
}

}   // namespace kvx
