#include "device/hardware.h"

#include <spdlog/sinks/base_sink.h>
#include <spdlog/spdlog.h>

#include <charconv>
#include <mutex>

#include "common/command_line.h"
#include "common/error.h"

namespace kvx {

namespace {

constexpr char kLogger[] = "RTK_LOG";   // the name under which the hardware classes log

}   // namespace

class hardware_log_t::sink_t : public spdlog::sinks::base_sink<std::mutex> {
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

hardware_log_t::hardware_log_t() : sink_(std::make_shared<sink_t>())
{
    auto logger = std::make_shared<spdlog::logger>(kLogger, sink_);
    logger->set_level(spdlog::level::warn);
    spdlog::register_logger(logger);
}

hardware_log_t::~hardware_log_t()
{
    spdlog::drop(kLogger);
}

bool hardware_log_t::has_message() const
{
    return !sink_->first.empty();
}

void hardware_log_t::check(const std::string& device, const std::string& where) const
{
    if (has_message()) throw error_t(device, sink_->first, where);
}

unsigned parse_number(const std::string& text, unsigned max, const std::string& what, unsigned min)
{
    const bool hexadecimal = text.rfind("0x", 0) == 0 || text.rfind("0X", 0) == 0;
    const char* begin = text.data() + (hexadecimal ? 2 : 0);
    const char* end = text.data() + text.size();
    unsigned value = 0;
    const auto [stop, error] = std::from_chars(begin, end, value, hexadecimal ? 16 : 10);
    if (error != std::errc() || stop != end || value < min || value > max) {
        throw usage_error_t(
            what, "'" + text + "' is not a number from " + std::to_string(min) + " to " + std::to_string(max));
    }
    return value;
}

}   // namespace kvx
