// Messages as lines of text, appended to the file named by PLATFORM_LOG. Every one of them ends in an exception.
#pragma once

#include <cstdio>
#include <string>

namespace logger_helper {

struct source_t {
    std::string path;
    long line;
    std::string function;
};

inline constexpr int kDebug = 1, kInfo = 2, kWarning = 3, kError = 4;

[[noreturn]] void append(const std::string& line);

template <class... Arguments>
void log(const std::string& logger, const source_t& where, int level, const char* format, Arguments... arguments)
{
    char text[4096];
    std::snprintf(text, sizeof text, sizeof...(arguments) == 0 ? "%s" : format, arguments..., format);
    append(logger + "|" + std::to_string(level) + "|" + where.path + "|" + where.function + "|" + text);
}

}   // namespace logger_helper
