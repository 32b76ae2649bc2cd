/// @file standard_streams.h  Standard output that is closed, full, or read by nobody any more.
#ifndef KVX_STANDARD_STREAMS_H
#define KVX_STANDARD_STREAMS_H

namespace kvx {

/// What was closed from the start fails when it is used, instead of being the next file that is opened.
/// @return false when that could not be had
bool occupy_closed_streams();

/// Ends the work of who has more to print: nothing more reaches standard output. finished() tells why.
struct stdout_lost_t {};

/// To be called now and then by who prints much.
/// @throws stdout_lost_t when a write to standard output has failed
void look_at_stdout();

/// Flushes standard output. Results that did not reach it are a failure, whatever the work itself came to; but a reader
/// that has gone knows why, and is told nothing.
/// @param code  exit code of the work
/// @return exit code of the program
int finished(int code);

}   // namespace kvx

#endif
