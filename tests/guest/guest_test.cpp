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
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <numeric>
#include <thread>

#include "fakes/captured_log.h"

using Bytes = std::vector<std::uint8_t>;

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
    std::function<int()> run;
    int result;
    std::string log;
};

static void run(const Case& c)
{
    CapturedLog log;
    const auto before = open_descriptors();
    const int result = c.run();
    const auto after = open_descriptors();
    std::vector<std::string> messages = log.take();
    messages.erase(std::remove_if(messages.begin(), messages.end(), [](const std::string& m) { return m[0] == '1'; }),
                   messages.end());

    const std::string last = messages.empty() ? "" : messages.back();
    const bool logged = messages.size() == (c.log.empty() ? 0 : 1) && last.size() >= c.log.size() &&
                        last.compare(last.size() - c.log.size(), c.log.size(), c.log) == 0;
    report(c.name, result == c.result && logged && before == after,
           std::to_string(result) + ", '" + last + "', " + std::to_string(after - before) + " descriptors more");
}

static void put(const std::string& file, const std::string& text)
{
    std::ofstream(file) << text << std::flush;
}

static void module_parameter(const std::string& name, int value)
{
    put("/sys/module/rtk_guest/parameters/" + name, std::to_string(value));
}

// ---- GPIO ----

static constexpr char kBoard[] = "/dev/gpiochip0";
static constexpr char kBank1[] = "/dev/gpiochip1";
static constexpr int kUntouched = 77;

static int get(const char* chip, int line)
{
    int value = kUntouched;
    CGpioUtils::gpio_read(chip, line, value);
    return value;
}

static int set_get(const char* chip, int line, unsigned char value)
{
    CGpioUtils::gpio_write(chip, line, value);
    return get(chip, line);
}

/// Keeps a line requested, as another program would.
class HeldLine {
public:
    HeldLine(const char* chip, int line)
    {
        const int device = ::open(chip, O_RDONLY);
        gpiohandle_request request = {};
        request.lines = 1;
        request.lineoffsets[0] = static_cast<std::uint32_t>(line);
        request.flags = GPIOHANDLE_REQUEST_INPUT;
        m_fd = ::ioctl(device, GPIO_GET_LINEHANDLE_IOCTL, &request) == 0 ? request.fd : -1;
        ::close(device);
    }
    ~HeldLine() { ::close(m_fd); }

private:
    int m_fd;
};

/// -1 with its errno as one number: -1000 - errno.
static int with_errno(int result)
{
    return result == -1 ? -1000 - errno : result;
}

