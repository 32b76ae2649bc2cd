// The hardware classes on a real kernel. Runs as a program of the guest, which has
//   /dev/gpiochip0   the board's own chip of 8 lines, whose inputs are driven from outside
//   /dev/gpiochip1   numbers 32..63 in sysfs too; line 7 cannot be read, line 9 takes no direction
//   /dev/gpiochip2   numbers 64..95, can be unplugged
//   /dev/i2c-0       slaves 0x50 (16-bit registers), 0x48 (8-bit) and 0x51 (claimed by a kernel driver)
// and prints one line per case. Cases build on each other, in order.
#include <CGpioUtils.h>
#include <CI2cHelper.h>
#include <fcntl.h>
#include <linux/gpio.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <numeric>
#include <thread>

#include "fakes/captured_log.h"

using Bytes = std::vector<std::uint8_t>;
using Call = std::function<int()>;

// ---- one line per case ----

static int cases = 0, failures = 0;

static void report(const std::string& name, bool passed, const std::string& seen = "")
{
    cases++;
    failures += passed ? 0 : 1;
    std::printf("%s %s%s\n", passed ? "ok" : "FAIL", name.c_str(), passed ? "" : (" - seen: " + seen).c_str());
    std::fflush(stdout);
}

static std::ptrdiff_t open_descriptors()
{
    const std::filesystem::directory_iterator folder("/proc/self/fd");
    return std::distance(begin(folder), end(folder));
}

/// A call, what it returns, and the end of the one message that it logs ("" for none). Debug messages do not count.
struct Case {
    std::string name;
    Call run;
    int result;
    std::string log = "";
};

static void run(const Case& c)
{
    CapturedLog log;
    const auto before = open_descriptors();
    const int result = c.run();
    const auto leaked = open_descriptors() - before;
    std::vector<std::string> messages = log.take();
    std::erase_if(messages, [](const std::string& message) { return message[0] == '1'; });
    const std::string last = messages.empty() ? "" : messages.back();
    report(c.name,
           result == c.result && messages.size() == (c.log.empty() ? 0 : 1) && last.ends_with(c.log) && leaked == 0,
           std::to_string(result) + ", '" + last + "', " + std::to_string(leaked) + " descriptors more");
}

static void put(const std::string& file, const std::string& text)
{
    std::ofstream(file) << text << std::flush;
}

/// The call after a text has been written to a file.
static Call after(const std::string& file, const std::string& text, const Call& call)
{
    return [=] { return put(file, text), call(); };
}

static constexpr char kParameters[] = "/sys/module/rtk_guest/parameters/";
static const std::string kMissing = "No such file or directory", kInvalid = "Invalid argument",
                         kBusy = "Device or resource busy", kIo = "Input/output error";

// ---- GPIO ----

static constexpr char kBoard[] = "/dev/gpiochip0";
static constexpr char kBank1[] = "/dev/gpiochip1";
static constexpr int kUntouched = 77;
static const std::string kOpen = "Unabled to open /dev/gpiochip",
                         kGetHandle = "Unable to get line handle from ioctl : ";

static Call get(const char* chip, int line)
{
    return [=] {
        int value = kUntouched;
        CGpioUtils::gpio_read(chip, line, value);
        return value;
    };
}

static Call set(
    const char* chip, int line, unsigned char value, const Call& then = [] { return 0; })
{
    return [=] { return CGpioUtils::gpio_write(chip, line, value), then(); };
}

static Call api_get(int number)
{
    return [=] { return CGpioUtils::GpioGetValByApi(number); };
}

static Call api_set(int number, int value)
{
    return [=] { return CGpioUtils::GpioSetValByApi(number, value); };
}

/// -1 with its errno as one number: -1000 - errno.
static int with_errno(int result)
{
    return result == -1 ? -1000 - errno : result;
}

static Call sysfs_get(int number)
{
    return [=] { return with_errno(CGpioUtils::GpioGetValBySysfs(number)); };
}

static Call sysfs_set(
    int number, int value, const Call& then = [] { return 0; })
{
    return [=] {
        const int result = with_errno(CGpioUtils::GpioSetValBySysfs(number, value));
        return result == 0 ? then() : result;
    };
}

