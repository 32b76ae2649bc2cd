/// @file fail_in_turn.h  Lets every system call of an operation fail in turn, with every plausible errno.
#ifndef FAIL_IN_TURN_H
#define FAIL_IN_TURN_H

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <span>

#include "captured_log.h"
#include "fake_kernel.h"

/// An operation and what it answers when its first, second ... system call fails.
struct FailingOperation {
    struct Step {
        int result;
        std::string log;            ///< "%s" stands for the text of the errno, "%d" for its number; empty: nothing
        bool whole_block = false;   ///< a write or read, which also fails by moving too few bytes
    };
    const char* name;
    std::function<int()> run;
    std::vector<Step> steps;
    bool tells_errno = false;   ///< errno is part of the answer -1
};

constexpr int kPlausibleErrors[] = {ENOENT, EACCES, EPERM,  EMFILE, ENFILE, EINTR,  EBUSY,     EINVAL,
                                    EIO,    ENXIO,  ENODEV, EAGAIN, ENOMEM, ENOSPC, ETIMEDOUT, EOPNOTSUPP};

/// Debug messages do not count.
inline void expect_failure(const FailingOperation& operation, std::size_t nth, ssize_t result, int error, int shown)
{
    const FailingOperation::Step& step = operation.steps[nth - 1];
    SCOPED_TRACE(std::string(operation.name) + ", call " + std::to_string(nth) + " gives " + std::to_string(result) +
                 ", errno " + std::to_string(error));
    CapturedLog log;
    FakeKernel kernel;
    kernel.to_read = std::string(300, '1');
    kernel.fail(nth, result, error);
    const int answer = operation.run();
    const int reason = errno;
    EXPECT_EQ(step.result, answer);
    EXPECT_TRUE(!operation.tells_errno || answer != -1 || reason == shown) << reason;
    EXPECT_TRUE(kernel.all_closed());

    std::string expected = step.log;
    if (const auto at = expected.find("%s"); at != std::string::npos) expected.replace(at, 2, std::strerror(shown));
    if (const auto at = expected.find("%d"); at != std::string::npos) expected.replace(at, 2, std::to_string(shown));
    std::vector<std::string> messages = log.take();
    std::erase_if(messages, [](const std::string& message) { return message.starts_with("1 "); });
    EXPECT_EQ(std::vector<std::string>(expected.empty() ? 0 : 1, expected), messages);
}

inline void fail_in_turn(std::span<const FailingOperation> operations)
{
    for (const FailingOperation& operation : operations)
        for (std::size_t nth = 1; nth <= operation.steps.size(); nth++) {
            for (const int error : kPlausibleErrors) expect_failure(operation, nth, -1, error, error);
            if (!operation.steps[nth - 1].whole_block) continue;
            expect_failure(operation, nth, 0, 0, EIO);   // a short count has no errno of its own
            expect_failure(operation, nth, 1, 0, EIO);
        }
}

inline void fail_100000_times(std::span<const FailingOperation> operations)
{
    CapturedLog log;
    const int before = open_descriptor_count();
    for (std::size_t k = 0; k < 100000; k++) {
        const FailingOperation& operation = operations[k % operations.size()];
        FakeKernel kernel;
        kernel.fail(1 + k / operations.size() % operation.steps.size(), -1, EIO);
        operation.run();
        ASSERT_TRUE(kernel.all_closed());
        if (k % 1000 == 0) log.take();
    }
    EXPECT_EQ(before, open_descriptor_count());
}

#endif
