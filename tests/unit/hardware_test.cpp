// GPIO and I2C at the link seam: which system calls an operation makes, and what becomes of it when any of them fails.
// The whole account is a golden file; on a real kernel the guest shows that the calls do what they should.
#include <gtest/gtest.h>

#include <climits>
#include <functional>
#include <numeric>

#include "CGpioUtils.h"
#include "CI2cHelper.h"
#include "fakes/captured_log.h"
#include "fakes/fake_kernel.h"
#include "support/text_file.h"

namespace {

struct operation_t {
    std::string name;
    std::function<std::string()> run;   // gives the result
};

// ---- GPIO ----

constexpr char kChip[] = "/dev/gpiochip1";
const std::string kLongPath = "/dev/" + std::string(5000, 'x');

std::string with_errno(int result)
{
    return std::to_string(result) + (result == -1 ? " " + std::string(strerrorname_np(errno)) : "");
}

operation_t read_line(const std::string& name, const char* chip, int line)
{
    return {"gpio_read " + name, [=] {
                int value = 77;
                CGpioUtils::gpio_read(chip, line, value);
                return std::to_string(value);
            }};
}

operation_t get_number(int gpio)
{
    return {"GpioGetValByApi " + std::to_string(gpio),
            [=] { return std::to_string(CGpioUtils::GpioGetValByApi(gpio)); }};
}

operation_t set_by_sysfs(int gpio, int value)
{
    return {"GpioSetValBySysfs " + std::to_string(gpio) + " " + std::to_string(value),
            [=] { return with_errno(CGpioUtils::GpioSetValBySysfs(gpio, value)); }};
}

const operation_t kGpio[] = {
    {"gpio_write 5 1", [] { return CGpioUtils::gpio_write(kChip, 5, 1), ""; }},
    {"GpioSetValByApi 37 255", [] { return std::to_string(CGpioUtils::GpioSetValByApi(37, 255)); }},
    read_line("5", kChip, 5),
    get_number(63),
    set_by_sysfs(37, -7),
    {"GpioGetValBySysfs 37", [] { return with_errno(CGpioUtils::GpioGetValBySysfs(37)); }},
};
const operation_t kGpioOnce[] = {
    read_line("negative line", kChip, -1),
    read_line("of no chip", nullptr, 0),
    read_line("of a long path", kLongPath.c_str(), 0),
};

// ---- I2C ----

struct wanted_t {
    std::size_t operations = 2;
    std::uint32_t reglen = 2, datalen = 3;
    std::uint8_t force = 0, address = 0x50;
};

// Operations on the registers 0x1020, 0x1121 ... of a slave, with their data.
operation_t transfer(const std::string& name, bool (*member)(I2cParam_t&), const wanted_t& w)
{
    return {
        name, [=] {
            std::vector<std::uint8_t> bytes(w.datalen);
            std::iota(bytes.begin(), bytes.end(), std::uint8_t{1});
            I2cParam_t request = {"/dev/i2c-9", w.address, w.force, {}};
            for (std::size_t k = 0; k < w.operations; k++) {
                const auto low = static_cast<std::uint8_t>(k);
                request.regs.push_back({{static_cast<std::uint8_t>(0x10 + low), static_cast<std::uint8_t>(0x20 + low)},
                                        w.reglen,
                                        w.datalen,
                                        bytes.data()});
            }
            const bool done = member(request);
            return (done ? "done, data ends " : "failed, data ends ") + std::to_string(bytes.back());
        }};
}

const struct {
    const char* name;
    bool (*run)(I2cParam_t&);
    int allocations;
} kMembers[] = {{"read_std", CI2cHelper::read_std, 0},
                {"write_std", CI2cHelper::write_std, 2},
                {"read_ctl", CI2cHelper::read_ctl, 1},
                {"write_ctl", CI2cHelper::write_ctl, 2}};

// ---- The account ----

// Runs an operation on a kernel as it is set up; what it did, gave and said.
std::string account_of(FakeKernel& kernel, const operation_t& operation)
{
    CapturedLog log;
    const std::string result = operation.run();
    EXPECT_TRUE(kernel.all_closed()) << operation.name;
    std::string said = "  -> " + result + "\n";
    for (const std::string& message : log.take()) {
        said += "  " + message.substr(0, 160) + (message.back() == '\n' ? "" : "\n");
    }
    return said;
}

template <class Setup>
std::string account_with(const operation_t& operation, const std::string& how, const Setup& setup)
{
    FakeKernel kernel;
    setup(kernel);
    const std::string said = account_of(kernel, operation);
    return operation.name + how + "\n" + kernel.account + said;
}

std::string plain_account(const operation_t& operation)
{
    return account_with(operation, "", [](FakeKernel&) {});
}

// The calls, then what becomes of the operation when one of them fails, or moves too little.
std::string account_of_failures(const operation_t& operation)
{
    std::string text = plain_account(operation);
    for (int nth = 1;; ++nth) {
        bool moves = true;
        for (const auto& [result, error] : {std::pair{-1, EACCES}, {0, 0}, {1, 0}}) {
            if (!moves) continue;
            FakeKernel kernel;
            kernel.fail(nth, result, error);
            const std::string said = account_of(kernel, operation), call = kernel.failed_call();
            if (call.empty()) return text;
            text += " " + call + " gives " + std::to_string(result) + "\n" + said;
            moves = call.starts_with("write") || call.starts_with("read") || call.starts_with("transfer");
        }
    }
}

}   // namespace

