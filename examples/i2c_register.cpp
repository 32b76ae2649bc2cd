// Writes two bytes into a register of an I2C slave and reads them back.
//   example_i2c_register /dev/i2c-1 0x48 0x03 0x7f 0x01
#include <CI2cHelper.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

// A byte in any of C's ways of writing numbers; false when it is none.
static bool read_byte(const char* text, std::uint8_t& byte)
{
    char* end = nullptr;
    const long value = std::strtol(text, &end, 0);
    byte = static_cast<std::uint8_t>(value);
    return end != text && *end == '\0' && value >= 0 && value <= 0xFF;
}

int main(int argc, char** argv)
{
    std::uint8_t numbers[4] = {};   // slave, register, two bytes
    bool understood = argc == 6;
    for (int k = 0; understood && k < 4; ++k) understood = read_byte(argv[2 + k], numbers[k]);
    if (!understood) {
        std::fprintf(stderr, "usage: example_i2c_register DEVICE SLAVE REGISTER BYTE BYTE\n");
        return 2;
    }
    std::uint8_t sent[] = {numbers[2], numbers[3]};
    std::uint8_t received[sizeof sent] = {};

    I2cReg_t reg;
    reg.regaddr[0] = numbers[1];
    reg.reglen = 1;
    reg.datalen = sizeof sent;
    reg.data = sent;
    I2cParam_t request{argv[1], numbers[0], 0, {reg}};
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
