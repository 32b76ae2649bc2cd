#include "CI2cHelper.h"

#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <cstring>
#include <new>

#include "file_descriptor.h"
#include "library_log.h"

using logger_helper::kDebug;
using logger_helper::kError;
using logger_helper::kWarning;
using logger_helper::source_t;

namespace {

constexpr char kLogger[] = "RTK_LOG";
constexpr char kSource[] = "libapp/utils/src/CI2cHelper";

// Logs what failed and why. @return false, for the caller to pass on
bool failed(const char* what, const source_t& where)
{
    contained([&] { logger_helper::log(kLogger, where, kError, "%s: %s", what, std::strerror(errno)); });
    return false;
}

// ---- common steps of the four operations ----

// What is wrong with an operation, or null.
const char* fault_of(const I2cReg_t& reg)
{
    if (reg.reglen == 0) return "i2c register address is not set";
    if (reg.reglen > 2) return "i2c register len is too long";
    if (reg.data == nullptr) return "i2c data buffer is null";
    if (reg.datalen == 0) return "i2c read or write data len is zero";
    return nullptr;
}

}   // namespace

bool CI2cHelper::checkParams(I2cParam_t& param)
{
    const char* fault = param.device.empty() ? "i2c device is empty" : nullptr;
    for (std::size_t k = 0; fault == nullptr && k < param.regs.size(); k++) fault = fault_of(param.regs[k]);
    if (fault == nullptr) return true;
    const source_t where = here(kSource);
    contained([&] { logger_helper::log(kLogger, where, kError, "%s", fault); });
    return false;
}

namespace {

// Opens the device and selects the slave.
file_descriptor_t open_slave(const I2cParam_t& param, const source_t& where)
{
    file_descriptor_t device = file_descriptor_t::open(param.device.c_str(), O_RDWR);
    if (!device) {
        contained([&] {
            logger_helper::log(kLogger, where, kError, "open i2c<%s> error: %s", param.device.c_str(),
                               std::strerror(errno));
        });
        return file_descriptor_t();
    }
    const unsigned long select = param.force != 0 ? I2C_SLAVE_FORCE : I2C_SLAVE;
    if (::ioctl(device.get(), select, static_cast<unsigned long>(param.address)) < 0) {
        contained([&] {
            logger_helper::log(kLogger, where, kError, "set i2c<%s> address<%0x> error: %s", param.device.c_str(),
                               static_cast<unsigned>(param.address), std::strerror(errno));
        });
        return file_descriptor_t();
    }
    return device;
}

// Checks the request, opens the slave and does the transfer, `bool transfer(slave, where)`.
// Memory for messages is the only thing here that can throw; `no_memory` says what failed then.
template <class Transfer>
bool with_slave(I2cParam_t& param, const char* no_memory, const Transfer& transfer, const source_t& where)
{
    if (!CI2cHelper::checkParams(param)) return false;
    const file_descriptor_t slave = open_slave(param, where);
    if (!slave) return false;
    try {
        return param.regs.empty() || transfer(slave, where);
    } catch (const std::bad_alloc&) {
        errno = ENOMEM;
        return failed(no_memory, where);
    }
}

// ---- one transfer per step ----

constexpr char kAddressError[] = "write register address error";
constexpr char kDataError[] = "read register data error";

}   // namespace

bool CI2cHelper::read_std(I2cParam_t& param)
{
    const auto transfer = [&param](const file_descriptor_t& slave, const source_t& where) {
        for (const I2cReg_t& reg : param.regs) {
            if (!slave.write(reg.regaddr, reg.reglen)) return failed(kAddressError, where);
            if (!slave.read(reg.data, reg.datalen)) return failed(kDataError, where);
        }
        return true;
    };
    return with_slave(param, kAddressError, transfer, here(kSource));
}

