/// @file thread_safe_queue.h  Bounded queue between threads that gives up its oldest item when full.
#ifndef RTKCOMMON_THREAD_SAFE_QUEUE_H
#define RTKCOMMON_THREAD_SAFE_QUEUE_H

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "korvexlog/logger_helper.h"

namespace aht {

/// First in, first out. Any thread may push and pop; the queue must outlive the calls.
template <class T>
class thread_safe_queue {
public:
    /// @param capacity  most items held at once; 0 or less: unbounded
    /// @param name      named in the line that tells of an overflow
    explicit thread_safe_queue(int capacity = 0, std::string name = {}) : m_capacity(capacity), m_name(std::move(name))
    {}

    thread_safe_queue(const thread_safe_queue&) = delete;
    thread_safe_queue& operator=(const thread_safe_queue&) = delete;

    /// Appends an item. A full queue destroys its oldest item for it and says so in the log.
    void push(T item)
    {
        std::optional<T> oldest;
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            if (m_capacity > 0 && m_items.size() >= static_cast<std::size_t>(m_capacity)) {
                oldest.emplace(std::move(m_items.front()));
                m_items.pop_front();
            }
            m_items.push_back(std::move(item));
        }
        m_filled.notify_one();   // behind the lock, or the consumer would wake only to wait for it
        if (oldest) {
            logger_helper::log("", {"rtkcommon/thread_safe_queue", __LINE__, __func__}, logger_helper::kError,
                               "queue<%s> full, pop one", m_name.c_str());
        }
    }

    /// Takes the oldest item, and waits for one.
    ///
    /// @return false when the queue is closed and empty
    bool wait_and_pop(T& item)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_filled.wait(lock, [this] { return m_closed || !m_items.empty(); });
        return pop_front(item);
    }

    /// Takes the oldest item if there is one.
    bool try_pop(T& item)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return pop_front(item);
    }

    /// Lets the waiting consumers go once the queue is empty.
    void close()
    {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_closed = true;
        }
        m_filled.notify_all();
    }

    /// Destroys all items.
    void clear()
    {
        std::deque<T> items;
        const std::lock_guard<std::mutex> lock(m_mutex);
        items.swap(m_items);
    }

    std::size_t size() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_items.size();
    }

private:
    bool pop_front(T& item)
    {
        if (m_items.empty()) return false;
        item = std::move(m_items.front());
        m_items.pop_front();
        return true;
    }

    const int m_capacity;
    const std::string m_name;
    mutable std::mutex m_mutex;
    std::condition_variable m_filled;
    std::deque<T> m_items;
    bool m_closed = false;
};

}   // namespace aht

#endif
