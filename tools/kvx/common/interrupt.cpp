#include "common/interrupt.h"

#include <csignal>
#include <initializer_list>

namespace kvx {

namespace {
volatile std::sig_atomic_t g_interrupted = 0;
}

void catch_interrupts()
{
    struct sigaction action {};
    action.sa_handler = [](int) { g_interrupted = 1; };
    action.sa_flags = static_cast<int>(SA_RESETHAND);   // no SA_RESTART: a blocked read returns
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGUSR1}) sigaction(signal, &action, nullptr);
}

bool interrupted()
{
    return g_interrupted != 0;
}

}   // namespace kvx
