#include <rtkcommon/comm_func.h>
#include <rtkcommon/thread_task.h>

unsigned long CCommFunc::Crc32(const void* data, std::size_t len, unsigned long poly)
{
    unsigned long crc = 0;
    for (const auto* p = static_cast<const unsigned char*>(data); len != 0; --len, ++p) {
        crc ^= *p;
        for (int bit = 0; bit < 8; ++bit) crc = crc >> 1 ^ (poly & (0 - (crc & 1)));
    }
    return crc;
}

namespace aht {

thread_task::thread_task()
{
    queue.name = "platform";
    pthread_create(&thread, nullptr, run, this);
}

thread_task::~thread_task()
{
    __atomic_store_n(&stopping, 1, __ATOMIC_SEQ_CST);
    queue.push([this] { ended = true; });
    pthread_join(thread, nullptr);
}

bool thread_task::isStopThread()
{
    return __atomic_load_n(&stopping, __ATOMIC_SEQ_CST) != 0;
}

thread_safe_queue<task_type>& thread_task::taskQueue()
{
    return queue;
}

void* thread_task::run(void* self)
{
    for (auto* task = static_cast<thread_task*>(self); !task->ended;) task->queue.pop().front()();
    return nullptr;
}

}   // namespace aht
