#include "CPhgLog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rtkcommon/thread_task.h>

#include <optional>
#include <random>
#include <thread>

#include "fakes/captured_log.h"
#include "fakes/failing_new.h"
#include "support/dump_records.h"
#include "support/gate.h"
#include "support/temporary_folder.h"

using testing::ElementsAre;

static std::atomic<int> g_writes_left{-1};   // the fwrite after so many fails; -1: none

extern "C" std::size_t __real_fwrite(const void*, std::size_t, std::size_t, FILE*);
extern "C" std::size_t __wrap_fwrite(const void* data, std::size_t size, std::size_t count, FILE* file)
{
    if (g_writes_left >= 0 && g_writes_left-- == 0) return 0;
    return __real_fwrite(data, size, count, file);
}

namespace {

using strings_t = std::vector<std::string>;

const std::string kFailed = "2 libapp/utils/src/CPhgLog dumpData: Fusion Write Failed.\n";
const std::string kClosed = "2 libapp/utils/src/CPhgLog closeDump: close fusion log file\n";

DumpRecord imu(const std::string& payload)
{
    return {kPhgImu, payload};
}

class PhgLog : public testing::Test {
protected:
    PhgLog()
    {
        CPhgLog::m_logName = "dump";
        log->registerThread(worker);
    }

    int dump(const std::string& payload, int type = kPhgImu)
    {
        return log->dumpData(reinterpret_cast<const unsigned char*>(payload.data()), static_cast<int>(payload.size()),
                             type);
    }
    void open(const std::string& name) { log->openDump(folder.path(), name); }
    std::string opened(const std::string& name)
    {
        return "2 libapp/utils/src/CPhgLog openDump: open fusion log file: " + folder.file(name) + "\n";
    }
    /// The worker has taken everything: a queue with a capacity has room again.
    void wait_until_taken()
    {
        while (worker->taskQueue().size() != 0) std::this_thread::yield();
    }
    /// Everything queued is done; messages since the last call.
    strings_t messages()
    {
        wait_for(*worker);
        return messages_log.take();
    }
    std::vector<DumpRecord> records(const std::string& name, std::size_t torn = 0)
    {
        wait_for(*worker);
        std::string rest;
        const auto found = dump_records(contents_of(folder.file(name)), &rest);
        EXPECT_EQ(torn, rest.size());
        return found;
    }

    CapturedLog messages_log{"dump"};
    TemporaryFolder folder;
    std::shared_ptr<aht::thread_task> worker = std::make_shared<aht::thread_task>("dump");
    std::optional<CPhgLog> log{std::in_place};
};

}   // namespace

TEST_F(PhgLog, RecordsInCallOrderInOneFileAtATime)
{
    log->setDumpFlag(false);
    open("refused");
    log->setDumpFlag(true);
    open("missing/a");   // cannot be opened
    EXPECT_EQ(0, dump("lost"));
    open("a");
    open("b");   // the first one stays
    EXPECT_EQ(0, dump("123456789", kPhgGnss));
    EXPECT_EQ(0, dump(std::string("\0\xFF", 2), 0x101));   // the low byte counts
    EXPECT_EQ(0, dump(std::string(100000, 'x'), kPhgFrameData));
    const unsigned char byte = 1;
    EXPECT_EQ(-1, log->dumpData(&byte, 0, kPhgImu));
    EXPECT_EQ(-1, log->dumpData(&byte, 1, 0));
    EXPECT_EQ(-1, log->dumpData(nullptr, 1, kPhgImu));
    log->setDumpFlag(false);
    EXPECT_EQ(-1, dump("refused"));
    log->closeDump();
    log->setDumpFlag(true);
    dump("lost");
    open("/b");   // the slash is always inserted
    dump("into b");
    log->closeDump();
    log->closeDump();
    EXPECT_EQ((strings_t{opened("missing/a"), opened("a"), kClosed, opened("/b"), kClosed}), messages());
    EXPECT_EQ(std::string("\xD4\xD2\xD3\x15\0\0\0\0\x09\0\0\0\x88\x2D\xFD\x2D"
                          "123456789",
                          25),
              contents_of(folder.file("a")).substr(0, 25));
    EXPECT_THAT(records("a"), ElementsAre(DumpRecord{21, "123456789"}, DumpRecord{1, std::string("\0\xFF", 2)},
                                          DumpRecord{49, std::string(100000, 'x')}));
    EXPECT_THAT(records("b"), ElementsAre(imu("into b")));
}

// A worker that is not there, has gone or is stopping: before anything, with a file open, with records waiting.
TEST_F(PhgLog, WithoutAWorkerNothingHappens)
{
    const std::pair<std::function<void()>, int> losses[] = {
        // and the result of dumpData afterwards
        {[&] { log->unregisterThread(); }, -1},
        {[&] { worker.reset(); }, -1},
        {[&] { worker->stop(); }, 0},
        {[&] { worker->stop(aht::thread_task::waiting_tasks::drop); }, 0},
    };
    for (int k = 0; k < 12; ++k) {
        worker = std::make_shared<aht::thread_task>("dump");
        log.emplace();
        log->registerThread(worker);
        if (k % 3 > 0) open("a");
        if (k % 3 > 1) dump("before");
        losses[k / 3].first();
        EXPECT_EQ(losses[k / 3].second, dump("after"));
        open("b");
        log->closeDump();
        log.reset();
        worker.reset();
        EXPECT_FALSE(std::filesystem::exists(folder.file("b")));
        for (const DumpRecord& record : dump_records(contents_of(folder.file("a")))) EXPECT_EQ(imu("before"), record);
    }
}

