/// @file interrupt.h  Ctrl-C as a flag that long work looks at.
#ifndef KVX_INTERRUPT_H
#define KVX_INTERRUPT_H

namespace kvx {

/// SIGINT, SIGTERM, SIGHUP and SIGUSR1 set the flag; a second one of a kind ends the program.
void catch_interrupts();

bool interrupted();

}   // namespace kvx

#endif
