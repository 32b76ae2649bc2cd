// Writes two bytes into a register of an I2C slave and reads them back.
//   example_i2c_register /dev/i2c-1 0x48 0x03 0x7f 0x01
#include <CI2cHelper.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv)
{
    if (argc != 6) {
        std::fprintf(stderr, "usage: example_i2c_register DEVICE SLAVE REGISTER BYTE BYTE\n");
        return 2;
    }
    const auto number = [argv](int at) { return static_cast<std::uint8_t>(std::strtoul(argv[at], nullptr, 0)); };
    std::uint8_t sent[] = {number(4), number(5)};
    std::uint8_t received[sizeof sent] = {};

    I2cReg_t reg;
    reg.regaddr[0] = number(3);
    reg.reglen = 1;
    reg.datalen = sizeof sent;
    reg.data = sent;
    I2cParam_t request{argv[1], number(2), 0, {reg}};
    bool good = CI2cHelper::write_ctl(request);
    if (good) {
        request.regs[0].data = received;
        good = CI2cHelper::read_ctl(request);
    }
    if (!good) {
        std::fprintf(stderr, "%s: slave 0x%02x, register 0x%02x: failed, the log tells why\n", argv[1], request.address,
                     reg.regaddr[0]);
        return 1;
    }
    std::printf("%02x %02x\n", received[0], received[1]);
    return received[0] == sent[0] && received[1] == sent[1] ? 0 : 1;
}
