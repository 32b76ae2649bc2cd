#pragma once

#include <korvexlog/logger_helper.h>
#include <pthread.h>

#include <list>
#include <string>

namespace aht {

template <class T>
class thread_safe_queue {
public:
    int limit = 0;
    const char* name = "";

    void push(T&& item)
    {
        std::list<T> last;
        last.push_back(std::move(item));
        pthread_mutex_lock(&mutex);
        if (limit > 0 && static_cast<int>(items.size()) >= limit) {
            items.pop_front();
            logger_helper::log("", {"rtkcommon/thread_safe_queue", __LINE__, "push"}, 4, "queue<%s> full, pop one",
                               name);
        }
        items.splice(items.end(), last);
        pthread_cond_signal(&filled);
        pthread_mutex_unlock(&mutex);
    }

    std::list<T> pop()   // one item, when there is one
    {
        std::list<T> first;
        pthread_mutex_lock(&mutex);
        while (items.empty()) pthread_cond_wait(&filled, &mutex);
        first.splice(first.end(), items, items.begin());
        pthread_mutex_unlock(&mutex);
        return first;
    }

private:
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    pthread_cond_t filled = PTHREAD_COND_INITIALIZER;
    std::list<T> items;
};

}   // namespace aht
