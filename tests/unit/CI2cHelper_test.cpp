#include "CI2cHelper.h"

#include <gmock/gmock.h>

#include <numeric>

#include "fakes/fail_in_turn.h"
#include "fakes/failing_new.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

using Member = bool (*)(I2cParam_t&);
using Message = FakeKernel::Message;
using Bytes = std::vector<std::uint8_t>;

static std::string from(const std::string& function, const std::string& text, int level = 4)
{
    return std::to_string(level) + " libapp/utils/src/CI2cHelper " + function + ": " + text;
}

/// A request with its data: operations on the registers 0x1020, 0x1121 ... of slave 0x50.
struct Request : I2cParam_t {
    explicit Request(std::size_t operations, std::uint32_t reglen = 2, std::uint32_t datalen = 3) : bytes(datalen)
    {
        std::iota(bytes.begin(), bytes.end(), std::uint8_t{1});
        device = "/dev/i2c-9";
        address = 0x50;
        for (std::size_t k = 0; k < operations; k++)
            regs.push_back({{static_cast<std::uint8_t>(0x10 + k), static_cast<std::uint8_t>(0x20 + k)},
                            reglen,
                            datalen,
                            bytes.data()});
    }
    int sent_by(Member member) { return member(*this); }

    Bytes bytes;
};

/// Two register operations, whose calls after open and select fail with these texts.
static FailingOperation operation(const char* name, Member run, const std::vector<const char*>& texts, bool whole_block)
{
    FailingOperation two = {name,
                            [run] { return Request(2).sent_by(run); },
                            {{0, from(name, "open i2c</dev/i2c-9> error: %s")},
                             {0, from(name, "set i2c</dev/i2c-9> address<50> error: %s")}}};
    for (const char* text : texts) two.steps.push_back({0, from(name, text), whole_block});
    return two;
}

static constexpr char kAddress[] = "write register address error: %s";
static constexpr char kData[] = "read register data error: %s";
static constexpr char kMessages[] = "ending messages failed: %s";

static const FailingOperation kOperations[] = {
    operation("read_std", CI2cHelper::read_std, {kAddress, kData, kAddress, kData}, true),
    operation("write_std", CI2cHelper::write_std, {kAddress, kAddress}, true),
    operation("read_ctl", CI2cHelper::read_ctl, {kMessages}, false),
    operation("write_ctl", CI2cHelper::write_ctl, {kMessages}, false),
};
static const Member kMembers[] = {CI2cHelper::read_std, CI2cHelper::write_std, CI2cHelper::read_ctl,
                                  CI2cHelper::write_ctl};

TEST(I2c, EveryCallFailsInTurn)
{
    fail_in_turn(kOperations);
}

TEST(I2c, HundredThousandFailuresLeaveNothingOpen)
{
    fail_100000_times(kOperations);
}

TEST(I2c, ShortTransfersAreFailures)
{
    for (const int sent : {0, 1, 3}) {
        CapturedLog log;
        FakeKernel kernel;
        Request request(2);
        kernel.fail(3, sent, 0);
        EXPECT_FALSE(CI2cHelper::read_ctl(request));
        EXPECT_THAT(log.take(),
                    ElementsAre(from("read_ctl", "only " + std::to_string(sent) + "/4 messages were sent\n", 3)));
        EXPECT_TRUE(kernel.all_closed());
    }
}

TEST(I2c, RequestsAreCheckedInOrderBeforeTheDeviceIsOpened)
{
    std::uint8_t data = 0;
    const I2cReg_t good = {{1}, 1, 1, &data}, unset = {{1}, 0, 0, nullptr}, long_address = {{1}, 3, 0, nullptr},
                   null = {{1}, 2, 0, nullptr}, empty = {{1}, 2, 0, &data};
    const struct {
        const char* device;
        std::vector<I2cReg_t> regs;
        const char* message;
    } cases[] = {
        {"", {unset}, "i2c device is empty"},
        {"/dev/i2c-9", {good, unset, long_address}, "i2c register address is not set"},
        {"/dev/i2c-9", {long_address, unset}, "i2c register len is too long"},
        {"/dev/i2c-9", {good, good, null, empty}, "i2c data buffer is null"},
        {"/dev/i2c-9", {empty, null}, "i2c read or write data len is zero"},
    };
    for (const auto& c : cases) {
        CapturedLog log;
        FakeKernel kernel;
        I2cParam_t request = {c.device, 0x50, 0, c.regs};
        EXPECT_FALSE(CI2cHelper::checkParams(request));
        for (const Member member : kMembers) EXPECT_FALSE(member(request));
        EXPECT_EQ(std::vector<std::string>(5, from("checkParams", c.message)), log.take());
        EXPECT_THAT(kernel.calls, IsEmpty());
    }
}

TEST(I2c, AnEmptyListSelectsTheSlaveAndEnds)
{
    CapturedLog log;
    FakeKernel kernel;
    Request request(0);
    request.address = 0xFF;   // refused by the kernel, not here
    request.force = 2;
    for (const Member member : kMembers) {
        kernel.calls.clear();
        EXPECT_TRUE(member(request));
        EXPECT_THAT(kernel.calls, ElementsAre("open /dev/i2c-9 rw", "ioctl 0x706", "close"));
        EXPECT_EQ(0xFFu, kernel.slave);
    }
    EXPECT_TRUE(CI2cHelper::checkParams(request));
    EXPECT_THAT(log.take(), IsEmpty());
}

