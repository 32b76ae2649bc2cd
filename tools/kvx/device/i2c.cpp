// kvx i2c: reads and writes registers of an I2C slave.
#include <CI2cHelper.h>

#include <cstdio>

#include "common/command.h"
#include "common/error.h"
#include "common/json_text.h"
#include "device/hardware.h"

namespace kvx {
namespace {

struct i2c_settings_t {
    std::string device;
    unsigned address = 0;
    unsigned register_address = 0;
    unsigned register_bytes = 1;
    std::vector<std::uint8_t> data;   // to write, or as many as to read
    bool force = false;
    bool plain = false;
    bool json = false;
};

constexpr unsigned kLargestMessage = 8192;   // of the kernel

// REGISTER, REGISTER:8 or REGISTER:16; the suffix is the width of the register address in bits.
void parse_register(const std::string& text, i2c_settings_t& settings)
{
    const std::size_t colon = text.find(':');
    const std::string bits = colon == std::string::npos ? "8" : text.substr(colon + 1);
    if (bits != "8" && bits != "16") throw usage_error_t("REGISTER", "'" + text + "': an address has 8 or 16 bits");
    settings.register_bytes = bits == "16" ? 2 : 1;
    settings.register_address = parse_number(text.substr(0, colon), bits == "16" ? 0xFFFF : 0xFF, "REGISTER");
}

I2cParam_t request_of(i2c_settings_t& settings)
{
    I2cReg_t reg;
    const unsigned address = settings.register_address;
    if (settings.register_bytes == 2) reg.regaddr[0] = static_cast<std::uint8_t>(address >> 8);
    reg.regaddr[settings.register_bytes - 1] = static_cast<std::uint8_t>(address & 0xFF);
    reg.reglen = settings.register_bytes;
    reg.datalen = static_cast<std::uint32_t>(settings.data.size());
    reg.data = settings.data.data();
    return {
        settings.device, static_cast<std::uint8_t>(settings.address), static_cast<std::uint8_t>(settings.force), {reg}};
}

void print_bytes(const i2c_settings_t& settings)
{
    if (settings.json) {
        const nlohmann::ordered_json result = {{"device", settings.device},
                                               {"address", settings.address},
                                               {"register", settings.register_address},
                                               {"data", settings.data}};
        std::printf("%s\n", json_text(result).c_str());
        return;
    }
    for (std::size_t k = 0; k < settings.data.size(); k++) {
        const bool last = k % 16 == 15 || k + 1 == settings.data.size();
        std::printf("%02x%c", static_cast<unsigned>(settings.data[k]), last ? '\n' : ' ');
    }
}

int run_i2c(i2c_settings_t& settings, bool reading)
{
    const hardware_log_t log;
    I2cParam_t request = request_of(settings);
    const bool done = reading ? (settings.plain ? CI2cHelper::read_std(request) : CI2cHelper::read_ctl(request))
                              : (settings.plain ? CI2cHelper::write_std(request) : CI2cHelper::write_ctl(request));
    if (!done) {
        char where[64];
        std::snprintf(where, sizeof where, "slave 0x%02x, register 0x%0*x", settings.address,
                      static_cast<int>(2 * settings.register_bytes), settings.register_address);
        log.check(settings.device, where);
        throw error_t(settings.device, "the transfer failed", where);
    }
    if (reading) print_bytes(settings);
    return kDone;
}

void add_slave(command_line_t& command, const std::shared_ptr<i2c_settings_t>& settings)
{
    command.option("DEVICE", &settings->device, "Device node, such as /dev/i2c-1", {.required = true});
    command.option("ADDRESS",
                   [settings](const std::string& text) { settings->address = parse_number(text, 0x7F, "ADDRESS"); },
                   "7-bit slave address, such as 0x50", {.required = true});
    command.option("REGISTER", [settings](const std::string& text) { parse_register(text, *settings); },
                   "Register address; with :16 behind it, one of 16 bits", {.required = true});
    command.flag("--force", &settings->force, "Also talk to a slave that a kernel driver has claimed");
    command.flag("--plain", &settings->plain, "Write and read with a stop in between, not as one combined transfer");
}

}   // namespace

command_t i2c_command(command_line_t& program)
{
    const auto settings = std::make_shared<i2c_settings_t>();
    command_line_t i2c = program.command("i2c", "Read or write registers of an I2C slave");

    i2c.example("kvx i2c read /dev/i2c-1 0x50 0x10 4", "Four bytes from register 0x10 of slave 0x50");
    i2c.example("kvx i2c write /dev/i2c-1 0x50 0x100:16 0x1f", "A byte into a register whose address has 16 bits");
    i2c.exit_codes({{"3", ""}});
    command_line_t read = i2c.command("read", "Print bytes in hexadecimal");
    add_slave(read, settings);
    settings->data.resize(1);
    read.option(
        "COUNT",
        [settings](const std::string& text) { settings->data.resize(parse_number(text, kLargestMessage, "COUNT", 1)); },
        "Bytes to read, 1 unless given");
    read.flag("--json", &settings->json, "Print a JSON object");

    command_line_t write = i2c.command("write", "Write bytes");
    add_slave(write, settings);
    write.option("BYTE",
                 [settings](const std::vector<std::string>& texts) {
                     settings->data.clear();
                     for (const std::string& text : texts)
                         settings->data.push_back(static_cast<std::uint8_t>(parse_number(text, 0xFF, "BYTE")));
                 },
                 "Bytes to write, such as 0x1f 32", {.required = true});

    return {i2c, [settings, read] { return run_i2c(*settings, read.given()); }};
}

}   // namespace kvx
