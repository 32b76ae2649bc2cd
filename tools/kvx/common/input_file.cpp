#include "common/input_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>

#include "common/error.h"
#include "common/interrupt.h"

namespace kvx {

namespace {

constexpr std::chrono::milliseconds kLook{200};   // between looks at a file that is followed

int opened(const std::string& path)
{
    return ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
}

}   // namespace

input_file_t::input_file_t(const std::string& path, bool follow)
    : name_(path == "-" ? "standard input" : path), follow_(follow && path != "-")
{
    fd_ = path == "-" ? ::dup(STDIN_FILENO) : opened(path);
    if (fd_ < 0 && errno == EINTR && interrupted()) throw interruption_t(name_, "waiting for its writer");
    if (fd_ < 0) throw system_error(name_, "opening");
    struct stat status {};
    ::fstat(fd_, &status);
    if (S_ISDIR(status.st_mode)) {
        ::close(fd_);
        throw error_t(name_, "is a directory", "name a file in it");
    }
    follow_ = follow_ && (S_ISREG(status.st_mode) || S_ISFIFO(status.st_mode));   // a line that hangs up has ended
    live_ = follow_ || (!S_ISREG(status.st_mode) && !S_ISBLK(status.st_mode));
    if (!live_ && S_ISREG(status.st_mode)) size_ = static_cast<std::uint64_t>(status.st_size);
}

input_file_t::~input_file_t()
{
    ::close(fd_);
}

// Goes on with the file that has the name now, once something stands in it: until then its writer may still be at work
// on the old one.
bool input_file_t::take_successor()
{
    struct stat here {
    }, named{};
    if (::fstat(fd_, &here) != 0 || ::stat(name_.c_str(), &named) != 0) return false;   // renamed, none made yet
    if ((here.st_dev == named.st_dev && here.st_ino == named.st_ino) || named.st_size == 0) return false;
    if (!S_ISREG(named.st_mode) || here.st_size > static_cast<off_t>(position_)) return false;
    const int fd = opened(name_);
    if (fd < 0) return false;
    ::dup3(fd, fd_, O_CLOEXEC);
    ::close(fd);
    position_ = 0;
    std::fprintf(stderr, "kvx: warning: %s is another file now; reading goes on in that one\n", name_.c_str());
    return true;
}

// At the end of a file that is followed.
// @return false: an interrupt came
bool input_file_t::wait_for_growth()
{
    struct stat here {};
    if (::fstat(fd_, &here) != 0 || !S_ISREG(here.st_mode)) return wait_for(kLook);   // a pipe's next writer
    if (here.st_size < static_cast<off_t>(position_)) {
        std::fprintf(stderr, "kvx: warning: %s was cut from %llu bytes to %llu; reading goes on at its beginning\n",
                     name_.c_str(), static_cast<unsigned long long>(position_),
                     static_cast<unsigned long long>(here.st_size));
        position_ = 0;
        return ::lseek(fd_, 0, SEEK_SET) == 0;
    }
    return take_successor() || wait_for(kLook);
}

// Some bytes of the file. Unless it is followed its end is final, though a terminal or a file that grows would give
// more behind it.
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
        if (got == 0 && follow_) {
            wait_for_growth();
            continue;
        }
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
    if (expander_ && follow_) throw error_t(name_, "is compressed", "only plain files can be followed");
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

void demand_file(const std::string& path)
{
    struct stat status {};
    if (::stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode))
        throw error_t(path, "is no file", "it is read twice");
}

}   // namespace kvx
