/// @file file_descriptor.h  An open file of the hardware classes: closed exactly once, on every path.
#ifndef RTK_FILE_DESCRIPTOR_H
#define RTK_FILE_DESCRIPTOR_H

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <utility>

class file_descriptor_t {
public:
    explicit file_descriptor_t(int fd = -1) : fd_(fd) {}
    file_descriptor_t(file_descriptor_t&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    file_descriptor_t& operator=(file_descriptor_t&&) = delete;

    /// The errno of the call that failed is still there afterwards.
    ~file_descriptor_t()
    {
        if (fd_ < 0) return;
        const int reason = errno;
        ::close(fd_);
        errno = reason;
    }

    /// Opens a device for this process alone: a program that the host starts does not inherit it.
    static file_descriptor_t open(const char* path, int access)
    {
        return file_descriptor_t(::open(path, access | O_CLOEXEC));
    }

    explicit operator bool() const { return fd_ >= 0; }
    int get() const { return fd_; }

    /// One write or read of the whole block. A short count brings no errno of its own; it is EIO then.
    bool write(const void* data, std::size_t size) const
    {
        return (errno = EIO, whole(::write(fd_, data, size), size));
    }
    bool read(void* data, std::size_t size) const { return (errno = EIO, whole(::read(fd_, data, size), size)); }

private:
    static bool whole(ssize_t done, std::size_t size) { return done >= 0 && static_cast<std::size_t>(done) == size; }

    int fd_;
};

#endif
