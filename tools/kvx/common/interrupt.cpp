#include "common/interrupt.h"

#include <poll.h>

#include <csignal>

namespace kvx {

namespace {

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGUSR1};
constexpr int kSignalled = 128;   // as shells count exit codes

volatile std::sig_atomic_t g_signal = 0;   // the first that came

void take_note(int signal)
{
    if (g_signal == 0) g_signal = signal;
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
    action.sa_flags = static_cast<int>(SA_RESETHAND);   // no SA_RESTART: a blocked call returns
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
