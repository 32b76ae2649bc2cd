#include "CGpioUtils.h"

#include <gmock/gmock.h>

#include <climits>

#include "fakes/fail_in_turn.h"

using testing::ElementsAre;
using testing::IsEmpty;

static constexpr char kChip[] = "/dev/gpiochip1";

static std::string from(const std::string& function, const std::string& text)
{
    return "4 libapp/utils/src/CGpioUtils " + function + ": " + text;
}

static int read_or_untouched()
{
    int value = 77;
    CGpioUtils::gpio_read(kChip, 5, value);
    return value;
}

static const FailingOperation kOperations[] = {
    {"gpio_write",
     [] { return CGpioUtils::gpio_write(kChip, 5, 1), 0; },
     {{0, from("gpio_write", "Unabled to open /dev/gpiochip1: %s")},
      {0, from("gpio_write", "Unable to line handle from ioctl : %s")},
      {0, from("gpio_write", "Unable to set line value using ioctl : %s")}}},
    {"gpio_read",
     read_or_untouched,
     {{77, from("gpio_read", "Unabled to open /dev/gpiochip1: %s")},
      {77, from("gpio_read", "Unable to get line handle from ioctl : %s")},
      {0, from("gpio_read", "Unable to get line value using ioctl : %s")}}},
    {"GpioSetValByApi",
     [] { return CGpioUtils::GpioSetValByApi(37, 1); },
     {{0, from("gpio_write", "Unabled to open /dev/gpiochip1: %s")},
      {0, from("gpio_write", "Unable to line handle from ioctl : %s")},
      {0, from("gpio_write", "Unable to set line value using ioctl : %s")}}},
    {"GpioGetValByApi",
     [] { return CGpioUtils::GpioGetValByApi(37); },
     {{0, from("gpio_read", "Unabled to open /dev/gpiochip1: %s")},
      {0, from("gpio_read", "Unable to get line handle from ioctl : %s")},
      {0, from("gpio_read", "Unable to get line value using ioctl : %s")}}},
    // stat, open and write export, stat, open and write direction, open and write value
    {"GpioSetValBySysfs",
     [] { return CGpioUtils::GpioSetValBySysfs(37, 1); },
     {{0, ""}, {-1, ""}, {-1, "", true}, {-1, ""}, {-1, ""}, {-1, "", true}, {-1, ""}, {-1, "", true}},
     true},
    // stat, open and write export, stat, open and read value
    {"GpioGetValBySysfs",
     [] { return CGpioUtils::GpioGetValBySysfs(37); },
     {{1, ""},
      {-1, ""},
      {-1, "", true},
      {-1, ""},
      {-1, ""},
      {-48, from("GpioGetValBySysfs", "Gpio Read failed with errno: %d")}},
     true},
};

TEST(Gpio, EveryCallFailsInTurn)
{
    for (const FailingOperation& operation : kOperations) fail_in_turn(operation);
}

TEST(Gpio, CallsOfTheCharacterDevice)
{
    CapturedLog log;
    FakeKernel kernel;
    CGpioUtils::gpio_write(kChip, 5, 1);
    EXPECT_THAT(kernel.calls,
                ElementsAre("open /dev/gpiochip1 r", "ioctl 0xc16cb403", "close", "ioctl 0xc040b409", "close"));
    EXPECT_EQ(1, kernel.level);
    EXPECT_EQ(2u, kernel.flags);
    EXPECT_EQ(5u, kernel.line);
    EXPECT_TRUE(kernel.cleared);

    kernel.calls.clear();
    EXPECT_EQ(1, read_or_untouched());
    EXPECT_THAT(kernel.calls,
                ElementsAre("open /dev/gpiochip1 r", "ioctl 0xc16cb403", "close", "ioctl 0xc040b408", "close"));
    EXPECT_EQ(1u, kernel.flags);
    EXPECT_TRUE(kernel.cleared);
    EXPECT_THAT(log.take(), IsEmpty());
}

