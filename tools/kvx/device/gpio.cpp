// kvx gpio: reads and sets one GPIO line.
#include <CGpioUtils.h>

#include <climits>
#include <cstdio>
#include <optional>

#include "common/command.h"
#include "common/error.h"
#include "common/json_text.h"
#include "device/hardware.h"
#include "gpio_number.h"

namespace kvx {
namespace {

struct gpio_settings_t {
    std::string chip;            // device path
    int line = 0;                // offset on the chip
    std::optional<int> number;   // global number, when the line was named so
    int value = 0;               // to set
    bool sysfs = false;
    bool json = false;

    std::string device() const { return sysfs ? "/sys/class/gpio/gpio" + std::to_string(*number) : chip; }
    std::string named() const { return number ? "GPIO " + std::to_string(*number) : "line " + std::to_string(line); }
};

// CHIP:LINE or NUMBER; a chip is a path, a name below /dev or its number.
void parse_target(const std::string& text, gpio_settings_t& settings)
{
    const std::size_t colon = text.rfind(':');
    if (colon == std::string::npos) {
        const auto number = static_cast<int>(parse_number(text, INT_MAX, "TARGET"));
        settings.number = number;
        settings.chip = chip_path_t(number).text;
        settings.line = line_of(number);
        return;
    }
    const std::string chip = text.substr(0, colon);
    const bool digits = !chip.empty() && chip.find_first_not_of("0123456789") == std::string::npos;
    if (chip.empty()) throw usage_error_t("TARGET", "'" + text + "' names no chip");
    settings.chip = digits ? "/dev/gpiochip" + chip : chip.find('/') == std::string::npos ? "/dev/" + chip : chip;
    settings.line = static_cast<int>(parse_number(text.substr(colon + 1), INT_MAX, "TARGET"));
}

int get_line(const gpio_settings_t& settings)
{
    const hardware_log_t log;
    const std::string where = "reading " + settings.named();
    int value = -1;
    if (settings.sysfs) {
        value = CGpioUtils::GpioGetValBySysfs(*settings.number);
        if (value == -1 || log.has_message()) throw system_error(settings.device(), where);
    } else {
        CGpioUtils::gpio_read(settings.chip.c_str(), settings.line, value);
    }
    log.check(settings.device(), where);
    if (value != 0 && value != 1) throw error_t(settings.device(), "has no level 0 or 1", where);

    const int line = settings.sysfs ? *settings.number : settings.line;
    const nlohmann::ordered_json result = {{"device", settings.device()}, {"line", line}, {"value", value}};
    std::printf("%s\n", settings.json ? json_text(result).c_str() : std::to_string(value).c_str());
    return kDone;
}

int set_line(const gpio_settings_t& settings)
{
    const hardware_log_t log;
    const std::string where = "setting " + settings.named();
    if (!settings.sysfs)
        CGpioUtils::gpio_write(settings.chip.c_str(), settings.line, static_cast<unsigned char>(settings.value));
    else if (CGpioUtils::GpioSetValBySysfs(*settings.number, settings.value) != 0)
        throw system_error(settings.device(), where);
    log.check(settings.device(), where);
    return kDone;
}

void add_target(command_line_t& command, const std::shared_ptr<gpio_settings_t>& settings)
{
    command.option("TARGET", [settings](const std::string& text) { parse_target(text, *settings); },
                   "CHIP:LINE (/dev/gpiochip1:5, gpiochip1:5 or 1:5), or a global NUMBER, 32 lines to a chip (37)",
                   {.required = true});
    command.flag("--sysfs", &settings->sysfs, "Go through /sys/class/gpio; the line stays exported");
    command.when_all_read([settings] {
        if (settings->sysfs && !settings->number) throw usage_error_t("--sysfs", "needs a global NUMBER");
    });
}

}   // namespace

command_t gpio_command(command_line_t& program)
{
    const auto settings = std::make_shared<gpio_settings_t>();
    command_line_t gpio = program.command("gpio", "Get or set a GPIO line");

    gpio.example("kvx gpio get 1:5", "The level of line 5 of /dev/gpiochip1");
    gpio.example("kvx gpio set gpiochip1:5 1", "Line 5 goes high");
    gpio.exit_codes({{"3", ""}});
    command_line_t get = gpio.command("get", "Print the level of a line; through the chip device it becomes an input");
    add_target(get, settings);
    get.flag("--json", &settings->json, "Print a JSON object");

    command_line_t set = gpio.command("set", "Make a line an output and set its level");
    add_target(set, settings);
    set.option("VALUE", &settings->value, "Level", {.required = true, .check = one_of({0, 1})});

    return {gpio, [settings, set] { return set.given() ? set_line(*settings) : get_line(*settings); }};
}

}   // namespace kvx
