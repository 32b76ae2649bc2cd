/// @file gate.h  Holds a worker until the test lets it go.
#ifndef GATE_H
#define GATE_H

#include <rtkcommon/thread_task.h>

#include <future>

/// Queues a task that stops the worker; returns when it has got there.
class Gate {
public:
    explicit Gate(aht::thread_task& worker)
    {
        worker.taskQueue().push(aht::task_type(aht::function_wrapper([this] {
            m_reached.set_value();
            m_open.get_future().wait();
            m_passed.set_value();
        })));
        m_reached.get_future().wait();
    }
    ~Gate() { open(); }
    void open()
    {
        if (m_opened) return;
        m_opened = true;
        m_open.set_value();
        m_passed.get_future().wait();
    }

private:
    std::promise<void> m_reached, m_open, m_passed;
    bool m_opened = false;
};

/// Returns when everything queued so far has run.
inline void wait_for(aht::thread_task& worker)
{
    std::promise<void> done;
    worker.taskQueue().push(aht::task_type(aht::function_wrapper([&done] { done.set_value(); })));
    done.get_future().wait();
}

#endif