/// The call while another program has line 5 of chip 1, number 37.
static Call while_held(const Call& call)
{
    return [=] {
        const int device = ::open(kBank1, O_RDONLY);
        gpiohandle_request request = {};
        request.lines = 1;
        request.lineoffsets[0] = 5;
        request.flags = GPIOHANDLE_REQUEST_INPUT;
        ::ioctl(device, GPIO_GET_LINEHANDLE_IOCTL, &request);
        const int result = call();
        ::close(request.fd);
        ::close(device);
        return result;
    };
}

static const Case kGpio[] = {
    {"gpio: high and back", set(kBank1, 5, 1, get(kBank1, 5)), 1},
    {"gpio: low and back", set(kBank1, 5, 0, get(kBank1, 5)), 0},
    {"gpio: last line of the chip", set(kBank1, 31, 1, get(kBank1, 31)), 1},
    {"gpio: value 255 is high", set(kBank1, 6, 255, get(kBank1, 6)), 1},
    {"gpio: the board's own chip", set(kBoard, 0, 1), 0},
    {"gpio: line above the chip's count", get(kBoard, 8), kUntouched, kGetHandle + kInvalid},
    {"gpio: negative line", get(kBoard, -1), kUntouched, kGetHandle + kInvalid},
    {"gpio: missing chip", api_set(300, 1), 0, kOpen + "9: " + kMissing},
    {"gpio: not a chip", get("/dev/null", 0), kUntouched, kGetHandle + "Inappropriate ioctl for device"},
    {"gpio: number 37 is set on chip 1", [] { return api_set(37, 1)() + get(kBank1, 5)(); }, 1},
    {"gpio: number 37 is read there", api_get(37), 1},
    {"gpio: number of no chip", api_get(-1), 0, kOpen + "-1: " + kMissing},
    {"gpio: line that cannot be read", get(kBank1, 7), 0, "Unable to get line value using ioctl : " + kIo},
    {"gpio: line that cannot be an output", set(kBank1, 9, 1), 0, "Unable to line handle from ioctl : " + kIo},
    {"gpio: line that cannot be an input", get(kBank1, 9), kUntouched, kGetHandle + kIo},
    {"gpio: line held by another", while_held(get(kBank1, 5)), kUntouched, kGetHandle + kBusy},

    {"sysfs: line held by another", while_held(sysfs_set(37, 1)), -1000 - EBUSY},
    {"sysfs: exports and reads what the chip device set", sysfs_get(37), 1},
    {"sysfs: an exported line is taken", api_get(37), 0, kGetHandle + kBusy},
    {"sysfs: low", sysfs_set(37, 0, sysfs_get(37)), 0},
    {"sysfs: any value is high", sysfs_set(37, -3, sysfs_get(37)), 1},
    {"sysfs: given back, the chip device has it", after("/sys/class/gpio/unexport", "37", api_get(37)), 1},
    {"sysfs: exported by another", after("/sys/class/gpio/export", "38", sysfs_set(38, 1)), 0},
    {"sysfs: line that cannot be read", sysfs_get(39), -'0', "Gpio Read failed with errno: 5"},
    {"sysfs: line that takes no direction", sysfs_set(41, 1), -1000 - EIO},
    {"sysfs: number of no chip", sysfs_set(400, 1), -1000 - EINVAL},
    {"sysfs: negative number", sysfs_get(-5), -1000 - EINVAL},
    {"sysfs: a line of chip 2", sysfs_set(70, 1), 0},
    {"unplugged: the line is gone from sysfs", after(kParameters + std::string("unplug"), "1", sysfs_get(70)),
     -1000 - EINVAL},
    {"unplugged: the chip is gone", get("/dev/gpiochip2", 6), kUntouched, kOpen + "2: " + kMissing},
};

