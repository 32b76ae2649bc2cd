// Records samples as a host feeds them to the vision library: the caller copies and queues, a worker writes.
//   example_dump_log /data fusion.kvx
#include <CPhgLog.h>
#include <rtkcommon/thread_task.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

// Length of a file (bytes), -1: there is none.
static long length_of(const std::string& path)
{
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr) return -1;
    std::fseek(file, 0, SEEK_END);
    const long length = std::ftell(file);
    std::fclose(file);
    return length;
}

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: example_dump_log FOLDER NAME\n");
        return 2;
    }
    CPhgLog::m_logName = "DUMP";   // before anything is queued

    auto worker = std::make_shared<aht::thread_task>("dump", 10000);   // at most so many operations wait
    CPhgLog log;
    log.registerThread(worker);
    log.openDump(argv[1], argv[2]);

    long queued = 0;   // bytes
    for (std::uint32_t number = 0; number < 200; ++number) {
        unsigned char sample[52] = {};   // an ImuRawData_tag
        std::memcpy(sample, &number, sizeof number);
        if (log.dumpData(sample, sizeof sample, kPhgImu) == 0) queued += sizeof(LogKvx_tag) + sizeof sample;
    }

    log.closeDump();
    worker.reset();   // runs what waits, the close last, and ends the thread

    // Results tell what was queued. What was written shows in the file.
    const long written = length_of(std::string(argv[1]) + "/" + argv[2]);
    std::printf("%ld bytes queued, %ld in the file\n", queued, written);
    return written == queued ? 0 : 1;
}
