#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rtkcommon/thread_task.h>

#include <memory>
#include <numeric>

#include "fakes/captured_log.h"
#include "support/gate.h"

using testing::ElementsAre;

namespace {

aht::task_type task(std::function<void()> work)
{
    return aht::task_type(aht::function_wrapper(std::move(work)));
}

std::vector<int> drained(aht::thread_safe_queue<int>& queue)
{
    std::vector<int> items;
    for (int item; queue.try_pop(item);) items.push_back(item);
    return items;
}

}   // namespace

TEST(ThreadSafeQueue, FullQueueGivesUpItsOldest)
{
    struct Case {
        int capacity;
        std::size_t kept;
    };
    for (const Case& c : {Case{0, 10}, Case{-1, 10}, Case{1, 1}, Case{3, 3}, Case{9, 9}, Case{10, 10}, Case{11, 10}}) {
        SCOPED_TRACE(c.capacity);
        CapturedLog log("");
        aht::thread_safe_queue<int> queue(c.capacity, "dump");
        for (int k = 0; k < 10; ++k) queue.push(k);
        std::vector<int> newest(c.kept);
        std::iota(newest.begin(), newest.end(), 10 - static_cast<int>(c.kept));
        EXPECT_EQ(newest, drained(queue));
        const std::string line = "4 rtkcommon/thread_safe_queue push: queue<dump> full, pop one";
        EXPECT_EQ(std::vector<std::string>(10 - c.kept, line), log.take());
    }
}

TEST(ThreadSafeQueue, ClosedQueueIsEmptiedFirst)
{
    aht::thread_safe_queue<int> queue;
    queue.push(1);
    queue.close();
    int item = 0;
    EXPECT_TRUE(queue.wait_and_pop(item));
    EXPECT_FALSE(queue.wait_and_pop(item));
}

// Callables of two and of nine pointers, kept in place and on the heap.
TEST(FunctionWrapper, MovesCallsAndDestroysOnce)
{
    struct Large {
        std::shared_ptr<int> count;
        void* room[7];
        void operator()() { ++*count; }
    };
    auto count = std::make_shared<int>(0);
    const auto expect_once = [&](aht::function_wrapper first, int calls) {
        aht::function_wrapper second(std::move(first));
        EXPECT_FALSE(first);
        first = std::move(second);
        first();
        EXPECT_EQ(calls, *count);
        EXPECT_EQ(2, count.use_count());
        first = aht::function_wrapper();
        EXPECT_EQ(1, count.use_count());
    };
    expect_once(aht::function_wrapper([count] { ++*count; }), 1);
    expect_once(aht::function_wrapper(Large{count, {}}), 2);
}

TEST(ThreadTask, RunsEveryTaskOnceInOrder)
{
    std::vector<int> run;
    {
        aht::thread_task worker("tasks");
        for (int k = 0; k < 5; ++k) worker.taskQueue().push(task([&run, k] { run.push_back(k); }));
        EXPECT_FALSE(worker.isStopThread());
    }
    EXPECT_THAT(run, ElementsAre(0, 1, 2, 3, 4));
}

TEST(ThreadTask, StopRunsOrDropsWhatWaits)
{
    using waiting_tasks = aht::thread_task::waiting_tasks;
    for (const auto& [waiting, expected] : {std::pair{waiting_tasks::run, 3}, {waiting_tasks::drop, 0}}) {
        int run = 0;
        aht::thread_task worker("tasks");
        std::promise<void> reached, stopping;
        worker.taskQueue().push(task([&] {
            reached.set_value();
            while (!worker.isStopThread()) std::this_thread::yield();
            stopping.get_future().wait();
        }));
        reached.get_future().wait();
        for (int k = 0; k < 3; ++k) worker.taskQueue().push(task([&run] { ++run; }));
        auto stopped = std::async(std::launch::async, [&, how = waiting] { worker.stop(how); });
        while (!worker.isStopThread()) std::this_thread::yield();
        if (waiting == waiting_tasks::drop) {
            while (worker.taskQueue().size() != 0) std::this_thread::yield();
        }
        stopping.set_value();
        stopped.wait();
        EXPECT_EQ(expected, run);
        worker.taskQueue().push(task([&run] { ++run; }));   // too late: never run
        worker.stop();
        EXPECT_EQ(expected, run);
    }
}

TEST(ThreadTask, TaskMayStopItsWorkerAndMayThrow)
{
    CapturedLog log("");
    int run = 0;
    {
        aht::thread_task worker("tasks");
        worker.taskQueue().push(task([] { throw 1; }));
        worker.taskQueue().push(task([&] { worker.stop(), ++run; }));
        worker.taskQueue().push(task([&] { ++run; }));
    }
    EXPECT_GE(run, 1);
    EXPECT_THAT(log.take(), ElementsAre("4 rtkcommon/thread_task run: task failed"));
}
