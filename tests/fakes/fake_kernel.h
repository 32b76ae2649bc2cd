/// @file fake_kernel.h  A kernel with GPIO chips, GPIO sysfs and I2C slaves, whose every call can be made to fail.
#ifndef FAKE_KERNEL_H
#define FAKE_KERNEL_H

#include <sys/stat.h>

#include <map>
#include <optional>
#include <set>
#include <string>

/// Takes the calls that the linker sends to __wrap_open and its kin while it lives; all others pass through.
class FakeKernel {
public:
    FakeKernel() { active = this; }
    ~FakeKernel();
    FakeKernel(const FakeKernel&) = delete;
    FakeKernel& operator=(const FakeKernel&) = delete;

    /// Makes the n-th call (from 1) give this result instead of its own; errno 0 leaves errno alone. Calls that close a
    /// descriptor are not counted.
    void fail(int nth, ssize_t result, int error);
    std::string failed_call() const { return failed_; }   ///< empty: none

    /// Whether every descriptor handed out has been closed, and nothing else.
    bool all_closed() const { return descriptors_.empty() && !stray_close_; }

    std::string account;                   ///< a line for each call
    std::map<std::string, mode_t> paths;   ///< what stat finds: S_IFDIR or S_IFREG
    std::string to_read = "1";             ///< what read finds, from its start at each call
    int level = 1;                         ///< of every GPIO line
    long allocations_left = -1;            ///< memory runs out after so many, once a slave is selected; -1: never

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
    int request_line(void* argument);
    int transfer(void* argument);

    int counted_ = 0, fail_at_ = 0, fail_errno_ = 0, next_descriptor_ = 1000;
    ssize_t fail_result_ = 0;
    std::string failed_;
    std::set<int> descriptors_;   // handed out and not closed
    bool stray_close_ = false;
};

#endif
