#include "common/interrupt.h"

#include <poll.h>

#include <array>
#include <atomic>
#include <csignal>
#include <cstdint>
#include <ctime>

namespace kvx {

namespace {

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGUSR1};
constexpr int kSignalled = 128;   // as shells count exit codes

// What sends a signal to the process may send it to its group in the same moment, as timeout(1) does: that is one.
constexpr std::int64_t kOne = 200'000'000;   // ns

volatile std::sig_atomic_t g_signal = 0;                   // the first that came
std::array<std::atomic<std::int64_t>, NSIG> g_came = {};   // when the first of each did (ns); 0: none
static_assert(std::atomic<std::int64_t>::is_always_lock_free);

void take_note(int signal)
{
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    const std::int64_t time = now.tv_sec * std::int64_t{1'000'000'000} + now.tv_nsec;
    if (g_signal == 0) g_signal = signal;
    std::int64_t first = 0;
    if (g_came[signal].compare_exchange_strong(first, time) || time - first < kOne) return;
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

bool is_ignored(int signal)
{
    struct sigaction action {};
    sigaction(signal, nullptr, &action);
    return action.sa_handler == SIG_IGN;
}

}   // namespace

void catch_interrupts()
{
    struct sigaction action {};
    action.sa_handler = take_note;
    action.sa_flags = 0;   // no SA_RESTART: a blocked call returns
    for (const int signal : kSignals) {
        if (signal != SIGHUP || !is_ignored(signal)) sigaction(signal, &action, nullptr);
    }
}

bool interrupted()
{
    return g_signal != 0;
}

int interrupt_code()
{
    return kSignalled + g_signal;
}

namespace {

// Signals are blocked but while it waits: none can come unseen between the look at the flag and the wait.
// @param time  nullptr: for ever
void wait_unless_interrupted(pollfd* input, const timespec* time)
{
    sigset_t ours, before;
    sigemptyset(&ours);
    for (const int signal : kSignals) sigaddset(&ours, signal);
    sigprocmask(SIG_BLOCK, &ours, &before);
    int ready = -1;
    while (!interrupted() && ready < 0) {
        ready = ppoll(input, input != nullptr ? 1 : 0, time, &before);
        if (ready < 0 && errno != EINTR) break;   // the read will tell what is wrong
    }
    sigprocmask(SIG_SETMASK, &before, nullptr);
}

}   // namespace

bool wait_for_input(int fd)
{
    pollfd input{fd, POLLIN, 0};
    wait_unless_interrupted(&input, nullptr);
    return !interrupted();
}

bool wait_for(std::chrono::milliseconds time)
{
    const timespec left{time.count() / 1000, time.count() % 1000 * 1000000};
    wait_unless_interrupted(nullptr, &left);
    return !interrupted();
}

}   // namespace kvx
