/// @file library_log.h  How the classes of the library log.
#ifndef RTK_LIBRARY_LOG_H
#define RTK_LIBRARY_LOG_H

#include <korvexlog/logger_helper.h>

/// The caller's place in a component of the library.
///
/// @param path  source path of the component without suffix; log readers know it, so it is not __FILE__
constexpr logger_helper::source_t here(const char* path, int line = __builtin_LINE(),
                                       const char* function = __builtin_FUNCTION())
{
    return {path, line, function};
}

/// Calls the platform's logging library. What that throws ends here: a line that cannot be logged is no reason
/// to fail.
template <class Log>
void contained(const Log& log) noexcept
{
    try {
        log();
    } catch (...) {   // there is nobody left to tell
    }
}

#endif