static const Case kGpio[] = {
    {"gpio: high and back", [] { return set_get(kBank1, 5, 1); }, 1, ""},
    {"gpio: low and back", [] { return set_get(kBank1, 5, 0); }, 0, ""},
    {"gpio: last line of the chip", [] { return set_get(kBank1, 31, 1); }, 1, ""},
    {"gpio: value 255 is high", [] { return set_get(kBank1, 6, 255); }, 1, ""},
    {"gpio: the board's own chip", [] { return CGpioUtils::gpio_write(kBoard, 0, 1), 0; }, 0, ""},
    {"gpio: line above the chip's count", [] { return get(kBoard, 8); }, kUntouched,
     "Unable to get line handle from ioctl : Invalid argument"},
    {"gpio: negative line", [] { return get(kBoard, -1); }, kUntouched,
     "Unable to get line handle from ioctl : Invalid argument"},
    {"gpio: missing chip", [] { return CGpioUtils::GpioSetValByApi(300, 1); }, 0,
     "Unabled to open /dev/gpiochip9: No such file or directory"},
    {"gpio: not a chip", [] { return get("/dev/null", 0); }, kUntouched,
     "Unable to get line handle from ioctl : Inappropriate ioctl for device"},
    {"gpio: number 37 is set on chip 1", [] { return CGpioUtils::GpioSetValByApi(37, 1) + get(kBank1, 5); }, 1, ""},
    {"gpio: number 37 is read there", [] { return CGpioUtils::GpioGetValByApi(37); }, 1, ""},
    {"gpio: number of no chip", [] { return CGpioUtils::GpioGetValByApi(-1); }, 0,
     "Unabled to open /dev/gpiochip-1: No such file or directory"},
    {"gpio: line that cannot be read", [] { return get(kBank1, 7); }, 0,
     "Unable to get line value using ioctl : Input/output error"},
    {"gpio: line that cannot be an output", [] { return CGpioUtils::gpio_write(kBank1, 9, 1), 0; }, 0,
     "Unable to line handle from ioctl : Input/output error"},
    {"gpio: line that cannot be an input", [] { return get(kBank1, 9); }, kUntouched,
     "Unable to get line handle from ioctl : Input/output error"},
    {"gpio: line held by another",
     [] {
         const HeldLine held(kBank1, 5);
         return get(kBank1, 5);
     },
     kUntouched, "Unable to get line handle from ioctl : Device or resource busy"},

    {"sysfs: line held by another",
     [] {
         const HeldLine held(kBank1, 5);
         return with_errno(CGpioUtils::GpioSetValBySysfs(37, 1));
     },
     -1000 - EBUSY, ""},
    {"sysfs: exports and reads what the chip device set", [] { return CGpioUtils::GpioGetValBySysfs(37); }, 1, ""},
    {"sysfs: an exported line is taken", [] { return CGpioUtils::GpioGetValByApi(37); }, 0,
     "Unable to get line handle from ioctl : Device or resource busy"},
    {"sysfs: low", [] { return CGpioUtils::GpioSetValBySysfs(37, 0) * 10 + CGpioUtils::GpioGetValBySysfs(37); }, 0, ""},
    {"sysfs: any value is high",
     [] { return CGpioUtils::GpioSetValBySysfs(37, -3) * 10 + CGpioUtils::GpioGetValBySysfs(37); }, 1, ""},
    {"sysfs: given back, the chip device has it",
     [] {
         put("/sys/class/gpio/unexport", "37");
         return CGpioUtils::GpioGetValByApi(37);
     },
     1, ""},
    {"sysfs: exported by another",
     [] {
         put("/sys/class/gpio/export", "38");
         return CGpioUtils::GpioSetValBySysfs(38, 1);
     },
     0, ""},
    {"sysfs: line that cannot be read", [] { return CGpioUtils::GpioGetValBySysfs(39); }, -'0',
     "Gpio Read failed with errno: 5"},
    {"sysfs: line that takes no direction", [] { return with_errno(CGpioUtils::GpioSetValBySysfs(41, 1)); },
     -1000 - EIO, ""},
    {"sysfs: number of no chip", [] { return with_errno(CGpioUtils::GpioSetValBySysfs(400, 1)); }, -1000 - EINVAL, ""},
    {"sysfs: negative number", [] { return with_errno(CGpioUtils::GpioGetValBySysfs(-5)); }, -1000 - EINVAL, ""},
    {"sysfs: a line of chip 2", [] { return CGpioUtils::GpioSetValBySysfs(70, 1); }, 0, ""},
    {"unplugged: the line is gone from sysfs",
     [] {
         module_parameter("unplug", 1);
         return with_errno(CGpioUtils::GpioGetValBySysfs(70));
     },
     -1000 - EINVAL, ""},
    {"unplugged: the chip is gone", [] { return get("/dev/gpiochip2", 6); }, kUntouched,
     "Unabled to open /dev/gpiochip2: No such file or directory"},
};

