/// @file CI2cHelper.h  Register reads and writes on an I2C slave.
#ifndef CI2CHELPER_H
#define CI2CHELPER_H

#include <cstdint>
#include <string>
#include <vector>

#include "rtk_utils_api.h"

/// One register operation.
struct I2cReg_t {
    std::uint8_t regaddr[4] = {};   ///< register address, most significant byte first; the first reglen bytes count
    std::uint32_t reglen = 0;       ///< register address bytes, 1 or 2
    std::uint32_t datalen = 0;      ///< bytes to read or write, from 1; the kernel takes 8192 in a message
    std::uint8_t* data = nullptr;   ///< datalen bytes of the caller: source of a write, destination of a read
};

/// A request: the slave, and what to do there.
struct I2cParam_t {
    std::string device;           ///< path of the device node, such as "/dev/i2c-1"
    std::uint8_t address = 0;     ///< 7-bit slave address
    std::uint8_t force = 0;       ///< not 0: also talk to a slave that a kernel driver has claimed
    std::vector<I2cReg_t> regs;   ///< carried out in this order
};

/// Register access on an I2C slave.
///
///     std::uint8_t bytes[2];
///     I2cReg_t temperature;
///     temperature.regaddr[0] = 0x05;
///     temperature.reglen = 1;
///     temperature.datalen = sizeof bytes;
///     temperature.data = bytes;
///     I2cParam_t request{"/dev/i2c-1", 0x18, 0, {temperature}};
///     if (CI2cHelper::read_ctl(request)) ...
///
/// It goes through the Linux I2C device interface, in two styles: one transfer per step (`read_std`,
/// `write_std`), or all operations as one combined transfer with repeated starts (`read_ctl`, `write_ctl`).
///
/// The members hold no state, keep nothing open, never throw and may be called from any thread. Each checks the
/// request, opens the device and selects the slave; a request without operations ends there, with success. The first
/// failure ends a request and is logged through `logger_helper::log` under the name "RTK_LOG"; operations before it
/// may have been carried out.
///
/// @note A combined transfer takes at most 42 messages (21 reads, 42 writes) of 8192 bytes each; the kernel refuses
///       more. The messages of a combined transfer carry lengths of 16 bits.
class RTK_UTILS_API CI2cHelper {
public:
    /// Checks a request without touching the device. What is wrong is logged.
    ///
    /// @param param  the request, left as it is
    /// @return true when the device is named and every operation has 1 or 2 address bytes, a buffer and a length
    static bool checkParams(I2cParam_t& param);

    /// For each operation one write of the register address and one read of the data, with a stop in between.
    ///
    /// @param param  the request; what is read goes to the buffers that its operations name
    /// @return true when every byte was read
    static bool read_std(I2cParam_t& param);

    /// For each operation one write of the register address and the data.
    ///
    /// @param param  the request, left as it is
    /// @return true when every byte was written
    static bool write_std(I2cParam_t& param);

    /// All operations as one combined transfer of two messages each, address and data.
    ///
    /// @param param  the request; what is read goes to the buffers that its operations name
    /// @return true when every message was transferred
    static bool read_ctl(I2cParam_t& param);

    /// All operations as one combined transfer of one message each.
    ///
    /// @param param  the request, left as it is
    /// @return true when every message was transferred
    static bool write_ctl(I2cParam_t& param);
};

#endif
