#pragma once

#include <condition_variable>
#include <future>
#include <list>
#include <mutex>
#include <thread>

namespace aht {

using function_wrapper = std::packaged_task<void()>;
using task_type = function_wrapper;   // a task is its wrapper here

struct task_queue {
    void push(task_type&& item);
    std::list<task_type> pop();   // one item, when there is one

    std::mutex mutex;
    std::condition_variable filled;
    std::list<task_type> items;
};

class thread_task {
public:
    thread_task();
    virtual ~thread_task();
    bool isStopThread();
    task_queue& taskQueue() { return queue; }

private:
    task_queue queue;
    bool ended = false;
    int stopping = 0;
    std::thread thread;
};

}   // namespace aht