TEST(Gpio, NumbersNameABankOf32AndALine)
{
    const struct {
        int gpio;
        const char* open;
        std::uint32_t line;
    } cases[] = {
        {0, "open /dev/gpiochip0 r", 0},
        {31, "open /dev/gpiochip0 r", 31},
        {32, "open /dev/gpiochip1 r", 0},
        {37, "open /dev/gpiochip1 r", 5},
        {-1, "open /dev/gpiochip-1 r", 31},
        {-32, "open /dev/gpiochip-1 r", 0},
        {-33, "open /dev/gpiochip-2 r", 31},
        {INT_MAX, "open /dev/gpiochip67108863 r", 31},
        {INT_MIN, "open /dev/gpiochip-67108864 r", 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.gpio);
        FakeKernel kernel;
        EXPECT_EQ(0, CGpioUtils::GpioSetValByApi(c.gpio, 1));
        EXPECT_EQ(c.open, kernel.calls[0]);
        EXPECT_EQ(c.line, kernel.line);
        EXPECT_EQ(1, CGpioUtils::GpioGetValByApi(c.gpio));
        EXPECT_EQ(c.open, kernel.calls[5]);
    }
}

TEST(Gpio, SysfsExportsOnceAndWritesTheNul)
{
    using namespace std::string_literals;
    FakeKernel kernel;
    EXPECT_EQ(0, CGpioUtils::GpioSetValBySysfs(37, -7));
    EXPECT_THAT(kernel.calls,
                ElementsAre("stat /sys/class/gpio/gpio37", "open /sys/class/gpio/export w", "write", "close",
                            "stat /sys/class/gpio/gpio37", "open /sys/class/gpio/gpio37/direction w", "write", "close",
                            "open /sys/class/gpio/gpio37/value w", "write", "close"));
    EXPECT_THAT(kernel.written, ElementsAre("37\0"s, "out\0"s, "1\0"s));

    kernel.calls.clear();
    kernel.to_read = "1\n";
    EXPECT_EQ(1, CGpioUtils::GpioGetValBySysfs(37));
    EXPECT_THAT(kernel.calls,
                ElementsAre("stat /sys/class/gpio/gpio37", "open /sys/class/gpio/gpio37/value rw", "read", "close"));

    kernel.written.clear();
    EXPECT_EQ(0, CGpioUtils::GpioSetValBySysfs(37, 0));
    EXPECT_EQ(0, CGpioUtils::GpioSetValBySysfs(-5, 0));
    EXPECT_THAT(kernel.written, ElementsAre("out\0"s, "0\0"s, "-5\0"s, "out\0"s, "0\0"s));
}

TEST(Gpio, SysfsOddities)
{
    CapturedLog log;
    FakeKernel kernel;
    kernel.files = {"/sys/class/gpio/gpio37"};   // in the way of the directory
    kernel.fail(3, 3, 0);                        // the kernel takes the number, but makes no directory
    EXPECT_EQ(-1, CGpioUtils::GpioSetValBySysfs(37, 1));
    EXPECT_EQ(ENOTDIR, errno);
    EXPECT_EQ("stat /sys/class/gpio/gpio37", kernel.calls.back());

    kernel.fail(3, -1, EBUSY);   // another program has exported the line
    kernel.directories = {};
    kernel.files = {};
    EXPECT_EQ(-1, CGpioUtils::GpioGetValBySysfs(38));   // and taken it back
    kernel.directories = {"/sys/class/gpio/gpio38"};
    EXPECT_EQ(-48, CGpioUtils::GpioGetValBySysfs(38));   // nothing to read
    EXPECT_THAT(log.take(), IsEmpty());
}

TEST(Gpio, ChipPathsOfAllKinds)
{
    CapturedLog log;
    CGpioUtils::gpio_write(nullptr, 0, 1);
    const std::string long_path = "/dev/" + std::string(5000, 'x');
    int value = 77;
    CGpioUtils::gpio_read(long_path.c_str(), 0, value);
    EXPECT_EQ(77, value);
    EXPECT_THAT(log.take(), ElementsAre(from("gpio_write", "Unabled to open : No such file or directory"),
                                        from("gpio_read", "Unabled to open " + long_path + ": File name too long")));
}

TEST(Gpio, HundredThousandFailuresLeaveNothingOpen)
{
    CapturedLog log;
    const int before = open_descriptor_count();
    for (int k = 0; k < 100000; k++) {
        const FailingOperation& operation = kOperations[k % std::size(kOperations)];
        FakeKernel kernel;
        kernel.fail(1 + k / 7 % static_cast<int>(operation.steps.size()), -1, EIO);
        operation.run();
        ASSERT_TRUE(kernel.open_descriptors.empty());
        if (k % 1000 == 0) log.take();
    }
    EXPECT_EQ(before, open_descriptor_count());
}
