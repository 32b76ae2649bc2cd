// Reads a GPIO line by the device of its chip, or sets one by sysfs, which tells whether that worked.
//   example_gpio_line get /dev/gpiochip1 5
//   example_gpio_line set 37 1
#include <CGpioUtils.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

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

int main(int argc, char** argv)
{
    if (argc == 4 && std::strcmp(argv[1], "get") == 0) return get(argv[2], std::atoi(argv[3]));
    if (argc == 4 && std::strcmp(argv[1], "set") == 0) return set(std::atoi(argv[2]), std::atoi(argv[3]));
    std::fprintf(stderr, "usage: example_gpio_line get CHIP LINE | set NUMBER LEVEL\n");
    return 2;
}