TEST_F(PhgLog, TasksOutliveTheirLogAndItsFileIsClosed)
{
    {
        Gate gate(*worker);
        open("a");
        dump("one");
        dump("two");
        log.reset();
    }
    EXPECT_THAT(records("a"), ElementsAre(imu("one"), imu("two")));
    EXPECT_THAT(messages(), ElementsAre(opened("a"), kClosed));
    log.emplace();
    log->registerThread(worker);
    open("a");
    dump("kept");
    wait_for(*worker);
    log->unregisterThread();
    log.reset();   // never closed
    EXPECT_THAT(records("a"), ElementsAre(imu("kept")));
}

TEST_F(PhgLog, EightThreadsLoseNothingAndKeepTheirOrder)
{
    constexpr int kThreads = 8, kEach = 2000;
    open("a");
    std::vector<std::thread> threads;
    for (int t = 1; t <= kThreads; ++t) {
        threads.emplace_back([&, t] {
            for (int k = 0; k < kEach; ++k) EXPECT_EQ(0, dump(std::to_string(k), t));
        });
    }
    for (std::thread& thread : threads) thread.join();
    log->closeDump();
    int next[kThreads + 1] = {};
    for (const DumpRecord& record : records("a")) ASSERT_EQ(std::to_string(next[record.type]++), record.payload);
    for (int t = 1; t <= kThreads; ++t) EXPECT_EQ(kEach, next[t]);
}

TEST_F(PhgLog, FullQueueKeepsTheNewestOpensAndClosesIncluded)
{
    CapturedLog overflows("");
    worker = std::make_shared<aht::thread_task>("small", 3);
    log->registerThread(worker);
    open("a");
    wait_for(*worker);
    {
        Gate gate(*worker);
        for (int k = 0; k < 10; ++k) EXPECT_EQ(0, dump(std::to_string(k)));
    }
    EXPECT_THAT(overflows.take(), testing::SizeIs(7));
    wait_until_taken();
    log->closeDump();
    EXPECT_THAT(records("a"), ElementsAre(imu("7"), imu("8"), imu("9")));
    {
        Gate gate(*worker);
        open("lost");
        for (int k = 0; k < 3; ++k) dump("lost too");
    }
    wait_until_taken();
    EXPECT_EQ(strings_t{"4 rtkcommon/thread_safe_queue push: queue<small> full, pop one"}, overflows.take());
    EXPECT_THAT(messages(), ElementsAre(opened("a"), kClosed));
}

// Every write of three records fails in turn: whole records before it, nothing behind it, and the next file works.
TEST_F(PhgLog, FailedWriteIsReportedAndEndsTheFile)
{
    for (int write = 0; write < 6; ++write) {
        {
            Gate gate(*worker);
            open("torn");
            for (int k = 0; k < 3; ++k) dump(std::to_string(k));
            g_writes_left = write;
        }
        log->closeDump();
        strings_t expected = {opened("torn"), kFailed};
        if (write % 2 == 0) expected.push_back(kFailed);   // the payload is tried behind a failed header
        EXPECT_EQ(expected, messages());
        EXPECT_EQ(static_cast<std::size_t>(write / 2), records("torn", write % 2 == 0 ? 0 : 16).size());
        open("torn");
        dump("again");
        log->closeDump();
        EXPECT_THAT(messages(), ElementsAre(opened("torn"), kClosed));
        EXPECT_THAT(records("torn"), ElementsAre(imu("again")));
    }
    std::filesystem::create_symlink("/dev/full", folder.file("full"));
    for (const int count : {1, 100}) {   // told at the close at the latest
        open("full");
        for (int k = 0; k < count; ++k) dump(std::string(500, 'x'));
        log->closeDump();
        EXPECT_THAT(messages(), testing::Contains(kFailed)) << count;
    }
}

TEST_F(PhgLog, NoMemoryIsARefusal)
{
    const std::string payload(1000, 'x');
    const std::string long_name(100, 'n');
    int refused = 0;
    const int steps = fail_allocations([&] { refused += dump(payload) == -1; });
    EXPECT_GE(steps, 1);
    EXPECT_EQ(steps, refused);
    EXPECT_GE(fail_allocations([&] { open(long_name); }), 3);
    CPhgLog::m_logName = long_name;
    EXPECT_GE(fail_allocations([&] { log->closeDump(); }), 1);
}

// Producers, a host that opens, closes and switches its own log, and logs with workers that come and go.
TEST_F(PhgLog, SurvivesRandomSchedules)
{
    std::atomic<bool> done{false};
    std::vector<std::thread> producers;
    for (int t = 0; t < 4; ++t)
        producers.emplace_back([&] {
            while (!done) dump("record"), std::this_thread::yield();
        });
    std::mt19937 random(1);
    for (int k = 0; k < 500; ++k) {
        auto other_worker = std::make_shared<aht::thread_task>("short-lived", 8);
        std::optional<CPhgLog> other(std::in_place);
        other->registerThread(random() % 2 == 0 ? other_worker : worker);
        other->openDump(folder.path(), "b");
        if (random() % 2 == 0) open("a");
        if (random() % 2 == 0) log->closeDump();
        log->setDumpFlag(random() % 4 != 0);
        if (random() % 2 == 0) other_worker.reset();
    }
    done = true;
    for (std::thread& producer : producers) producer.join();
    log->closeDump();
    records("a");   // nothing torn
}
