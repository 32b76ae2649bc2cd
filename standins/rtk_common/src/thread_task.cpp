#include "rtkcommon/thread_task.h"

namespace aht {

thread_task::thread_task(std::string name, int capacity)
    : m_queue(capacity, std::move(name)), m_thread([this] { run(); }), m_id(m_thread.get_id())
{}

thread_task::~thread_task()
{
    stop(waiting_tasks::run);
}

void thread_task::stop(waiting_tasks waiting)
{
    m_stopping = true;
    if (waiting == waiting_tasks::drop) m_queue.clear();
    m_queue.close();
    if (std::this_thread::get_id() == m_id) return;
    const std::lock_guard<std::mutex> lock(m_join);
    if (m_thread.joinable()) m_thread.join();
}

void thread_task::run()
{
    task_type task;
    while (m_queue.wait_and_pop(task)) {
        try {
            task.m_function();
        } catch (...) {   // the tasks behind it have a right to run
            logger_helper::log("", {"rtkcommon/thread_task", __LINE__, __func__}, logger_helper::kError, "task failed");
        }
        task = {};   // what it held is let go now, not when the next task comes
    }
}

}   // namespace aht
