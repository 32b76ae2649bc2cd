/// @file fail_in_turn.h  Lets every system call of an operation fail in turn, with every plausible errno.
#ifndef FAIL_IN_TURN_H
#define FAIL_IN_TURN_H

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

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

inline void expect_failure(const FailingOperation& operation, int nth, ssize_t result, int error, int shown)
{
    const FailingOperation::Step& step = operation.steps[nth - 1];
    SCOPED_TRACE(std::string(operation.name) + ", call " + std::to_string(nth) + " gives " + std::to_string(result) +
                 ", errno " + std::to_string(error));
    const int before = open_descriptor_count();
    CapturedLog log;
    {
        FakeKernel kernel;
        kernel.to_read = std::string(300, '1');
        kernel.fail(nth, result, error);
        const int answer = operation.run();
        const int reason = errno;
        EXPECT_EQ(step.result, answer);
        if (operation.tells_errno && answer == -1) {
            EXPECT_EQ(shown, reason);
        }
        EXPECT_TRUE(kernel.open_descriptors.empty());
        EXPECT_EQ(0, kernel.stray_closes);
    }
    EXPECT_EQ(before, open_descriptor_count());

    std::string expected = step.log;
    if (const auto at = expected.find("%s"); at != std::string::npos) expected.replace(at, 2, std::strerror(shown));
    if (const auto at = expected.find("%d"); at != std::string::npos) expected.replace(at, 2, std::to_string(shown));
    EXPECT_EQ(expected.empty() ? std::vector<std::string>{} : std::vector<std::string>{expected}, log.take());
}

inline void fail_in_turn(const FailingOperation& operation)
{
    for (int nth = 1; nth <= static_cast<int>(operation.steps.size()); nth++) {
        for (const int error : kPlausibleErrors) expect_failure(operation, nth, -1, error, error);
        if (!operation.steps[nth - 1].whole_block) continue;
        expect_failure(operation, nth, 0, 0, EIO);   // a short count has no errno of its own
        expect_failure(operation, nth, 1, 0, EIO);
    }
}

#endif
