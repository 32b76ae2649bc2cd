#include "common/input_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>

#include "common/error.h"
#include "common/interrupt.h"

namespace kvx {

namespace {
constexpr unsigned kPiece = 8 * 1024;   // what a damaged place of a compressed log costs at most, twice over
}

input_file_t::input_file_t(const std::string& path) : name_(path == "-" ? "standard input" : path)
{
    fd_ = path == "-" ? ::dup(STDIN_FILENO) : ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd_ < 0) throw system_error(name_, "opening");
    struct stat status {};
    ::fstat(fd_, &status);
    if (S_ISDIR(status.st_mode)) {
        ::close(fd_);
        throw error_t(name_, "is a directory", "name a file in it");
    }
    if (S_ISREG(status.st_mode)) size_ = static_cast<std::uint64_t>(status.st_size);
    file_ = gzdopen(fd_, "rb");
    if (file_ == nullptr) {
        ::close(fd_);
        throw error_t(name_, "out of memory", "opening");
    }
    gzbuffer(file_, kPiece);
}

input_file_t::~input_file_t()
{
    gzclose_r(file_);
}

std::size_t input_file_t::read(std::uint8_t* to, std::size_t n)
{
    if (!damage_.empty() || interrupted()) return 0;
    std::size_t done = 0;
    for (int got = 1; !plain_ && done < n && got > 0; done += got > 0 ? static_cast<std::size_t>(got) : 0) {
        got = gzread(file_, to + done, static_cast<unsigned>(std::min<std::size_t>(kPiece, n - done)));
        // To tell what the file is zlib has looked one piece ahead. Behind that a plain file is read without zlib,
        // which forgets what a read has brought when the next one is interrupted.
        plain_ = !begun_ && got == static_cast<int>(kPiece) && gzdirect(file_) != 0;
        begun_ = true;
    }
    if (plain_) return done + read_plain(to + done, n - done);
    if (done == n) return n;

    int code = Z_OK;
    gzerror(file_, &code);
    if (code == Z_ERRNO && errno == EINTR) return done;   // the end, by request
    if (code == Z_ERRNO) throw system_error(name_, "reading");
    if (code == Z_MEM_ERROR) throw error_t(name_, "out of memory", "reading");
    if (code != Z_OK && code != Z_STREAM_END) {
        damage_ = code == Z_BUF_ERROR ? "the compressed file ends too early" : "the compressed data are damaged";
    }
    return done;
}

std::size_t input_file_t::read_plain(std::uint8_t* to, std::size_t n)
{
    std::size_t done = 0;
    while (done < n && !interrupted()) {
        const ssize_t got = ::read(fd_, to + done, n - done);
        if (got < 0 && errno != EINTR) throw system_error(name_, "reading");
        if (got <= 0) break;   // the end, or the end by request
        done += static_cast<std::size_t>(got);
    }
    return done;
}

bool input_file_t::compressed() const
{
    return !plain_ && gzdirect(file_) == 0;
}

std::uint64_t input_file_t::position_on_disk() const
{
    const z_off_t at = gzoffset(file_);
    return at > 0 ? static_cast<std::uint64_t>(at) : 0;
}

}   // namespace kvx
