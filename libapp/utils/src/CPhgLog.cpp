#include "CPhgLog.h"

#include <rtkcommon/thread_task.h>

#include <cstdio>
#include <cstring>
#include <mutex>
#include <utility>

#include "library_log.h"
#include "phg_records.h"
#include "rtk_gnss.h"
#include "unique_buffer.h"

std::string CPhgLog::m_logName;

namespace {

constexpr char kSource[] = "libapp/utils/src/CPhgLog";

}   // namespace

// ---- on the worker ----

// The file of a log. The tasks share it with their log, so that they may outlive that. One worker at a time uses it
// unless the host replaces a worker that still has tasks to run; only then the lock is ever waited for.
class CPhgLog::dump_file {
public:
    dump_file() = default;
    dump_file(const dump_file&) = delete;
    dump_file& operator=(const dump_file&) = delete;
    ~dump_file()
    {
        if (m_file != nullptr) std::fclose(m_file);
    }

    void open(const std::string& path, std::string&& logger) noexcept
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_file != nullptr) return;
        m_logger = std::move(logger);
        m_file = std::fopen(path.c_str(), "wb");
        contained([&] {
            logger_helper::log(m_logger.c_str(), here(kSource, __LINE__, "openDump"), logger_helper::kInfo,
                               "open fusion log file: %s\n", path.c_str());
        });
    }

    void write(const unique_buffer& payload, int type) noexcept
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_file == nullptr) return;
        LogKvx_tag head;
        buildLogHead(payload.m_pData.get(), static_cast<int>(payload.m_nSize), type, &head);
        put(&head, sizeof head);
        put(payload.m_pData.get(), payload.m_nSize);   // Deliberate: tried, and reported, behind a failed header too.
    }

    void close(std::string&& logger) noexcept
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_file == nullptr) return;
        m_logger = std::move(logger);
        if (std::fflush(m_file) != 0) report_failure();
        std::fclose(std::exchange(m_file, nullptr));
        contained([&] {
            logger_helper::log(m_logger.c_str(), here(kSource, __LINE__, "closeDump"), logger_helper::kInfo,
                               "close fusion log file\n");
        });
    }

private:
    void put(const void* item, std::size_t size)
    {
        if (m_file != nullptr && std::fwrite(item, size, 1, m_file) == 1) return;
        report_failure();
        if (m_file != nullptr) std::fclose(std::exchange(m_file, nullptr));
    }

    void report_failure() const
    {
        contained([&] {
            logger_helper::log(m_logger.c_str(), here(kSource, __LINE__, "dumpData"), logger_helper::kInfo,
                               "Fusion Write Failed.\n");
        });
    }

    std::mutex m_mutex;
    std::FILE* m_file = nullptr;
    std::string m_logger;   // as it was when the operation was queued: the host may set another name meanwhile
};

namespace {

// ---- on the caller's thread ----

// Hands an operation to the worker unless it is stopping. Nobody waits for an operation and none of them throws, so
// that a packaged task around it would only cost: two more allocations a record, half as much again as all the rest.
template <class Operation>
void enqueue(aht::thread_task& worker, Operation operation)
{
    if (worker.isStopThread()) return;
    worker.taskQueue().push(aht::task_type(aht::function_wrapper(std::move(operation))));
}

}   // namespace

CPhgLog::CPhgLog() noexcept
{
    try {
        m_pFile = std::make_shared<dump_file>();
    } catch (...) {   // no memory: this log refuses everything
    }
}

CPhgLog::~CPhgLog()
{
    closeDump();
}

void CPhgLog::registerThread(const std::shared_ptr<aht::thread_task>& thread) noexcept
{
    m_pThread = thread;
}

void CPhgLog::unregisterThread() noexcept
{
    m_pThread.reset();
}

void CPhgLog::setDumpFlag(bool on) noexcept
{
    m_bDumpFlag = on;
}

void CPhgLog::openDump(const std::string& dir, const std::string& name) noexcept
try {
    const auto worker = m_pThread.lock();
    if (!m_bDumpFlag || worker == nullptr || m_pFile == nullptr) return;
    enqueue(*worker, [file = m_pFile, path = dir + "/" + name, logger = m_logName]() mutable noexcept {
        file->open(path, std::move(logger));
    });
} catch (...) {   // no memory to queue it
}

void CPhgLog::closeDump() noexcept
try {
    const auto worker = m_pThread.lock();
    if (worker == nullptr || m_pFile == nullptr) return;
    enqueue(*worker, [file = m_pFile, logger = m_logName]() mutable noexcept { file->close(std::move(logger)); });
} catch (...) {   // no memory to queue it
}

int CPhgLog::dumpData(const unsigned char* data, int len, int type) noexcept
try {
    if (len < 1 || type == 0 || data == nullptr || !m_bDumpFlag) return -1;
    const auto worker = m_pThread.lock();
    if (worker == nullptr || m_pFile == nullptr) return -1;
    enqueue(*worker, [file = m_pFile, payload = unique_buffer(data, static_cast<std::uint32_t>(len)), type]() noexcept {
        file->write(payload, type);
    });
    return 0;
} catch (...) {   // no memory for the copy
    return -1;
}

// ---- records ----

unsigned int CPhgLog::Crc32(const unsigned char* data, int len) noexcept
{
    return crc32(data, len);
}

void CPhgLog::buildLogHead(const unsigned char* data, int len, int type, LogKvx_tag* head) noexcept
{
    *head = {{phg::kDumpSync[0], phg::kDumpSync[1], phg::kDumpSync[2]},
             static_cast<std::uint8_t>(type & 0xFF),
             0,
             static_cast<std::uint32_t>(len),
             Crc32(data, len)};
}
