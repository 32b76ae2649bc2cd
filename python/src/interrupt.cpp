// Ctrl-C, where the program is Python: its handlers run here, and what they raise ends the reading.
#include "common/interrupt.h"

#include <poll.h>
#include <pybind11/pybind11.h>

#include <cerrno>
#include <chrono>

#include "lock.h"

namespace kvx {

namespace {

using clock_t = std::chrono::steady_clock;
constexpr std::chrono::milliseconds kLook{50};   // between looks: the lock may be held by another thread

void run_handlers()
{
    const rtk_python::locked_t locked;
    if (PyErr_CheckSignals() != 0) throw pybind11::error_already_set();
}

}   // namespace

// Never returns true: what a handler raises is thrown.
bool interrupted()
{
    thread_local clock_t::time_point looked;
    if (const auto now = clock_t::now(); now - looked >= kLook) {
        looked = now;
        run_handlers();
    }
    return false;
}

bool wait_for_input(int fd)
{
    pollfd input{fd, POLLIN, 0};
    while (::poll(&input, 1, static_cast<int>(kLook.count())) == 0 || (input.revents == 0 && errno == EINTR)) {
        run_handlers();
    }
    return true;
}

bool wait_for(std::chrono::milliseconds time)
{
    run_handlers();
    ::poll(nullptr, 0, static_cast<int>(time.count()));
    return true;
}

}   // namespace kvx
