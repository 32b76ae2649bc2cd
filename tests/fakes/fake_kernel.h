/// @file fake_kernel.h  A kernel with one GPIO chip, GPIO sysfs and one I2C slave, whose every call can be made to
/// fail.
#ifndef FAKE_KERNEL_H
#define FAKE_KERNEL_H

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <map>
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
    void fail(int nth, ssize_t result, int error);

    std::vector<std::string> calls;      ///< in call order, as "open /dev/gpiochip1", "ioctl 0xc16cb403", "close"
    std::vector<std::string> written;    ///< every block given to write
    std::vector<Message> messages;       ///< of every I2C_RDWR
    std::set<std::string> directories;   ///< what stat takes for a directory
    std::set<std::string> files;         ///< what stat takes for a plain file
    std::string to_read;                 ///< what read finds, from its start at each call
    int level = 0;                       ///< of every GPIO line
    std::uint32_t line = 0, flags = 0;   ///< of the last line request
    bool cleared = false;                ///< whether its other fields were zero
    unsigned long slave = 0;             ///< address last selected
    std::function<void()> on_select;     ///< called once a slave has been selected
    std::size_t counted = 0;             ///< calls that fail() counts
    std::set<int> open_descriptors;      ///< handed out and not closed
    int stray_closes = 0;                ///< closes of anything else

    static FakeKernel* active;

    // The calls.
    int open(const char* path, int access);
    int close(int fd);
    int ioctl(int fd, unsigned long request, void* argument);
    ssize_t write(int fd, const void* data, std::size_t size);
    ssize_t read(int fd, void* data, std::size_t size);
    int stat(const char* path, struct stat* status);

private:
    bool fails(const std::string& call, ssize_t& result);
    int descriptor();
    int transfer(void* argument);

    std::size_t m_fail_at = 0;
    ssize_t m_fail_result = 0;
    int m_fail_errno = 0;
};

/// Descriptors that this process has open.
int open_descriptor_count();

#endif
