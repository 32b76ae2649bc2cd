/// @file CGpioUtils.h  Single GPIO lines of the board, by the character device or by sysfs.
#ifndef CGPIOUTILS_H
#define CGPIOUTILS_H

#include "rtk_utils_api.h"

/// Sets and reads single GPIO lines.
///
/// A line is named by its chip device and offset, or by a global number: 32 lines to a bank, so that number 37 is
/// line 5 of "/dev/gpiochip1" (and "/sys/class/gpio/gpio37"). The members hold no state, keep nothing open, never
/// throw and may be called from any thread. The character-device members report errors through
/// `logger_helper::log` only, under the name "RTK_LOG"; the sysfs members by -1.
///
/// @note What a line shows after it was set and its handle closed is up to the GPIO controller. A line exported in
///       sysfs is refused by the character device (EBUSY), and the other way round while the handle is open.
class RTK_UTILS_API CGpioUtils {
public:
    /// Makes a line an output and sets it.
    ///
    /// @param chip   path of the chip device, such as "/dev/gpiochip0"
    /// @param line   offset of the line on that chip, from 0
    /// @param value  0 low, 1 high
    static void gpio_write(const char* chip, int line, unsigned char value);

    /// Makes a line an input and reads it.
    ///
    /// @param chip   path of the chip device
    /// @param line   offset of the line on that chip, from 0
    /// @param value  out: level, 0 or 1; 0 when the line was obtained but not read; left alone when it was not obtained
    static void gpio_read(const char* chip, int line, int& value);

    /// `gpio_write` by global number.
    ///
    /// @param gpio   global GPIO number
    /// @param value  0 low, 1 high
    /// @return always 0
    static int GpioSetValByApi(int gpio, int value);

    /// `gpio_read` by global number.
    ///
    /// @param gpio  global GPIO number
    /// @return level, 0 or 1; 0 when it could not be read
    static int GpioGetValByApi(int gpio);

    /// Exports a line in sysfs if need be, makes it an output and sets it. The line stays exported.
    ///
    /// @param gpio   global GPIO number
    /// @param value  0 low, anything else high
    /// @return 0; -1 on any failure, errno tells which
    static int GpioSetValBySysfs(int gpio, int value);

    /// Exports a line in sysfs if need be and reads it; its direction stays as it is. The line stays exported.
    ///
    /// @param gpio  global GPIO number
    /// @return level, 0 or 1; -1 when the line could not be exported or opened, errno tells why; -48 when there
    ///         was nothing to read, which is logged if it was an error
    static int GpioGetValBySysfs(int gpio);
};

#endif
