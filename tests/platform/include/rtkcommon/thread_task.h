#pragma once

#include <condition_variable>
#include <future>
#include <list>
#include <mutex>
#include <thread>

namespace aht {

using function_wrapper = std::packaged_task<void()>;
using task_type = function_wrapper;   // a task is its wrapper here

template <class T>
class thread_safe_queue {
public:
    void push(T&& item);
    std::list<T> pop();   // one item, when there is one

private:
    std::mutex mutex;
    std::condition_variable filled;
    std::list<T> items;
};

class thread_task {
public:
    thread_task();
    virtual ~thread_task();
    bool isStopThread();
    thread_safe_queue<task_type>& taskQueue() { return queue; }

private:
    thread_safe_queue<task_type> queue;
    bool ended = false;
    int stopping = 0;
    std::thread thread;
};

}   // namespace aht