/// The board's input follows what is driven from outside: whoever reads our output does so when told.
static void driven_from_outside()
{
    for (const int level : {1, 0, 1, 0}) {
        std::printf("drive 6 %d\n", level);
        std::fflush(stdout);
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (get(kBoard, 6)() != level && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        run({"gpio: input driven to " + std::to_string(level), get(kBoard, 6), level});
    }
}

/// One of them has the line at a time; the others are told so and leave their value alone.
static void many_threads_on_one_line()
{
    CapturedLog log;
    const auto before = open_descriptors();
    std::atomic<int> reads = 0, refusals = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 50; t++)
        threads.emplace_back([&] {
            for (int k = 0; k < 40; k++) {
                const int value = get(kBank1, 31)();
                reads += value == 1;
                refusals += value == kUntouched;
            }
        });
    for (std::thread& thread : threads) thread.join();

    const std::vector<std::string> messages = log.take();
    const std::string busy = "4 libapp/utils/src/CGpioUtils gpio_read: " + kGetHandle + kBusy;
    report("gpio: 50 threads on one line, 40 reads each",
           reads > 0 && reads + refusals == 2000 && messages == std::vector<std::string>(refusals, busy) &&
               before == open_descriptors(),
           std::to_string(reads) + " read, " + std::to_string(refusals) + " refused");
}

// ---- I2C ----

using Member = bool (*)(I2cParam_t&);

struct Wanted {
    std::uint8_t slave;
    std::uint32_t reglen, datalen;
    std::size_t operations = 1;
    const char* device = "/dev/i2c-0";
    std::uint8_t force = 0;
};

/// Equal operations on one slave, with their data.
struct Request : I2cParam_t {
    explicit Request(const Wanted& w) : I2cParam_t{w.device, w.slave, w.force, {}}, bytes(w.datalen)
    {
        std::iota(bytes.begin(), bytes.end(), std::uint8_t{1});
        regs.assign(w.operations, {{0x10, 0x20}, w.reglen, w.datalen, bytes.data()});
    }
    Bytes bytes;
};

static Call once(Member member, const Wanted& wanted)
{
    return [=] {
        Request request(wanted);
        return int{member(request)};
    };
}

/// Writes one way, reads the other. The call gives the number of bytes that came back.
static Call there_and_back(Member write, Member read, const Wanted& wanted)
{
    return [=] {
        Request request(wanted);
        const Bytes sent = request.bytes;
        if (!write(request)) return -1;
        std::fill(request.bytes.begin(), request.bytes.end(), std::uint8_t{0});
        if (!read(request)) return -2;
        return request.bytes == sent ? static_cast<int>(sent.size()) : -3;
    };
}

/// The call while a parameter of the guest's adapter has another value than its usual one.
static Call with_fault(const std::string& parameter, int value, int usual, const Call& call)
{
    return [=] {
        const int result = after(kParameters + parameter, std::to_string(value), call)();
        put(kParameters + parameter, std::to_string(usual));
        return result;
    };
}

static constexpr auto read_std = CI2cHelper::read_std, write_std = CI2cHelper::write_std,
                      read_ctl = CI2cHelper::read_ctl, write_ctl = CI2cHelper::write_ctl;
static const std::string kMessages = "ending messages failed: ", kAddress = "write register address error: ",
                         kData = "read register data error: ", kNoSlave = "No such device or address";

