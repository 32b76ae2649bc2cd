#include "fake_kernel.h"

#include <fcntl.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>

extern "C" {
int __real_open(const char* path, int flags, mode_t mode);
int __real_close(int fd);
int __real_ioctl(int fd, unsigned long request, void* argument);
ssize_t __real_write(int fd, const void* data, std::size_t size);
ssize_t __real_read(int fd, void* data, std::size_t size);
int __real_stat(const char* path, struct stat* status);
}

FakeKernel* FakeKernel::active = nullptr;

FakeKernel::~FakeKernel()
{
    active = nullptr;
    for (const int fd : m_descriptors) __real_close(fd);
}

void FakeKernel::fail(std::size_t nth, ssize_t result, int error)
{
    m_fail_at = m_counted + nth;
    m_fail_result = result;
    m_fail_errno = error;
}

std::optional<ssize_t> FakeKernel::failure(const std::string& call, std::optional<int> fd)
{
    if (fd && m_descriptors.count(*fd) == 0) return errno = EBADF, -1;
    calls.push_back(call);
    if (++m_counted != m_fail_at) return {};
    if (m_fail_errno != 0) errno = m_fail_errno;
    return m_fail_result;
}

int FakeKernel::descriptor()
{
    return *m_descriptors.insert(__real_open("/dev/null", O_RDWR, 0)).first;
}

int FakeKernel::open(const char* path, int access)
{
    static const char* const kAccess[] = {" r", " w", " rw"};
    if (const auto failed = failure("open " + std::string(path) + kAccess[access & O_ACCMODE])) return int(*failed);
    return descriptor();
}

int FakeKernel::close(int fd)
{
    calls.emplace_back("close");
    m_stray_close = m_stray_close || m_descriptors.erase(fd) == 0;
    __real_close(fd);
    errno = EBADMSG;   // a close may overwrite the errno that is still to be reported
    return 0;
}

int FakeKernel::ioctl(int fd, unsigned long call, void* argument)
{
    char name[32];
    std::snprintf(name, sizeof name, "ioctl 0x%lx", call);
    if (const auto failed = failure(name, fd)) return int(*failed);
    switch (call) {
        case GPIO_GET_LINEHANDLE_IOCTL:
            request = *static_cast<gpiohandle_request*>(argument);
            return static_cast<gpiohandle_request*>(argument)->fd = descriptor(), 0;
        case GPIOHANDLE_SET_LINE_VALUES_IOCTL:
            level = static_cast<gpiohandle_data*>(argument)->values[0];
            return 0;
        case GPIOHANDLE_GET_LINE_VALUES_IOCTL:
            static_cast<gpiohandle_data*>(argument)->values[0] = static_cast<std::uint8_t>(level);
            return 0;
        case I2C_SLAVE:
        case I2C_SLAVE_FORCE:
            slave = reinterpret_cast<unsigned long>(argument);
            on_select();
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
    if (const auto failed = failure("write", fd)) return *failed;
    written.emplace_back(static_cast<const char*>(data), size);
    if (calls.size() > 1 && calls[calls.size() - 2] == "open /sys/class/gpio/export w")
        paths["/sys/class/gpio/gpio" + std::string(written.back().c_str())] = S_IFDIR;
    return static_cast<ssize_t>(size);
}

ssize_t FakeKernel::read(int fd, void* data, std::size_t size)
{
    if (const auto failed = failure("read", fd)) return *failed;
    return static_cast<ssize_t>(to_read.copy(static_cast<char*>(data), size));
}

int FakeKernel::stat(const char* path, struct stat* status)
{
    if (const auto failed = failure("stat " + std::string(path))) return int(*failed);
    if (paths.count(path) == 0) return errno = ENOENT, -1;
    status->st_mode = paths[path];
    return 0;
}

int open_descriptor_count()
{
    const std::filesystem::directory_iterator folder("/proc/self/fd");
    return static_cast<int>(std::distance(begin(folder), end(folder)));
}

// ---- where the linker sends the calls ----

extern "C" {
int __wrap_open(const char* path, int flags, mode_t mode)
{
    return FakeKernel::active ? FakeKernel::active->open(path, flags) : __real_open(path, flags, mode);
}

// What an open with flags unknown to the compiler becomes in a fortified build.
int __wrap___open_2(const char* path, int flags)
{
    return __wrap_open(path, flags, 0);
}

int __wrap_close(int fd)
{
    return FakeKernel::active ? FakeKernel::active->close(fd) : __real_close(fd);
}

int __wrap_ioctl(int fd, unsigned long call, void* argument)
{
    return FakeKernel::active ? FakeKernel::active->ioctl(fd, call, argument) : __real_ioctl(fd, call, argument);
}

ssize_t __wrap_write(int fd, const void* data, std::size_t size)
{
    return FakeKernel::active ? FakeKernel::active->write(fd, data, size) : __real_write(fd, data, size);
}

ssize_t __wrap_read(int fd, void* data, std::size_t size)
{
    return FakeKernel::active ? FakeKernel::active->read(fd, data, size) : __real_read(fd, data, size);
}

int __wrap_stat(const char* path, struct stat* status)
{
    return FakeKernel::active ? FakeKernel::active->stat(path, status) : __real_stat(path, status);
}
}
