#include "CGpioUtils.h"

#include <gmock/gmock.h>

#include <climits>
#include <cmath>

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

using Steps = std::vector<FailingOperation::Step>;

static const Steps kWriteFails = {{0, from("gpio_write", "Unabled to open /dev/gpiochip1: %s")},
                                  {0, from("gpio_write", "Unable to line handle from ioctl : %s")},
                                  {0, from("gpio_write", "Unable to set line value using ioctl : %s")}};

static Steps read_fails(int unread)
{
    return {{unread, from("gpio_read", "Unabled to open /dev/gpiochip1: %s")},
            {unread, from("gpio_read", "Unable to get line handle from ioctl : %s")},
            {0, from("gpio_read", "Unable to get line value using ioctl : %s")}};
}

// Step by step: stat, open and write export, stat, then open and write direction and value, or open and read value.
static const Steps kSysfsSetFails = {{0, ""},  {-1, ""},       {-1, "", true}, {-1, ""},
                                     {-1, ""}, {-1, "", true}, {-1, ""},       {-1, "", true}};
static const Steps kSysfsGetFails = {
    {1, ""},  {-1, ""}, {-1, "", true},
    {-1, ""}, {-1, ""}, {-48, from("GpioGetValBySysfs", "Gpio Read failed with errno: %d")}};

static const FailingOperation kOperations[] = {
    {"gpio_write", [] { return CGpioUtils::gpio_write(kChip, 5, 1), 0; }, kWriteFails},
    {"gpio_read", read_or_untouched, read_fails(77)},
    {"GpioSetValByApi", [] { return CGpioUtils::GpioSetValByApi(37, 1); }, kWriteFails},
    {"GpioGetValByApi", [] { return CGpioUtils::GpioGetValByApi(37); }, read_fails(0)},
    {"GpioSetValBySysfs", [] { return CGpioUtils::GpioSetValBySysfs(37, 1); }, kSysfsSetFails, true},
    {"GpioGetValBySysfs", [] { return CGpioUtils::GpioGetValBySysfs(37); }, kSysfsGetFails, true},
};

TEST(Gpio, EveryCallFailsInTurn)
{
    fail_in_turn(kOperations);
}

TEST(Gpio, HundredThousandFailuresLeaveNothingOpen)
{
    fail_100000_times(kOperations);
}

/// Whether the request was for line 5 alone, everything else zero.
static bool asked_for_line_5(const FakeKernel& kernel, std::uint32_t flags)
{
    gpiohandle_request plain = {};
    plain.lines = 1;
    plain.lineoffsets[0] = 5;
    plain.flags = flags;
    return std::memcmp(&plain, &kernel.request, sizeof plain) == 0;
}

TEST(Gpio, CallsOfTheCharacterDevice)
{
    CapturedLog log;
    FakeKernel kernel;
    CGpioUtils::gpio_write(kChip, 5, 1);
    EXPECT_TRUE(asked_for_line_5(kernel, GPIOHANDLE_REQUEST_OUTPUT));
    EXPECT_EQ(1, kernel.level);
    EXPECT_EQ(1, read_or_untouched());
    EXPECT_TRUE(asked_for_line_5(kernel, GPIOHANDLE_REQUEST_INPUT));
    EXPECT_THAT(kernel.calls,
                ElementsAre("open /dev/gpiochip1 r", "ioctl 0xc16cb403", "close", "ioctl 0xc040b409", "close",
                            "open /dev/gpiochip1 r", "ioctl 0xc16cb403", "close", "ioctl 0xc040b408", "close"));
    EXPECT_THAT(log.take(), IsEmpty());
}

TEST(Gpio, NumbersNameABankOf32AndALine)
{
    for (const int gpio : {0, 31, 32, 37, -1, -32, -33, INT_MAX, INT_MIN}) {
        SCOPED_TRACE(gpio);
        const double bank = std::floor(gpio / 32.0);
        const std::string open = "open /dev/gpiochip" + std::to_string(static_cast<int>(bank)) + " r";
        FakeKernel kernel;
        EXPECT_EQ(0, CGpioUtils::GpioSetValByApi(gpio, 1));
        EXPECT_EQ(open, kernel.calls[0]);
        EXPECT_EQ(gpio - 32 * bank, kernel.request.lineoffsets[0]);
        EXPECT_EQ(1, CGpioUtils::GpioGetValByApi(gpio));
        EXPECT_EQ(open, kernel.calls[5]);
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
    kernel.paths = {{"/sys/class/gpio/gpio37", S_IFREG}};   // in the way of the directory
    kernel.fail(3, 3, 0);                                   // the kernel takes the number, but makes no directory
    EXPECT_EQ(-1, CGpioUtils::GpioSetValBySysfs(37, 1));
    EXPECT_EQ(ENOTDIR, errno);
    EXPECT_EQ("stat /sys/class/gpio/gpio37", kernel.calls.back());

    kernel.fail(3, -1, EBUSY);                          // another program has exported the line
    EXPECT_EQ(-1, CGpioUtils::GpioGetValBySysfs(38));   // and taken it back
    kernel.paths = {{"/sys/class/gpio/gpio38", S_IFDIR}};
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
