/// @file logger_helper.h  Logging facade: printf-style messages under a logger's name.
#ifndef KORVEXLOG_LOGGER_HELPER_H
#define KORVEXLOG_LOGGER_HELPER_H

namespace logger_helper {

/// Where a message comes from; the texts are not copied and live as long as the program.
struct source_t {
    const char* path;       ///< source path without suffix, such as "libapp/utils/src/CGpioUtils"
    int line;               ///< line in that source
    const char* function;   ///< function name
};

/// Levels of a message, numbered as spdlog numbers them.
enum level_t : int { kDebug = 1, kInfo = 2, kWarning = 3, kError = 4 };

/// Writes one message. May be called from any thread; never throws, and loses a message rather than fail.
///
/// @param logger  name of the logger; a logger that the host has registered with spdlog under this name decides on
///                level and sink, otherwise spdlog's default logger does
/// @param where   source location
/// @param level   level_t; other values are taken as the nearest one
/// @param format  printf format of the arguments
/// @note errno is the same afterwards.
void log(const char* logger, const source_t& where, int level, const char* format, ...) noexcept
    __attribute__((format(printf, 4, 5)));

}   // namespace logger_helper

#endif
