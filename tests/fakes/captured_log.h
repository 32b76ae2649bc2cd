/// @file captured_log.h  What the library logs while it lives, instead of printing it.
#ifndef CAPTURED_LOG_H
#define CAPTURED_LOG_H

#include <spdlog/sinks/base_sink.h>
#include <spdlog/spdlog.h>

#include <memory>
#include <mutex>
#include <string>
#include <vector>

/// Every message of one logger, all levels.
class CapturedLog {
public:
    explicit CapturedLog(const std::string& logger = "RTK_LOG") : m_sink(std::make_shared<Sink>()), m_name(logger)
    {
        auto target = std::make_shared<spdlog::logger>(logger, m_sink);
        target->set_level(spdlog::level::trace);
        spdlog::drop(logger);
        spdlog::register_logger(target);
    }
    ~CapturedLog() { spdlog::drop(m_name); }
    CapturedLog(const CapturedLog&) = delete;
    CapturedLog& operator=(const CapturedLog&) = delete;

    /// Messages as "4 libapp/utils/src/CGpioUtils gpio_write: text", since the last call.
    std::vector<std::string> take() { return std::exchange(m_sink->messages, {}); }

private:
    struct Sink : spdlog::sinks::base_sink<std::mutex> {
        void sink_it_(const spdlog::details::log_msg& message) override
        {
            messages.push_back(std::to_string(message.level) + " " + message.source.filename + " " +
                               message.source.funcname + ": " +
                               std::string(message.payload.data(), message.payload.size()));
        }
        void flush_() override {}
        std::vector<std::string> messages;
    };
    std::shared_ptr<Sink> m_sink;
    std::string m_name;
};

#endif