/// The board's input follows what is driven from outside: whoever reads our output does so when told.
static void driven_from_outside()
{
    for (const int level : {1, 0, 1, 0}) {
        std::printf("drive 6 %d\n", level);
        std::fflush(stdout);
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (get(kBoard, 6) != level && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        run({"gpio: input driven to " + std::to_string(level), [] { return get(kBoard, 6); }, level, ""});
    }
}

/// One of them has the line at a time; the others are told so and leave their value alone.
static void many_threads_on_one_line()
{
    constexpr char kBusy[] =
        "4 libapp/utils/src/CGpioUtils gpio_read: Unable to get line handle from ioctl : Device or resource busy";
    CapturedLog log;
    const auto before = open_descriptors();
    std::vector<int> read(50), refused(50);
    std::vector<std::thread> threads;
    for (int t = 0; t < 50; t++)
        threads.emplace_back([t, &read, &refused] {
            for (int k = 0; k < 40; k++) {
                const int value = get(kBank1, 31);
                read[t] += value == 1;
                refused[t] += value == kUntouched;
            }
        });
    for (std::thread& thread : threads) thread.join();

    const int reads = std::accumulate(read.begin(), read.end(), 0),
              refusals = std::accumulate(refused.begin(), refused.end(), 0);
    const std::vector<std::string> messages = log.take();
    const bool busy = std::all_of(messages.begin(), messages.end(), [&](const std::string& m) { return m == kBusy; });
    report("gpio: 50 threads on one line, 40 reads each",
           reads > 0 && reads + refusals == 2000 && busy && static_cast<int>(messages.size()) == refusals &&
               before == open_descriptors(),
           std::to_string(reads) + " read, " + std::to_string(refusals) + " refused");
}

// ---- I2C ----

using Member = bool (*)(I2cParam_t&);

/// A request of equal operations on one slave, with their data.
struct Request : I2cParam_t {
    Request(std::uint8_t slave, std::uint32_t reglen, std::uint32_t datalen, std::size_t operations = 1)
        : bytes(datalen)
    {
        std::iota(bytes.begin(), bytes.end(), std::uint8_t{1});
        device = "/dev/i2c-0";
        address = slave;
        for (std::size_t k = 0; k < operations; k++) regs.push_back({{0x10, 0x20}, reglen, datalen, bytes.data()});
    }
    Bytes bytes;
};

static int once(Member member, Request request)
{
    return member(request);
}

/// Writes one way, reads the other. @return number of bytes that came back
static int there_and_back(Member write, Member read, Request request)
{
    const Bytes sent = request.bytes;
    if (!write(request)) return -1;
    std::fill(request.bytes.begin(), request.bytes.end(), std::uint8_t{0});
    if (!read(request)) return -2;
    return request.bytes == sent ? static_cast<int>(sent.size()) : -3;
}

static int elsewhere(Member member, const char* device)
{
    Request request(0x50, 2, 4);
    request.device = device;
    return member(request);
}

static Request forced(std::uint8_t slave)
{
    Request request(slave, 1, 4);
    request.force = 1;
    return request;
}

static int with_fault(const char* parameter, int value, const std::function<int()>& call)
{
    const int usual = std::strcmp(parameter, "stop_after") == 0 ? -1 : 0;
    module_parameter(parameter, value);
    const int result = call();
    module_parameter(parameter, usual);
    return result;
}

static constexpr auto read_std = CI2cHelper::read_std, write_std = CI2cHelper::write_std,
                      read_ctl = CI2cHelper::read_ctl, write_ctl = CI2cHelper::write_ctl;

static const Case kI2c[] = {
    {"i2c: combined there, combined back", [] { return there_and_back(write_ctl, read_ctl, Request(0x50, 2, 4)); }, 4,
     ""},
    {"i2c: plain there, plain back", [] { return there_and_back(write_std, read_std, Request(0x50, 2, 100)); }, 100,
     ""},
    {"i2c: plain there, combined back", [] { return there_and_back(write_std, read_ctl, Request(0x48, 1, 16)); }, 16,
     ""},
    {"i2c: combined there, plain back", [] { return there_and_back(write_ctl, read_std, Request(0x48, 1, 1)); }, 1, ""},
    {"i2c: no operations", [] { return once(write_ctl, Request(0x50, 2, 4, 0)); }, 1, ""},
    {"i2c: 21 reads combined", [] { return once(read_ctl, Request(0x50, 2, 4, 21)); }, 1, ""},
    {"i2c: 22 reads combined", [] { return once(read_ctl, Request(0x50, 2, 4, 22)); }, 0,
     "ending messages failed: Invalid argument"},
    {"i2c: 42 writes combined", [] { return once(write_ctl, Request(0x50, 2, 4, 42)); }, 1, ""},
    {"i2c: 43 writes combined", [] { return once(write_ctl, Request(0x50, 2, 4, 43)); }, 0,
     "ending messages failed: Invalid argument"},
    {"i2c: 100000 reads combined", [] { return once(read_ctl, Request(0x50, 2, 4, 100000)); }, 0,
     "ending messages failed: Invalid argument"},
    {"i2c: 1000 reads one by one", [] { return once(read_std, Request(0x50, 2, 4, 1000)); }, 1, ""},
    {"i2c: 8190 bytes, the longest write", [] { return there_and_back(write_ctl, read_ctl, Request(0x50, 2, 8190)); },
     8190, ""},
    {"i2c: 8191 bytes are too many", [] { return once(write_ctl, Request(0x50, 2, 8191)); }, 0,
     "ending messages failed: Invalid argument"},
    {"i2c: 8191 bytes plain", [] { return once(write_std, Request(0x50, 2, 8191)); }, 0,
     "write register address error: Input/output error"},
    {"i2c: 8193 bytes read plain", [] { return once(read_std, Request(0x50, 2, 8193)); }, 0,
     "read register data error: Input/output error"},
    {"i2c: length 65535 and an address byte", [] { return once(write_ctl, Request(0x48, 1, 65535)); }, 1, ""},
    {"i2c: length 65536 read combined", [] { return once(read_ctl, Request(0x50, 2, 65536)); }, 1, ""},
    {"i2c: absent slave, combined", [] { return once(read_ctl, Request(0x20, 1, 4)); }, 0,
     "ending messages failed: No such device or address"},
    {"i2c: absent slave, plain", [] { return once(read_std, Request(0x20, 1, 4)); }, 0,
     "write register address error: No such device or address"},
    {"i2c: address above 0x7f", [] { return once(read_ctl, Request(0x80, 1, 4)); }, 0,
     "set i2c</dev/i2c-0> address<80> error: Invalid argument"},
    {"i2c: claimed slave", [] { return once(read_ctl, Request(0x51, 1, 4)); }, 0,
     "set i2c</dev/i2c-0> address<51> error: Device or resource busy"},
    {"i2c: claimed slave, forced", [] { return there_and_back(write_std, read_ctl, forced(0x51)); }, 4, ""},
    {"i2c: missing device", [] { return elsewhere(write_std, "/dev/i2c-9"); }, 0,
     "open i2c</dev/i2c-9> error: No such file or directory"},
    {"i2c: not an adapter", [] { return elsewhere(write_ctl, "/dev/null"); }, 0,
     "set i2c</dev/null> address<50> error: Inappropriate ioctl for device"},
    {"i2c: stops after 1 of 4 messages",
     [] { return with_fault("stop_after", 1, [] { return once(read_ctl, Request(0x50, 2, 4, 2)); }); }, 0,
     "only 1/4 messages were sent\n"},
    {"i2c: stops after 0 of 2 messages",
     [] { return with_fault("stop_after", 0, [] { return once(write_ctl, Request(0x50, 2, 4, 2)); }); }, 0,
     "only 0/2 messages were sent\n"},
    {"i2c: plain write moves nothing",
     [] { return with_fault("stop_after", 0, [] { return once(write_std, Request(0x50, 2, 4)); }); }, 0,
     "write register address error: Input/output error"},
    {"i2c: bus timeout",
     [] { return with_fault("fail_with", ETIMEDOUT, [] { return once(read_ctl, Request(0x50, 2, 4)); }); }, 0,
     "ending messages failed: Connection timed out"},
    {"i2c: bus arbitration lost",
     [] { return with_fault("fail_with", EAGAIN, [] { return once(read_std, Request(0x50, 2, 4)); }); }, 0,
     "write register address error: Resource temporarily unavailable"},
    {"i2c: slave does not acknowledge",
     [] { return with_fault("fail_with", EREMOTEIO, [] { return once(write_std, Request(0x50, 2, 4)); }); }, 0,
     "write register address error: Remote I/O error"},
    {"i2c: and works again", [] { return there_and_back(write_ctl, read_ctl, Request(0x50, 2, 4)); }, 4, ""},
};

static void failures_leave_nothing_open()
{
    CapturedLog log;
    const auto before = open_descriptors();
    for (int k = 0; k < 2500; k++) {
        get(kBank1, 9);
        get(kBank1, 7);
        once(read_ctl, Request(0x20, 1, 4));
        once(write_std, Request(0x51, 1, 4));
    }
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
