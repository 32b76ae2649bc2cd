#include "common/input_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "common/error.h"
#include "common/interrupt.h"

namespace kvx {

input_file_t::input_file_t(const std::string& path) : name_(path == "-" ? "standard input" : path)
{
    fd_ = path == "-" ? ::dup(STDIN_FILENO) : ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
    if (fd_ < 0 && errno == EINTR && interrupted()) throw interruption_t(name_, "waiting for its writer");
    if (fd_ < 0) throw system_error(name_, "opening");
    struct stat status {};
    ::fstat(fd_, &status);
    if (S_ISDIR(status.st_mode)) {
        ::close(fd_);
        throw error_t(name_, "is a directory", "name a file in it");
    }
    live_ = !S_ISREG(status.st_mode) && !S_ISBLK(status.st_mode);
    if (S_ISREG(status.st_mode)) size_ = static_cast<std::uint64_t>(status.st_size);
}

input_file_t::~input_file_t()
{
    ::close(fd_);
}

// Some bytes of the file. Its end is final, though a terminal or a file that grows would give more behind it.
std::size_t input_file_t::read_descriptor(std::uint8_t* to, std::size_t n)
{
    while (!at_end_ && n > 0) {
        if (interrupted() || (live_ && !wait_for_input(fd_))) {
            at_end_ = ended_by_signal_ = true;
            break;
        }
        const ssize_t got = ::read(fd_, to, n);
        if (got > 0) {
            position_ += static_cast<std::uint64_t>(got);
            return static_cast<std::size_t>(got);
        }
        if (got < 0 && (errno == EINTR || errno == EAGAIN)) continue;
        at_end_ = true;
        if (got == 0) break;
        if (position_ == 0) throw system_error(name_, "reading");
        read_error_ = "read error at byte " + std::to_string(position_) + ": " + std::strerror(errno);
    }
    return 0;
}

// Reads no further than it takes to know that the file is plain.
void input_file_t::begin()
{
    begun_ = true;
    for (std::size_t got = 1; got > 0 && head_size_ < head_.size() && may_be_compressed({head_.data(), head_size_});
         head_size_ += got)
        got = read_descriptor(head_.data() + head_size_, head_.size() - head_size_);
    expander_ = make_expander([this](std::uint8_t* to, std::size_t n) { return read_descriptor(to, n); },
                              {head_.data(), head_size_});
}

std::size_t input_file_t::read_some(std::uint8_t* to, std::size_t n)
{
    if (!begun_) begin();
    if (expander_) return expander_->read_some(to, n);
    if (head_used_ == head_size_) return read_descriptor(to, n);
    const std::size_t first = std::min(n, head_size_ - head_used_);
    std::copy_n(head_.begin() + head_used_, first, to);
    head_used_ += first;
    return live_ ? first : first + read_descriptor(to + first, n - first);   // so that later reads begin at pages
}

std::size_t input_file_t::read(std::uint8_t* to, std::size_t n)
{
    std::size_t done = 0;
    for (std::size_t got = 1; got > 0 && done < n; done += got) got = read_some(to + done, n - done);
    return done;
}

std::size_t input_file_t::read_at(std::uint64_t offset, std::uint8_t* to, std::size_t n)
{
    if (live_) return 0;
    if (!begun_) begin();
    const ssize_t got = expander_ ? 0 : ::pread(fd_, to, n, static_cast<off_t>(offset));
    return got > 0 ? static_cast<std::size_t>(got) : 0;
}

const std::string& input_file_t::damage() const
{
    // That the signal cut off compressed data is no fault of theirs.
    return read_error_.empty() && expander_ && !ended_by_signal_ ? expander_->damage() : read_error_;
}

std::uint64_t input_file_t::position_on_disk() const
{
    return position_ - (expander_ ? expander_->in_hand() : 0);
}

}   // namespace kvx
