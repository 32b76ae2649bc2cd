#include "fake_kernel.h"

#include <fcntl.h>
#include <linux/gpio.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "failing_new.h"

FakeKernel* FakeKernel::active = nullptr;

namespace {

std::string hex(const void* data, std::size_t size)
{
    constexpr std::size_t kShown = 16;
    std::string text;
    for (std::size_t k = 0; k < std::min(size, kShown); ++k) {
        char digits[4];
        std::snprintf(digits, sizeof digits, " %02x", static_cast<const unsigned char*>(data)[k]);
        text += digits;
    }
    return text + (size > kShown ? " ... " + std::to_string(size) + " bytes" : "");
}

}   // namespace

FakeKernel::~FakeKernel()
{
    active = nullptr;
    fail_allocation(-1);
}

void FakeKernel::fail(int nth, ssize_t result, int error)
{
    fail_at_ = nth;
    fail_result_ = result;
    fail_errno_ = error;
}

std::optional<ssize_t> FakeKernel::failure(const std::string& call, std::optional<int> fd)
{
    if (fd && descriptors_.count(*fd) == 0) return errno = EBADF, -1;
    account += "  " + call + "\n";
    if (++counted_ != fail_at_) return {};
    failed_ = call;
    if (fail_errno_ != 0) errno = fail_errno_;
    return fail_result_;
}

int FakeKernel::open(const char* path, int access)
{
    static const char* const kAccess[] = {"r", "w", "rw"};
    const std::string how = kAccess[access & O_ACCMODE] + std::string(access & O_CLOEXEC ? "" : ", inherited");
    if (const auto failed = failure("open " + std::string(path).substr(0, 40) + " " + how)) return int(*failed);
    return *descriptors_.insert(next_descriptor_++).first;
}

int FakeKernel::close(int fd)
{
    account += "  close\n";
    stray_close_ = stray_close_ || descriptors_.erase(fd) == 0;
    errno = EBADMSG;   // a close may overwrite the errno that is still to be reported
    return 0;
}

int FakeKernel::ioctl(int fd, unsigned long call, void* argument)
{
    const auto number = reinterpret_cast<std::uintptr_t>(argument);
    const auto* data = static_cast<gpiohandle_data*>(argument);
    std::string name;
    if (call == GPIO_GET_LINEHANDLE_IOCTL) name = "get line handle";
    if (call == GPIOHANDLE_SET_LINE_VALUES_IOCTL) name = "set line values" + hex(data, 2);
    if (call == GPIOHANDLE_GET_LINE_VALUES_IOCTL) name = "get line values";
    if (call == I2C_SLAVE) name = "select slave " + std::to_string(number);
    if (call == I2C_SLAVE_FORCE) name = "select slave by force " + std::to_string(number);
    if (call == I2C_RDWR) name = "transfer";
    if (const auto failed = failure(name, fd)) return int(*failed);
    if (call == GPIO_GET_LINEHANDLE_IOCTL) return request_line(argument);
    if (call == GPIOHANDLE_GET_LINE_VALUES_IOCTL)
        static_cast<gpiohandle_data*>(argument)->values[0] = static_cast<std::uint8_t>(level);
    if (call == I2C_SLAVE || call == I2C_SLAVE_FORCE) fail_allocation(allocations_left);
    return call == I2C_RDWR ? transfer(argument) : 0;
}

int FakeKernel::request_line(void* argument)
{
    auto* request = static_cast<gpiohandle_request*>(argument);
    gpiohandle_request plain = {};
    plain.lines = 1;
    plain.lineoffsets[0] = request->lineoffsets[0];
    plain.flags = request->flags;
    const bool odd = std::memcmp(&plain, request, sizeof plain) != 0;
    account += "    line " + std::to_string(static_cast<int>(plain.lineoffsets[0])) + " flags " +
               std::to_string(plain.flags) + (odd ? " and more\n" : "\n");
    return request->fd = *descriptors_.insert(next_descriptor_++).first, 0;
}

int FakeKernel::transfer(void* argument)
{
    const auto* wanted = static_cast<i2c_rdwr_ioctl_data*>(argument);
    if (wanted->nmsgs > I2C_RDWR_IOCTL_MAX_MSGS) return errno = EINVAL, -1;
    for (std::uint32_t k = 0; k < wanted->nmsgs; k++) {
        const i2c_msg& message = wanted->msgs[k];
        const bool reads = (message.flags & I2C_M_RD) != 0;
        if (reads) std::memset(message.buf, 0x5A, message.len);
        account += "    slave " + std::to_string(message.addr) + " flags " + std::to_string(message.flags) +
                   " length " + std::to_string(message.len) + (reads ? "" : hex(message.buf, message.len)) + "\n";
    }
    return static_cast<int>(wanted->nmsgs);
}

ssize_t FakeKernel::write(int fd, const void* data, std::size_t size)
{
    if (const auto failed = failure("write" + hex(data, size), fd)) return *failed;
    if (account.find("/export w") != account.npos)
        paths["/sys/class/gpio/gpio" + std::string(static_cast<const char*>(data))] = S_IFDIR;
    return static_cast<ssize_t>(size);
}

ssize_t FakeKernel::read(int fd, void* data, std::size_t size)
{
    if (const auto failed = failure("read " + std::to_string(size), fd)) return *failed;
    return static_cast<ssize_t>(to_read.copy(static_cast<char*>(data), size));
}

int FakeKernel::stat(const char* path, struct stat* status)
{
    if (const auto failed = failure("stat " + std::string(path))) return int(*failed);
    if (paths.count(path) == 0) return errno = ENOENT, -1;
    status->st_mode = paths[path];
    return 0;
}

// ---- where the linker sends the calls ----

#define WRAP(result, name, parameters, arguments)                                                            \
    extern "C" result __real_##name parameters;                                                              \
    extern "C" result __wrap_##name parameters                                                               \
    {                                                                                                        \
        return FakeKernel::active != nullptr ? FakeKernel::active->name arguments : __real_##name arguments; \
    }
WRAP(int, close, (int fd), (fd))
WRAP(int, ioctl, (int fd, unsigned long call, void* argument), (fd, call, argument))
WRAP(ssize_t, write, (int fd, const void* data, std::size_t size), (fd, data, size))
WRAP(ssize_t, read, (int fd, void* data, std::size_t size), (fd, data, size))
WRAP(int, stat, (const char* path, struct stat* status), (path, status))

extern "C" int __real_open(const char* path, int flags, mode_t mode);
extern "C" int __wrap_open(const char* path, int flags, mode_t mode)
{
    return FakeKernel::active != nullptr ? FakeKernel::active->open(path, flags) : __real_open(path, flags, mode);
}

// What an open with flags unknown to the compiler becomes in a fortified build.
extern "C" int __wrap___open_2(const char* path, int flags)
{
    return __wrap_open(path, flags, 0);
}