TEST(I2c, OneTransferPerStep)
{
    CapturedLog log;
    FakeKernel kernel;
    kernel.to_read = "abc";
    Request request(2);
    EXPECT_TRUE(CI2cHelper::read_std(request));
    EXPECT_THAT(kernel.calls,
                ElementsAre("open /dev/i2c-9 rw", "ioctl 0x703", "write", "read", "write", "read", "close"));
    EXPECT_THAT(kernel.written, ElementsAre("\x10\x20", "\x11\x21"));
    EXPECT_EQ(Bytes({'a', 'b', 'c'}), request.bytes);

    kernel.written.clear();
    EXPECT_TRUE(CI2cHelper::write_std(request));
    EXPECT_THAT(kernel.written, ElementsAre("\x10 abc", "\x11!abc"));
    EXPECT_THAT(log.take(), IsEmpty());
}

TEST(I2c, OneCombinedTransfer)
{
    CapturedLog log;
    FakeKernel kernel;
    Request read(2, 1);
    EXPECT_TRUE(CI2cHelper::read_ctl(read));
    EXPECT_THAT(kernel.calls, ElementsAre("open /dev/i2c-9 rw", "ioctl 0x703", "ioctl 0x707", "close"));
    EXPECT_THAT(kernel.messages, ElementsAre(Message{0x50, 0, 1, {0x10}}, Message{0x50, 1, 3, {}},
                                             Message{0x50, 0, 1, {0x11}}, Message{0x50, 1, 3, {}}));
    EXPECT_EQ(Bytes(3, 0x5A), read.bytes);

    kernel.messages.clear();
    Request write(2, 2, 1);
    EXPECT_TRUE(CI2cHelper::write_ctl(write));
    EXPECT_THAT(kernel.messages,
                ElementsAre(Message{0x50, 0, 3, {0x10, 0x20, 1}}, Message{0x50, 0, 3, {0x11, 0x21, 1}}));
    EXPECT_THAT(log.take(),
                ElementsAre(from("write_ctl", "message[0]: addr=0x50, flag=0, len=3, buf=0x10 0x20 0x01 0x00", 1)));
}

TEST(I2c, ListsOfAnyLength)
{
    for (const std::size_t count : {1u, 21u, 22u, 42u, 43u, 100000u}) {
        SCOPED_TRACE(count);
        CapturedLog log;
        FakeKernel kernel;
        Request request(count), written(count);
        kernel.to_read = "abc";
        EXPECT_TRUE(CI2cHelper::read_std(request));
        EXPECT_TRUE(CI2cHelper::write_std(request));
        EXPECT_EQ(count <= 21, CI2cHelper::read_ctl(request));
        EXPECT_EQ(count <= 42, CI2cHelper::write_ctl(written));
        const std::vector<std::string> messages = log.take();
        ASSERT_EQ((count > 21) + (count > 42) + 1, messages.size());
        EXPECT_EQ(from("write_ctl", "message[0]: addr=0x50, flag=0, len=5, buf=0x10 0x20 0x01 0x02", 1),
                  messages[count > 21]);
        if (count > 21) EXPECT_EQ(from("read_ctl", "ending messages failed: Invalid argument"), messages.front());
        EXPECT_TRUE(kernel.all_closed());
    }
}

TEST(I2c, LongData)
{
    // A combined message carries the low 16 bits of its length; the address goes first, then what fits of the data.
    const struct {
        std::uint32_t reglen, datalen;
        int read, write;
        Bytes start;
    } cases[] = {
        {1, 65534, 65534, 65535, {0x10, 1, 2}}, {1, 65535, 65535, 0, {}},
        {2, 65535, 65535, 1, {0x10}},           {2, 65536, 0, 2, {0x10, 0x20}},
        {1, 65538, 2, 3, {0x10, 1, 2}},         {2, 200000, 3392, 3394, {0x10, 0x20, 1}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.datalen);
        CapturedLog log;
        FakeKernel kernel;
        Request request(1, c.reglen, c.datalen);
        EXPECT_TRUE(CI2cHelper::write_ctl(request));
        const Message& message = kernel.messages.back();
        EXPECT_EQ(c.write, message.length);
        EXPECT_TRUE(std::equal(c.start.begin(), c.start.end(), message.bytes.begin()));
        EXPECT_TRUE(CI2cHelper::write_std(request));
        EXPECT_THAT(kernel.written.back(), SizeIs(c.reglen + c.datalen));   // plain writes know no such limit
        kernel.to_read.assign(c.datalen, 'x');
        EXPECT_TRUE(CI2cHelper::read_std(request));
        EXPECT_EQ(Bytes(c.datalen, 'x'), request.bytes);
        EXPECT_TRUE(CI2cHelper::read_ctl(request));
        EXPECT_EQ(c.read, kernel.messages.back().length);
    }
}

TEST(I2c, MemoryRunsOut)
{
    const struct {
        const FailingOperation& operation;
        long allocations;
    } cases[] = {{kOperations[1], 2}, {kOperations[2], 1}, {kOperations[3], 2}};
    for (const auto& [operation, allocations] : cases)
        for (long nth = 0; nth < allocations; nth++) {
            CapturedLog log;
            FakeKernel kernel;
            kernel.on_select = [nth] { fail_allocation(nth); };
            EXPECT_EQ(0, operation.run());
            fail_allocation(-1);
            std::string text = operation.steps.back().log;
            text.replace(text.find("%s"), 2, "Cannot allocate memory");
            EXPECT_THAT(log.take(), ElementsAre(text));
            EXPECT_TRUE(kernel.all_closed());
        }
}
