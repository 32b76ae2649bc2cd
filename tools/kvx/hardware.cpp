#include "hardware.h"

#include <spdlog/sinks/base_sink.h>
#include <spdlog/spdlog.h>

#include <charconv>
#include <mutex>

#include "command.h"
#include "error.h"

namespace kvx {

static constexpr char kLogger[] = "RTK_LOG";   // the name under which the hardware classes log

class HardwareLog::Sink : public spdlog::sinks::base_sink<std::mutex> {
public:
    std::string first;

protected:
    void sink_it_(const spdlog::details::log_msg& message) override
    {
        if (!first.empty()) return;
        first.assign(message.payload.data(), message.payload.size());
        first.erase(first.find_last_not_of('\n') + 1);
    }
    void flush_() override {}
};

HardwareLog::HardwareLog() : m_sink(std::make_shared<Sink>())
{
    auto logger = std::make_shared<spdlog::logger>(kLogger, m_sink);
    logger->set_level(spdlog::level::warn);
    spdlog::register_logger(logger);
}

HardwareLog::~HardwareLog()
{
    spdlog::drop(kLogger);
}

void HardwareLog::check(const std::string& device, const std::string& where) const
{
    if (!m_sink->first.empty()) throw Error(device, m_sink->first, where);
}

unsigned parse_number(const std::string& text, unsigned max, const std::string& what, unsigned min)
{
    const bool hexadecimal = text.rfind("0x", 0) == 0 || text.rfind("0X", 0) == 0;
    const char* begin = text.data() + (hexadecimal ? 2 : 0);
    const char* end = text.data() + text.size();
    unsigned value = 0;
    const auto [stop, error] = std::from_chars(begin, end, value, hexadecimal ? 16 : 10);
    if (error != std::errc() || stop != end || value < min || value > max) {
        throw CLI::ValidationError(
            what, "'" + text + "' is not a number from " + std::to_string(min) + " to " + std::to_string(max));
    }
    return value;
}

}   // namespace kvx