TEST(Hardware, Gpio)
{
    std::string text;
    for (const operation_t& operation : kGpio) text += account_of_failures(operation);
    for (const operation_t& operation : kGpioOnce) text += plain_account(operation);
    for (const int gpio : {0, 31, 32, -1, -33, INT_MAX, INT_MIN}) text += plain_account(get_number(gpio));
    text += plain_account(set_by_sysfs(-5, 0));
    text += account_with(set_by_sysfs(37, 0), ", exported", [](FakeKernel& kernel) {
        kernel.paths = {{"/sys/class/gpio/gpio37", S_IFDIR}};
    });
    text += account_with(set_by_sysfs(37, 1), ", a file in the way, no directory comes", [](FakeKernel& kernel) {
        kernel.paths = {{"/sys/class/gpio/gpio37", S_IFREG}};
        kernel.fail(3, 3, 0);
    });
    text += account_with(kGpio[5], ", nothing to read", [](FakeKernel& kernel) { kernel.to_read = ""; });
    expect_golden("hardware_gpio.golden", text);
}

TEST(Hardware, I2c)
{
    std::string text;
    for (const auto& member : kMembers) {
        const auto one = [&](const std::string& how, const wanted_t& wanted) {
            return transfer(std::string(member.name) + how, member.run, wanted);
        };
        text += account_of_failures(one("", {}));
        for (int allocations = 0; allocations < member.allocations; ++allocations)
            text += account_with(one("", {}), ", no memory", [&](FakeKernel& k) { k.allocations_left = allocations; });
        text += plain_account(one(", none, by force", {0, 2, 3, 2, 0xFF}));
        // A combined message carries the low 16 bits of its length; the address goes first, then what fits of the data.
        for (const std::uint32_t size : {65534u, 65535u, 65536u, 200000u}) {
            text += plain_account(one(", 1 and " + std::to_string(size), {1, 1, size}));
            text += plain_account(one(", 2 and " + std::to_string(size), {1, 2, size}));
        }
        for (const std::size_t count : {21, 22, 42, 43}) {   // as many messages as the kernel takes, and more
            FakeKernel kernel;
            text += std::to_string(count) + account_of(kernel, one("", {count, 1, 1}));
        }
    }
    expect_golden("hardware_i2c.golden", text);
}

TEST(Hardware, I2cRequestsAreCheckedInOrderBeforeTheDeviceIsOpened)
{
    std::uint8_t data = 0;
    const I2cReg_t good = {{1}, 1, 1, &data}, unset = {{1}, 0, 0, nullptr}, long_address = {{1}, 3, 0, nullptr},
                   null = {{1}, 2, 0, nullptr}, empty = {{1}, 2, 0, &data};
    I2cParam_t requests[] = {{"", 0x50, 0, {unset}},
                             {"/dev/i2c-9", 0x50, 0, {good, unset, long_address}},
                             {"/dev/i2c-9", 0x50, 0, {long_address, unset}},
                             {"/dev/i2c-9", 0x50, 0, {good, good, null, empty}},
                             {"/dev/i2c-9", 0x50, 0, {empty, null}}};
    std::string text;
    for (I2cParam_t& request : requests) {
        text += plain_account({"checkParams", [&] { return std::to_string(CI2cHelper::checkParams(request)); }});
        for (const auto& member : kMembers)
            text += plain_account({member.name, [&] { return std::to_string(member.run(request)); }});
    }
    expect_golden("hardware_i2c_refused.golden", text);
}
