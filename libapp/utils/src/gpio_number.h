/// @file gpio_number.h  Where a global GPIO number lies: 32 lines to a chip.
#ifndef RTK_GPIO_NUMBER_H
#define RTK_GPIO_NUMBER_H

#include <cstdio>

/// Path of the chip's device.
struct chip_path_t {
    explicit chip_path_t(int gpio) { std::snprintf(text, sizeof text, "/dev/gpiochip%d", gpio >> 5); }
    char text[32];
};

/// Offset of the line on its chip.
constexpr int line_of(int gpio)
{
    return gpio & 31;
}

#endif
