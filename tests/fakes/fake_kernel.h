/// @file fake_kernel.h  A kernel with one GPIO chip, GPIO sysfs and one I2C slave, whose every call can be made to
/// fail.
#ifndef FAKE_KERNEL_H
#define FAKE_KERNEL_H

#include <linux/gpio.h>
#include <sys/stat.h>

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

/// Takes the calls that the linker sends to __wrap_open and its kin while it lives; all others pass through.
///
/// The descriptors it hands out are real ones (of /dev/null), so that a leak also shows in /proc/self/fd.
class FakeKernel {
public:
    FakeKernel() { active = this; }
    ~FakeKernel();
    FakeKernel(const FakeKernel&) = delete;
    FakeKernel& operator=(const FakeKernel&) = delete;

    /// An I2C message as it went over the bus; of a read its length only.
    struct Message {
        int address, flags, length;
        std::vector<std::uint8_t> bytes;
        bool operator==(const Message&) const = default;
    };

    /// Makes the n-th call from now on (1: the next) give this result instead of its own; errno 0 leaves errno alone.
    /// Calls that close a descriptor are not counted.
    void fail(std::size_t nth, ssize_t result, int error);

    /// Whether every descriptor handed out has been closed, and nothing else.
    bool all_closed() const { return m_descriptors.empty() && !m_stray_close; }

    std::vector<std::string> calls;        ///< in call order, as "open /dev/gpiochip1", "ioctl 0xc16cb403", "close"
    std::vector<std::string> written;      ///< every block given to write
    std::vector<Message> messages;         ///< of every I2C_RDWR
    std::map<std::string, mode_t> paths;   ///< what stat finds: S_IFDIR or S_IFREG
    std::string to_read;                   ///< what read finds, from its start at each call
    int level = 0;                         ///< of every GPIO line
    gpiohandle_request request = {};       ///< the last line request
    unsigned long slave = 0;               ///< address last selected
    std::function<void()> on_select = [] {};

    static FakeKernel* active;

    // The calls.
    int open(const char* path, int access);
    int close(int fd);
    int ioctl(int fd, unsigned long call, void* argument);
    ssize_t write(int fd, const void* data, std::size_t size);
    ssize_t read(int fd, void* data, std::size_t size);
    int stat(const char* path, struct stat* status);

private:
    std::optional<ssize_t> failure(const std::string& call, std::optional<int> fd = {});
    int descriptor();
    int transfer(void* argument);

    std::size_t m_counted = 0, m_fail_at = 0;
    ssize_t m_fail_result = 0;
    int m_fail_errno = 0;
    std::set<int> m_descriptors;   // handed out and not closed
    bool m_stray_close = false;
};

/// Descriptors that this process has open.
int open_descriptor_count();

#endif
