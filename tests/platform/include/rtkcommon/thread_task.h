#pragma once

#include <rtkcommon/task_type.h>
#include <rtkcommon/thread_safe_queue.h>

namespace aht {

class thread_task {
public:
    thread_task();
    virtual ~thread_task();
    bool isStopThread();
    thread_safe_queue<task_type>& taskQueue();

private:
    static void* run(void* self);

    thread_safe_queue<task_type> queue;
    bool ended = false;
    int stopping = 0;
    pthread_t thread;
};

}   // namespace aht
