// Dump log: what a record of 128 bytes costs its caller, against spdlog's asynchronous logger that gives up its oldest
// message, and how many records a second reach the file, against the plain form with a bitwise checksum.
#include <CPhgLog.h>
#include <benchmark/benchmark.h>
#include <rtkcommon/thread_task.h>
#include <spdlog/async.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <deque>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "support/plain_message_parser.h"

namespace {

constexpr int kPayload = 128;
constexpr int kRecords = 200000;   // in one round, from all producers together
constexpr int kUnbounded = 0;
constexpr int kQueue = 8192;
const std::string kFolder = "/dev/shm";   // a file there costs the least

const unsigned char* payload()
{
    static const std::vector<unsigned char> bytes(kPayload, 0x5A);
    return bytes.data();
}

/// The dump log as the library has it.
class Library {
public:
    explicit Library(int capacity) : m_worker(std::make_shared<aht::thread_task>("dump", capacity))
    {
        spdlog::set_level(spdlog::level::off);   // overflows are what is measured, not their log lines
        m_log.registerThread(m_worker);
        m_log.openDump(kFolder, "dump_bench.kvx");
    }
    ~Library() { drain(); }
    void put() { m_log.dumpData(payload(), kPayload, kPhgGnss); }
    void drain()
    {
        std::promise<void> done;
        m_worker->taskQueue().push(aht::task_type(aht::function_wrapper([&done] { done.set_value(); })));
        done.get_future().wait();
    }

private:
    std::shared_ptr<aht::thread_task> m_worker;
    CPhgLog m_log;
};

/// The same in its plainest form: every step an allocation, std::function around a shared packaged task, bitwise
/// checksum, woken under the lock.
class Plain {
public:
    explicit Plain(int capacity) : m_capacity(static_cast<std::size_t>(capacity)), m_thread([this] { run(); }) {}
    ~Plain()
    {
        push([this] { m_stop = true; });
        m_thread.join();
        std::fclose(m_file);
    }
    void put()
    {
        auto bytes = std::make_shared<std::vector<unsigned char>>(kPayload + 1);
        std::memcpy(bytes->data(), payload(), kPayload);
        push([this, bytes] {
            LogKvx_tag head = {{0xD4, 0xD2, 0xD3}, kPhgGnss, 0, kPayload, bitwise_crc32(bytes->data(), kPayload)};
            std::fwrite(&head, sizeof head, 1, m_file);
            std::fwrite(bytes->data(), kPayload, 1, m_file);
        });
    }
    void drain()
    {
        std::promise<void> done;
        push([&done] { done.set_value(); });
        done.get_future().wait();
    }

private:
    template <class Work>
    void push(Work work)
    {
        auto task = std::make_shared<std::packaged_task<void()>>(std::move(work));
        task->get_future();
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_capacity > 0 && m_tasks.size() >= m_capacity) m_tasks.pop_front();
        m_tasks.push_back([task] { (*task)(); });
        m_filled.notify_one();
    }
    void run()
    {
        while (!m_stop) {
            std::unique_lock<std::mutex> lock(m_mutex);
            m_filled.wait(lock, [this] { return !m_tasks.empty(); });
            const auto task = std::move(m_tasks.front());
            m_tasks.pop_front();
            lock.unlock();
            task();
        }
    }

    const std::size_t m_capacity;
    std::FILE* m_file = std::fopen((kFolder + "/dump_bench.kvx").c_str(), "wb");
    std::mutex m_mutex;
    std::condition_variable m_filled;
    std::deque<std::function<void()>> m_tasks;
    bool m_stop = false;
    std::thread m_thread;
};

/// spdlog's asynchronous logger into a file, the payload as its message.
class Spdlog {
public:
    explicit Spdlog(int capacity)
        : m_pool(std::make_shared<spdlog::details::thread_pool>(static_cast<std::size_t>(capacity), 1)),
          m_logger(std::make_shared<spdlog::async_logger>(
              "bench", std::make_shared<spdlog::sinks::basic_file_sink_mt>(kFolder + "/dump_bench.log", true), m_pool,
              spdlog::async_overflow_policy::overrun_oldest))
    {
        m_logger->set_pattern("%v");
    }
    void put() { m_logger->info(spdlog::string_view_t(reinterpret_cast<const char*>(payload()), kPayload)); }

private:
    std::shared_ptr<spdlog::details::thread_pool> m_pool;
    std::shared_ptr<spdlog::async_logger> m_logger;
};

double seconds_since(std::chrono::steady_clock::time_point begin)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

// Time inside the calls, as many producers as the argument says; what the worker still has to do is not counted. With
// 8192 places both the library and spdlog give up their oldest; the library also logs each of them.
template <class Log, int Capacity>
void BM_Enqueue(benchmark::State& state)
{
    const int producers = static_cast<int>(state.range(0));
    for (auto _ : state) {
        Log log(Capacity);
        std::vector<double> seconds(static_cast<std::size_t>(producers));
        std::vector<std::thread> threads;
        for (double& mine : seconds) {
            threads.emplace_back([&] {
                const auto begin = std::chrono::steady_clock::now();
                for (int k = 0; k < kRecords / producers; ++k) log.put();
                mine = seconds_since(begin);
            });
        }
        double sum = 0;
        for (std::thread& thread : threads) thread.join();
        for (const double mine : seconds) sum += mine;
        state.SetIterationTime(sum);
    }
    state.SetItemsProcessed(state.iterations() * kRecords);   // calls
}

// Records until all of them are in the file; nothing is given up.
template <class Log>
void BM_Drain(benchmark::State& state)
{
    for (auto _ : state) {
        Log log(kUnbounded);
        const auto begin = std::chrono::steady_clock::now();
        for (int k = 0; k < kRecords; ++k) log.put();
        log.drain();
        state.SetIterationTime(seconds_since(begin));
    }
    state.SetItemsProcessed(state.iterations() * kRecords);
}

}   // namespace

BENCHMARK(BM_Enqueue<Plain, kUnbounded>)->Name("dump_enqueue/plain")->Arg(1)->Arg(2)->UseManualTime();
BENCHMARK(BM_Enqueue<Spdlog, kQueue>)->Name("dump_enqueue/spdlog")->Arg(1)->Arg(2)->UseManualTime();
BENCHMARK(BM_Enqueue<Library, kUnbounded>)->Name("dump_enqueue/library_unbounded")->Arg(1)->Arg(2)->UseManualTime();
BENCHMARK(BM_Enqueue<Library, kQueue>)->Name("dump_enqueue/library")->Arg(1)->Arg(2)->UseManualTime();
BENCHMARK(BM_Drain<Plain>)->Name("dump_drain/plain")->UseManualTime();
BENCHMARK(BM_Drain<Library>)->Name("dump_drain/library")->UseManualTime();
