/// @file fake_clock.h  The system's clock, held still while this lives. Link with --wrap=time.
#ifndef TESTS_FAKE_CLOCK_H
#define TESTS_FAKE_CLOCK_H

#include <ctime>

class FakeClock {
public:
    explicit FakeClock(std::time_t utc) { now = utc; }
    ~FakeClock() { now = -1; }
    static inline std::time_t now = -1;
};

extern "C" std::time_t __real_time(std::time_t* out);
extern "C" [[gnu::used]] inline std::time_t __wrap_time(std::time_t* out)
{
    if (FakeClock::now == -1) return __real_time(out);
    if (out != nullptr) *out = FakeClock::now;
    return FakeClock::now;
}

#endif
