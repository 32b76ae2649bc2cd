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

void task_queue::push(task_type&& item)
{
    const std::lock_guard lock(mutex);
    items.push_back(std::move(item));
    filled.notify_one();
}

std::list<task_type> task_queue::pop()
{
    std::unique_lock lock(mutex);
    filled.wait(lock, [this] { return !items.empty(); });
    std::list<task_type> first;
    first.splice(first.end(), items, items.begin());
    return first;
}

thread_task::thread_task()
    : thread([this] {
          while (!ended) queue.pop().front()();
      })
{}

thread_task::~thread_task()
{
    __atomic_store_n(&stopping, 1, __ATOMIC_SEQ_CST);
    queue.push(task_type([this] { ended = true; }));
    thread.join();
}

bool thread_task::isStopThread()
{
    return __atomic_load_n(&stopping, __ATOMIC_SEQ_CST) != 0;
}

}   // namespace aht