static const Case kI2c[] = {
    {"i2c: combined there, combined back", there_and_back(write_ctl, read_ctl, {0x50, 2, 4}), 4},
    {"i2c: plain there, plain back", there_and_back(write_std, read_std, {0x50, 2, 100}), 100},
    {"i2c: plain there, combined back", there_and_back(write_std, read_ctl, {0x48, 1, 16}), 16},
    {"i2c: combined there, plain back", there_and_back(write_ctl, read_std, {0x48, 1, 1}), 1},
    {"i2c: no operations", once(write_ctl, {0x50, 2, 4, 0}), 1},
    {"i2c: 21 reads combined", once(read_ctl, {0x50, 2, 4, 21}), 1},
    {"i2c: 22 reads combined", once(read_ctl, {0x50, 2, 4, 22}), 0, kMessages + kInvalid},
    {"i2c: 42 writes combined", once(write_ctl, {0x50, 2, 4, 42}), 1},
    {"i2c: 43 writes combined", once(write_ctl, {0x50, 2, 4, 43}), 0, kMessages + kInvalid},
    {"i2c: 100000 reads combined", once(read_ctl, {0x50, 2, 4, 100000}), 0, kMessages + kInvalid},
    {"i2c: 1000 reads one by one", once(read_std, {0x50, 2, 4, 1000}), 1},
    {"i2c: 8190 bytes, the longest write", there_and_back(write_ctl, read_ctl, {0x50, 2, 8190}), 8190},
    {"i2c: 8191 bytes are too many", once(write_ctl, {0x50, 2, 8191}), 0, kMessages + kInvalid},
    {"i2c: 8191 bytes plain", once(write_std, {0x50, 2, 8191}), 0, kAddress + kIo},
    {"i2c: 8193 bytes read plain", once(read_std, {0x50, 2, 8193}), 0, kData + kIo},
    {"i2c: length 65535 and an address byte", once(write_ctl, {0x48, 1, 65535}), 1},
    {"i2c: length 65536 read combined", once(read_ctl, {0x50, 2, 65536}), 1},
    {"i2c: absent slave, combined", once(read_ctl, {0x20, 1, 4}), 0, kMessages + kNoSlave},
    {"i2c: absent slave, plain", once(read_std, {0x20, 1, 4}), 0, kAddress + kNoSlave},
    {"i2c: address above 0x7f", once(read_ctl, {0x80, 1, 4}), 0, "set i2c</dev/i2c-0> address<80> error: " + kInvalid},
    {"i2c: claimed slave", once(read_ctl, {0x51, 1, 4}), 0, "set i2c</dev/i2c-0> address<51> error: " + kBusy},
    {"i2c: claimed slave, forced", there_and_back(write_std, read_ctl, {0x51, 1, 4, 1, "/dev/i2c-0", 1}), 4},
    {"i2c: missing device", once(write_std, {0x50, 2, 4, 1, "/dev/i2c-9"}), 0,
     "open i2c</dev/i2c-9> error: " + kMissing},
    {"i2c: not an adapter", once(write_ctl, {0x50, 2, 4, 1, "/dev/null"}), 0,
     "set i2c</dev/null> address<50> error: Inappropriate ioctl for device"},
    {"i2c: stops after 1 of 4 messages", with_fault("stop_after", 1, -1, once(read_ctl, {0x50, 2, 4, 2})), 0,
     "only 1/4 messages were sent\n"},
    {"i2c: stops after 0 of 2 messages", with_fault("stop_after", 0, -1, once(write_ctl, {0x50, 2, 4, 2})), 0,
     "only 0/2 messages were sent\n"},
    {"i2c: plain write moves nothing", with_fault("stop_after", 0, -1, once(write_std, {0x50, 2, 4})), 0,
     kAddress + kIo},
    {"i2c: bus timeout", with_fault("fail_with", ETIMEDOUT, 0, once(read_ctl, {0x50, 2, 4})), 0,
     kMessages + "Connection timed out"},
    {"i2c: slave does not acknowledge", with_fault("fail_with", EREMOTEIO, 0, once(write_std, {0x50, 2, 4})), 0,
     kAddress + "Remote I/O error"},
    {"i2c: and works again", there_and_back(write_ctl, read_ctl, {0x50, 2, 4}), 4},
};

static void failures_leave_nothing_open()
{
    CapturedLog log;
    const auto before = open_descriptors();
    for (int k = 0; k < 2500; k++)
        for (const Call& call :
             {get(kBank1, 9), get(kBank1, 7), once(read_ctl, {0x20, 1, 4}), once(write_std, {0x51, 1, 4})})
            call();
    report("10000 failing calls leave no descriptor open", before == open_descriptors() && log.take().size() == 10000);
}

int main()
{
    driven_from_outside();
    for (const Case& c : kGpio) run(c);
    for (const char* number : {"38", "39", "41"}) put("/sys/class/gpio/unexport", number);
    many_threads_on_one_line();
    for (const Case& c : kI2c) run(c);
    failures_leave_nothing_open();
    std::printf("%d cases of the classes, %d failed\n", cases, failures);
    return failures == 0 ? 0 : 1;
}