bool CI2cHelper::write_std(I2cParam_t& param)
{
    const auto transfer = [&param](const file_descriptor_t& slave, const source_t& where) {
        std::vector<std::uint8_t> message;
        for (const I2cReg_t& reg : param.regs) {
            message.assign(reg.regaddr, reg.regaddr + reg.reglen);
            message.insert(message.end(), reg.data, reg.data + reg.datalen);
            // Deliberate: the same words as for the address of a read.
            if (!slave.write(message.data(), message.size())) return failed(kAddressError, where);
        }
        return true;
    };
    return with_slave(param, kAddressError, transfer, here(kSource));
}

namespace {

// ---- combined transfers ----

constexpr char kMessagesError[] = "ending messages failed";   // Deliberate: the text begins so.

// One I2C_RDWR. How many messages it takes is for the kernel to judge.
bool send_messages(const file_descriptor_t& slave, std::vector<i2c_msg>& messages, const source_t& where)
{
    i2c_rdwr_ioctl_data transfer = {messages.data(), static_cast<std::uint32_t>(messages.size())};
    const int count = static_cast<int>(transfer.nmsgs);
    const int sent = ::ioctl(slave.get(), I2C_RDWR, &transfer);
    if (sent < 0) return failed(kMessagesError, where);
    if (sent < count) {
        contained(
            [&] { logger_helper::log(kLogger, where, kWarning, "only %d/%d messages were sent\n", sent, count); });
    }
    return sent >= count;
}

// Bytes of a written message. A message carries a length of 16 bits: of anything longer the low 16 bits remain.
std::uint16_t message_size(const I2cReg_t& reg)
{
    return static_cast<std::uint16_t>(reg.reglen + reg.datalen);
}

// Fills a message of message_size bytes with the address and the data, as far as they fit.
void fill_message(const I2cReg_t& reg, std::uint8_t* message)
{
    const std::size_t size = message_size(reg);
    const std::size_t address = std::min<std::size_t>(reg.reglen, size);
    std::copy_n(reg.regaddr, address, message);
    std::copy_n(reg.data, size - address, message + address);
}

void log_first(const i2c_msg& message, const source_t& where)
{
    std::uint8_t start[4] = {};   // a shorter message shows as followed by zeros
    std::copy_n(message.buf, std::min<std::size_t>(message.len, sizeof start), start);
    contained([&] {
        logger_helper::log(kLogger, where, kDebug,
                           "message[0]: addr=0x%02x, flag=%d, len=%d, buf=0x%02x 0x%02x 0x%02x 0x%02x", message.addr,
                           message.flags, message.len, start[0], start[1], start[2], start[3]);
    });
}

}   // namespace

bool CI2cHelper::read_ctl(I2cParam_t& param)
{
    const auto transfer = [&param](const file_descriptor_t& slave, const source_t& where) {
        std::vector<i2c_msg> messages;
        messages.reserve(2 * param.regs.size());
        for (I2cReg_t& reg : param.regs) {
            messages.push_back({param.address, 0, static_cast<std::uint16_t>(reg.reglen), reg.regaddr});
            messages.push_back({param.address, I2C_M_RD, static_cast<std::uint16_t>(reg.datalen), reg.data});
        }
        return send_messages(slave, messages, where);
    };
    return with_slave(param, kMessagesError, transfer, here(kSource));
}

bool CI2cHelper::write_ctl(I2cParam_t& param)
{
    const auto transfer = [&param](const file_descriptor_t& slave, const source_t& where) {
        std::size_t total = 0;
        for (const I2cReg_t& reg : param.regs) total += message_size(reg);
        std::vector<std::uint8_t> bytes(total);
        std::vector<i2c_msg> messages;
        messages.reserve(param.regs.size());
        std::uint8_t* next = bytes.data();
        for (const I2cReg_t& reg : param.regs) {
            fill_message(reg, next);
            messages.push_back({param.address, 0, message_size(reg), next});
            next += message_size(reg);
        }
        log_first(messages.front(), where);
        return send_messages(slave, messages, where);
    };
    return with_slave(param, kMessagesError, transfer, here(kSource));
}
