/// @file file_descriptor.h  An open file of the hardware classes: closed exactly once, on every path.
#ifndef RTK_FILE_DESCRIPTOR_H
#define RTK_FILE_DESCRIPTOR_H

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <utility>

class file_descriptor {
public:
    explicit file_descriptor(int fd = -1) : m_fd(fd) {}
    file_descriptor(file_descriptor&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
    file_descriptor& operator=(file_descriptor&&) = delete;

    /// The errno of the call that failed is still there afterwards.
    ~file_descriptor()
    {
        if (m_fd < 0) return;
        const int reason = errno;
        ::close(m_fd);
        errno = reason;
    }

    /// Opens a device for this process alone: a program that the host starts does not inherit it.
    static file_descriptor open(const char* path, int access)
    {
        return file_descriptor(::open(path, access | O_CLOEXEC));
    }

    explicit operator bool() const { return m_fd >= 0; }
    int get() const { return m_fd; }

    /// One write or read of the whole block. A short count brings no errno of its own; it is EIO then.
    bool write(const void* data, std::size_t size) const
    {
        return (errno = EIO, whole(::write(m_fd, data, size), size));
    }
    bool read(void* data, std::size_t size) const { return (errno = EIO, whole(::read(m_fd, data, size), size)); }

private:
    static bool whole(ssize_t done, std::size_t size) { return done >= 0 && static_cast<std::size_t>(done) == size; }

    int m_fd;
};

#endif
