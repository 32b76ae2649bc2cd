#include "fake_kernel.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/gpio.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstring>

extern "C" {
int __real_open(const char* path, int flags, ...);
int __real_close(int fd);
int __real_ioctl(int fd, unsigned long request, ...);
ssize_t __real_write(int fd, const void* data, std::size_t size);
ssize_t __real_read(int fd, void* data, std::size_t size);
int __real_stat(const char* path, struct stat* status);
}

FakeKernel* FakeKernel::active = nullptr;

FakeKernel::~FakeKernel()
{
    active = nullptr;
    for (const int fd : open_descriptors) __real_close(fd);
}

void FakeKernel::fail(int nth, ssize_t result, int error)
{
    m_fail_at = counted + nth;
    m_fail_result = result;
    m_fail_errno = error;
}

bool FakeKernel::fails(const std::string& call, ssize_t& result)
{
    calls.push_back(call);
    if (++counted != m_fail_at) return false;
    result = m_fail_result;
    if (m_fail_errno != 0) errno = m_fail_errno;
    return true;
}

static std::string hex(unsigned long value)
{
    char text[32];
    std::snprintf(text, sizeof text, "0x%lx", value);
    return text;
}

int FakeKernel::descriptor()
{
    const int fd = __real_open("/dev/null", O_RDWR);
    open_descriptors.insert(fd);
    return fd;
}

int FakeKernel::open(const char* path, int access)
{
    static const char* const kAccess[] = {" r", " w", " rw"};
    ssize_t result = 0;
    if (fails("open " + std::string(path) + kAccess[access & O_ACCMODE], result)) return static_cast<int>(result);
    return descriptor();
}

int FakeKernel::close(int fd)
{
    calls.emplace_back("close");
    if (open_descriptors.erase(fd) == 0) stray_closes++;
    __real_close(fd);
    errno = EBADMSG;   // a close may overwrite the errno that is still to be reported
    return 0;
}

int FakeKernel::ioctl(int fd, unsigned long request, void* argument)
{
    ssize_t result = 0;
    if (open_descriptors.count(fd) == 0) return errno = EBADF, -1;
    if (fails("ioctl " + hex(request), result)) return static_cast<int>(result);
    switch (request) {
        case GPIO_GET_LINEHANDLE_IOCTL: {
            auto* wanted = static_cast<gpiohandle_request*>(argument);
            line = wanted->lineoffsets[0];
            flags = wanted->flags;
            gpiohandle_request plain = {};
            plain.lines = 1;
            plain.lineoffsets[0] = line;
            plain.flags = flags;
            cleared = std::memcmp(&plain, wanted, sizeof plain) == 0;
            wanted->fd = descriptor();
            return 0;
        }
        case GPIOHANDLE_SET_LINE_VALUES_IOCTL:
            level = static_cast<gpiohandle_data*>(argument)->values[0];
            return 0;
        case GPIOHANDLE_GET_LINE_VALUES_IOCTL:
            static_cast<gpiohandle_data*>(argument)->values[0] = static_cast<std::uint8_t>(level);
            return 0;
        case I2C_SLAVE:
        case I2C_SLAVE_FORCE:
            slave = reinterpret_cast<unsigned long>(argument);
            if (on_select) on_select();
            return 0;
        case I2C_RDWR:
            return transfer(argument);
        default:
            return errno = ENOTTY, -1;
    }
}

int FakeKernel::transfer(void* argument)
{
    const auto* wanted = static_cast<i2c_rdwr_ioctl_data*>(argument);
    if (wanted->nmsgs > I2C_RDWR_IOCTL_MAX_MSGS) return errno = EINVAL, -1;
    for (std::uint32_t k = 0; k < wanted->nmsgs; k++) {
        const i2c_msg& message = wanted->msgs[k];
        messages.push_back({message.addr, message.flags, message.len, {}});
        if ((message.flags & I2C_M_RD) == 0)
            messages.back().bytes.assign(message.buf, message.buf + message.len);
        else
            std::memset(message.buf, 0x5A, message.len);
    }
    return static_cast<int>(wanted->nmsgs);
}

ssize_t FakeKernel::write(int fd, const void* data, std::size_t size)
{
    ssize_t result = 0;
    if (open_descriptors.count(fd) == 0) return errno = EBADF, -1;
    if (fails("write", result)) return result;
    written.emplace_back(static_cast<const char*>(data), size);
    if (calls.size() > 1 && calls[calls.size() - 2] == "open /sys/class/gpio/export w")
        directories.insert("/sys/class/gpio/gpio" + std::string(written.back().c_str()));
    return static_cast<ssize_t>(size);
}

ssize_t FakeKernel::read(int fd, void* data, std::size_t size)
{
    ssize_t result = 0;
    if (open_descriptors.count(fd) == 0) return errno = EBADF, -1;
    if (fails("read", result)) return result;
    const std::size_t found = std::min(size, to_read.size());
    std::memcpy(data, to_read.data(), found);
    return static_cast<ssize_t>(found);
}

int FakeKernel::stat(const char* path, struct stat* status)
{
    ssize_t result = 0;
    if (fails("stat " + std::string(path), result)) return static_cast<int>(result);
    if (directories.count(path) == 0 && files.count(path) == 0) return errno = ENOENT, -1;
    status->st_mode = directories.count(path) != 0 ? S_IFDIR : S_IFREG;
    return 0;
}

int open_descriptor_count()
{
    DIR* folder = ::opendir("/proc/self/fd");
    int count = 0;
    while (::readdir(folder) != nullptr) count++;
    ::closedir(folder);
    return count;
}

// ---- where the linker sends the calls ----

extern "C" int __wrap_open(const char* path, int flags, ...)
{
    if (FakeKernel::active != nullptr) return FakeKernel::active->open(path, flags);
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return __real_open(path, flags, mode);
}

// What an open with flags unknown to the compiler becomes in a fortified build.
extern "C" int __wrap___open_2(const char* path, int flags)
{
    return __wrap_open(path, flags);
}

extern "C" int __wrap_close(int fd)
{
    return FakeKernel::active != nullptr ? FakeKernel::active->close(fd) : __real_close(fd);
}

extern "C" int __wrap_ioctl(int fd, unsigned long request, void* argument)
{
    return FakeKernel::active != nullptr ? FakeKernel::active->ioctl(fd, request, argument)
                                         : __real_ioctl(fd, request, argument);
}

extern "C" ssize_t __wrap_write(int fd, const void* data, std::size_t size)
{
    return FakeKernel::active != nullptr ? FakeKernel::active->write(fd, data, size) : __real_write(fd, data, size);
}

extern "C" ssize_t __wrap_read(int fd, void* data, std::size_t size)
{
    return FakeKernel::active != nullptr ? FakeKernel::active->read(fd, data, size) : __real_read(fd, data, size);
}

extern "C" int __wrap_stat(const char* path, struct stat* status)
{
    return FakeKernel::active != nullptr ? FakeKernel::active->stat(path, status) : __real_stat(path, status);
}
