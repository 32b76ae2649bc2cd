/// @file interrupt.h  Ctrl-C as a flag that long work looks at.
#ifndef KVX_INTERRUPT_H
#define KVX_INTERRUPT_H

namespace kvx {

void catch_interrupts();   ///< SIGINT and SIGTERM set the flag; a second one ends the program
bool interrupted();

}   // namespace kvx

#endif
