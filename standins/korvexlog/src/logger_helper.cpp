#include "korvexlog/logger_helper.h"

#include <spdlog/spdlog.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <string>

namespace logger_helper {

namespace {

// Made when this library is loaded, so that it is still there when objects made later say goodbye at process exit.
[[maybe_unused]] const auto* const kRegistry = spdlog::default_logger_raw();

std::shared_ptr<spdlog::logger> logger_named(const char* name)
{
    if (auto registered = spdlog::get(name)) return registered;
    const auto fallback = spdlog::default_logger();
    return fallback ? fallback->clone(name) : nullptr;   // its level and sinks, under this name
}

[[gnu::format(printf, 1, 0)]] std::string formatted(const char* format, va_list arguments)
{
    va_list again;
    va_copy(again, arguments);
    char text[512];
    const int size = std::vsnprintf(text, sizeof text, format, arguments);
    std::string message(text, std::clamp<std::size_t>(size < 0 ? 0 : size, 0, sizeof text - 1));
    if (size >= static_cast<int>(sizeof text)) {
        message.resize(size);
        std::vsnprintf(message.data(), message.size() + 1, format, again);
    }
    va_end(again);
    return message;
}

}   // namespace

void log(const char* logger, const source_t& where, int level, const char* format, ...) noexcept
{
    const int caller_errno = errno;
    va_list arguments;
    va_start(arguments, format);
    try {
        const auto target = logger_named(logger);
        const auto severity = static_cast<spdlog::level::level_enum>(std::clamp<int>(level, kDebug, kError));
        if (target && target->should_log(severity))
            target->log({where.path, where.line, where.function}, severity,
                        spdlog::string_view_t(formatted(format, arguments)));
    } catch (...) {   // out of memory, or a sink that throws: the caller's work goes on
    }
    va_end(arguments);
    errno = caller_errno;
}

}   // namespace logger_helper
