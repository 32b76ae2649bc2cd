// Reads a GPIO line by the device of its chip, or sets one by sysfs, which tells whether that worked.
//   example_gpio_line get /dev/gpiochip1 5
//   example_gpio_line set 37 1
#include <CGpioUtils.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

static int get(const char* chip, int line)
{
    int level = -1;   // stays so when the line cannot be obtained
    CGpioUtils::gpio_read(chip, line, level);
    if (level < 0) {
        std::fprintf(stderr, "%s: line %d was not obtained, the log tells why\n", chip, line);
        return 1;
    }
    std::printf("%d\n", level);
    return 0;
}

static int set(int gpio, int level)
{
    if (CGpioUtils::GpioSetValBySysfs(gpio, level) != 0) {
        std::fprintf(stderr, "GPIO %d: %s\n", gpio, std::strerror(errno));
        return 1;
    }
    return 0;
}

// A number in any of C's ways; false when it is none, or too great.
static bool read_number(const char* text, long greatest, int& number)
{
    char* end = nullptr;
    const long value = std::strtol(text, &end, 0);
    number = static_cast<int>(value);
    return end != text && *end == '\0' && value >= 0 && value <= greatest;
}

int main(int argc, char** argv)
{
    const std::string what = argc == 4 ? argv[1] : "";
    int number = 0;
    int level = 0;
    if (what == "get" && read_number(argv[3], INT_MAX, number)) return get(argv[2], number);
    if (what == "set" && read_number(argv[2], INT_MAX, number) && read_number(argv[3], 1, level))
        return set(number, level);
    std::fprintf(stderr, "usage: example_gpio_line get CHIP LINE | set NUMBER LEVEL\n");
    return 2;
}
