#include "CGpioUtils.h"

#include <linux/gpio.h>
#include <sys/ioctl.h>
#include <sys/stat.h>

#include <cstdint>
#include <cstdio>
#include <cstring>

#include "file_descriptor.h"
#include "gpio_number.h"
#include "library_log.h"

using logger_helper::kError;
using logger_helper::source_t;

namespace {

constexpr char kLogger[] = "RTK_LOG";
constexpr char kSource[] = "libapp/utils/src/CGpioUtils";

// Logs what failed and why.
void log_failure(const char* what, const source_t& where)
{
    contained([&] { logger_helper::log(kLogger, where, kError, "%s : %s", what, std::strerror(errno)); });
}

// ---- character device ----

// What a line is requested for, and the words for what can go wrong with it.
struct line_use_t {
    std::uint32_t flags;
    unsigned long request;
    const char* handle_error;
    const char* value_error;
};

// Deliberate: a word is missing where an output line is refused.
constexpr line_use_t kOutput = {GPIOHANDLE_REQUEST_OUTPUT, GPIOHANDLE_SET_LINE_VALUES_IOCTL,
                                "Unable to line handle from ioctl", "Unable to set line value using ioctl"};
constexpr line_use_t kInput = {GPIOHANDLE_REQUEST_INPUT, GPIOHANDLE_GET_LINE_VALUES_IOCTL,
                               "Unable to get line handle from ioctl", "Unable to get line value using ioctl"};

// Obtains a line from its chip; the chip is closed again.
file_descriptor_t request_line(const char* chip, int line, const line_use_t& use, const source_t& where)
{
    const file_descriptor_t device = file_descriptor_t::open(chip, O_RDONLY);
    if (!device) {
        contained(
            [&] { logger_helper::log(kLogger, where, kError, "Unabled to open %s: %s", chip, std::strerror(errno)); });
        return file_descriptor_t();
    }
    gpiohandle_request request = {};
    request.lines = 1;
    request.lineoffsets[0] = static_cast<std::uint32_t>(line);
    request.flags = use.flags;
    if (::ioctl(device.get(), GPIO_GET_LINEHANDLE_IOCTL, &request) < 0) {
        log_failure(use.handle_error, where);
        return file_descriptor_t();
    }
    return file_descriptor_t(request.fd);
}

// Obtains a line and sets or gets its value. @return whether the line was obtained
bool transfer_value(const char* chip, int line, const line_use_t& use, gpiohandle_data& data, const source_t& where)
{
    const file_descriptor_t handle = request_line(chip == nullptr ? "" : chip, line, use, where);
    if (!handle) return false;
    if (::ioctl(handle.get(), use.request, &data) < 0) log_failure(use.value_error, where);
    return true;
}

}   // namespace

void CGpioUtils::gpio_write(const char* chip, int line, unsigned char value)
{
    gpiohandle_data data = {};
    data.values[0] = value;
    transfer_value(chip, line, kOutput, data, here(kSource));
}

void CGpioUtils::gpio_read(const char* chip, int line, int& value)
{
    gpiohandle_data data = {};
    if (transfer_value(chip, line, kInput, data, here(kSource))) value = data.values[0];
}

int CGpioUtils::GpioSetValByApi(int gpio, int value)
{
    gpio_write(chip_path_t(gpio).text, line_of(gpio), static_cast<unsigned char>(value));
    return 0;
}

int CGpioUtils::GpioGetValByApi(int gpio)
{
    int value = 0;
    gpio_read(chip_path_t(gpio).text, line_of(gpio), value);
    return value;
}

namespace {

// ---- sysfs ----

constexpr char kSysfs[] = "/sys/class/gpio";

// Path of a file of an exported line; an empty name gives its directory.
struct line_path_t {
    line_path_t(int gpio, const char* file) { std::snprintf(text, sizeof text, "%s/gpio%d%s", kSysfs, gpio, file); }
    char text[64];
};

bool is_directory(const char* path)
{
    struct stat status = {};
    errno = ENOTDIR;   // the reason when there is something, but no directory
    return ::stat(path, &status) == 0 && S_ISDIR(status.st_mode);
}

// Writes a text and its NUL, as this interface has always been fed.
bool write_text(const char* path, const char* text)
{
    const file_descriptor_t file = file_descriptor_t::open(path, O_WRONLY);
    return file && file.write(text, std::strlen(text) + 1);
}

// Makes the line's directory appear. What counts is the directory: another program may have exported the line just
// now.
bool export_line(int gpio)
{
    const line_path_t directory(gpio, "");
    if (is_directory(directory.text)) return true;

    char number[128];
    const int length = std::snprintf(number, sizeof number, "%d", gpio);
    int refused = 0;
    {
        const file_descriptor_t file = file_descriptor_t::open("/sys/class/gpio/export", O_WRONLY);
        if (!file) return false;
        if (!file.write(number, length + 1)) refused = errno;
    }
    if (is_directory(directory.text)) return true;
    if (refused != 0) errno = refused;   // says more than that the directory is missing
    return false;
}

}   // namespace

int CGpioUtils::GpioSetValBySysfs(int gpio, int value)
{
    const bool done = export_line(gpio) && write_text(line_path_t(gpio, "/direction").text, "out") &&
                      write_text(line_path_t(gpio, "/value").text, value != 0 ? "1" : "0");
    return done ? 0 : -1;
}

int CGpioUtils::GpioGetValBySysfs(int gpio)
{
    if (!export_line(gpio)) return -1;
    const file_descriptor_t file = file_descriptor_t::open(line_path_t(gpio, "/value").text, O_RDWR);
    if (!file) return -1;
    char level[2] = {};
    if (::read(file.get(), level, 1) < 0) {
        const source_t where = here(kSource);
        contained([&] { logger_helper::log(kLogger, where, kError, "Gpio Read failed with errno: %d", errno); });
    }
    return level[0] - '0';   // Deliberate: -48 after a failed read.
}
