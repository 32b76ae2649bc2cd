// The stand-in's worker, as the dump log relies on it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes/captured_log.h"
#include "support/gate.h"

TEST(ThreadSafeQueue, FullQueueGivesUpItsOldestAndAClosedOneIsEmptiedFirst)
{
    CapturedLog log("");
    for (const auto& [capacity, kept] : {std::pair{0, 5}, {-1, 5}, {1, 1}, {4, 4}, {5, 5}}) {
        aht::thread_safe_queue<int> queue(capacity, "dump");
        for (int k = 0; k < 5; ++k) queue.push(k);
        queue.close();
        int item = 0, popped = 0;
        for (; queue.wait_and_pop(item); ++popped) EXPECT_EQ(5 - kept + popped, item);
        EXPECT_EQ(kept, popped);
        EXPECT_THAT(log.take(), testing::SizeIs(5 - kept));
    }
}

TEST(ThreadTask, StopRunsOrDropsWhatWaits)
{
    using waiting_tasks = aht::thread_task::waiting_tasks;
    for (const waiting_tasks waiting : {waiting_tasks::run, waiting_tasks::drop}) {
        std::vector<int> run;
        aht::thread_task worker("tasks");
        std::future<void> stopped;
        {
            Gate gate(worker);
            for (int k = 0; k < 3; ++k) worker.taskQueue().push(task([&run, k] { run.push_back(k); }));
            stopped = std::async(std::launch::async, [&] { worker.stop(waiting); });
            while (!worker.isStopThread()) std::this_thread::yield();
            while (waiting == waiting_tasks::drop && worker.taskQueue().size() != 0) std::this_thread::yield();
        }
        stopped.wait();
        worker.taskQueue().push(task([&run] { run.push_back(9); }));   // too late: never run
        worker.stop();
        EXPECT_EQ(waiting == waiting_tasks::run ? std::vector<int>({0, 1, 2}) : std::vector<int>(), run);
    }
}

TEST(ThreadTask, TaskMayStopItsWorkerAndMayThrow)
{
    CapturedLog log("");
    {
        aht::thread_task worker("tasks");
        worker.taskQueue().push(task([] { throw 1; }));
        worker.taskQueue().push(task([&] { worker.stop(); }));
    }
    EXPECT_THAT(log.take(), testing::ElementsAre("4 rtkcommon/thread_task run: task failed"));
}
