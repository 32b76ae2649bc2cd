/// @file gate.h  Tasks for a worker, and one that holds it until the test lets it go.
#ifndef GATE_H
#define GATE_H

#include <rtkcommon/thread_task.h>

#include <future>

template <class Work>
aht::task_type task(Work work)
{
    return aht::task_type(aht::function_wrapper(std::move(work)));
}

/// Queues a task that stops the worker; returns when it has got there. Ends when the worker has gone on.
class Gate {
public:
    explicit Gate(aht::thread_task& worker)
    {
        worker.taskQueue().push(task([this] {
            m_reached.set_value();
            m_open.get_future().wait();
            m_passed.set_value();
        }));
        m_reached.get_future().wait();
    }
    ~Gate()
    {
        m_open.set_value();
        m_passed.get_future().wait();
    }

private:
    std::promise<void> m_reached, m_open, m_passed;
};

/// Returns when everything queued so far has run.
inline void wait_for(aht::thread_task& worker)
{
    std::promise<void> done;
    worker.taskQueue().push(task([&done] { done.set_value(); }));
    done.get_future().wait();
}

#endif
