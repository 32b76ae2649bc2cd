/// @file thread_task.h  Worker thread with a queue of tasks.
#ifndef RTKCOMMON_THREAD_TASK_H
#define RTKCOMMON_THREAD_TASK_H

#include <atomic>
#include <mutex>
#include <string>
#include <thread>

#include "rtkcommon/task_type.h"
#include "rtkcommon/thread_safe_queue.h"

namespace aht {

/// Runs each queued task once, in queue order, on a thread of its own.
class thread_task {
public:
    /// What becomes of the tasks that wait when the worker is stopped.
    enum class waiting_tasks { run, drop };

    /// Starts the thread.
    ///
    /// @param name      name of the queue, for its log lines
    /// @param capacity  most tasks waiting at once, the oldest give way; 0 or less: unbounded
    explicit thread_task(std::string name, int capacity = 0);

    /// Runs the waiting tasks and ends the thread. Not to be called from a task.
    ~thread_task();

    thread_task(const thread_task&) = delete;
    thread_task& operator=(const thread_task&) = delete;

    /// Ends the thread; returns when it has ended, at once when called from a task.
    void stop(waiting_tasks waiting = waiting_tasks::run);

    /// True from the moment the worker was told to stop: tasks queued from now on may never run.
    bool isStopThread() const noexcept { return m_stopping; }

    /// Where tasks are queued. Tasks that have not run when the worker is destroyed are destroyed with it.
    thread_safe_queue<task_type>& taskQueue() noexcept { return m_queue; }

private:
    void run();

    thread_safe_queue<task_type> m_queue;
    std::atomic<bool> m_stopping{false};
    std::mutex m_join;
    std::thread m_thread;
    const std::thread::id m_id;
};

}   // namespace aht

#endif
