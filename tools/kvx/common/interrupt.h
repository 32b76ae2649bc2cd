/// @file interrupt.h  Ctrl-C as a flag that long work looks at.
#ifndef KVX_INTERRUPT_H
#define KVX_INTERRUPT_H

#include <chrono>

#include "common/error.h"

namespace kvx {

/// SIGINT, SIGTERM, SIGHUP and SIGUSR1 set the flag; a second one of a kind ends the program, but for those in
/// the same moment. A SIGHUP that was ignored when the program began (nohup) stays so.
void catch_interrupts();

bool interrupted();

/// Exit code that tells which signal it was: 128 and its number.
int interrupt_code();

/// Waits until a read from the descriptor would not block.
/// @return false: an interrupt came first; one that has come before the call counts
bool wait_for_input(int fd);

/// Waits for some time.
/// @return false: an interrupt came first
bool wait_for(std::chrono::milliseconds time);

/// Work that an interrupt ended with nothing to show.
class interruption_t : public error_t {
public:
    interruption_t(const std::string& file, const std::string& where) : error_t(file, "interrupted", where) {}
};

}   // namespace kvx

#endif
