/// @file CPhgLog.h  Binary dump of what the vision library is fed with.
///
/// A dump file is a sequence of records without header or trailer, each a LogKvx_tag and its payload;
/// docs/formats/dump-file.md describes it (installed: share/doc/librtk-utils-dev/formats), `kvx dump` lists, checks and
/// replays it. Hosts mostly dump through CPhgAdapter, which owns one of these logs:
///
///     auto worker = std::make_shared<aht::thread_task>("dump", 10000);   // at most so many records wait
///     CPhgLog log;
///     log.registerThread(worker);
///     log.openDump("/data", "fusion.kvx");
///     log.dumpData(bytes, size, kPhgImu);
///     log.closeDump();                                                   // all of it done on the worker
#ifndef CPHGLOG_H
#define CPHGLOG_H

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "rtk_utils_api.h"

namespace aht {
class thread_task;
}

/// Header of a dump record, little-endian; the payload follows it.
struct LogKvx_tag {
    std::uint8_t sync[3];     ///< D4 D2 D3
    std::uint8_t type;        ///< phg_record_t
    std::uint32_t reserved;   ///< 0
    std::uint32_t length;     ///< bytes of payload
    std::uint32_t crc;        ///< CPhgLog::Crc32 of the payload
};
static_assert(sizeof(LogKvx_tag) == 16, "written to files as it stands");

/// Types of dump records: what the payload is and how long. Records of other types are written all the same; a
/// header keeps the low 8 bits of a type.
enum phg_record_t : int {
    kPhgFusionData = 16,       ///< FusionData_tag, 88 + 32 x its count byte
    kPhgConfig = 17,           ///< DrCfg_tag, 88 bytes
    kPhgHardwareConfig = 18,   ///< DrHwCfg_tag, 24 bytes
    kPhgMeasureStat = 19,      ///< one byte, 0 or 1
    kPhgCalibRequest = 20,     ///< first 32 bytes of a TiltCalibReq_t
    kPhgGnss = 21,             ///< PosRaw_tag, 128 bytes
    kPhgImu = 22,              ///< ImuRawData_tag, 52 bytes
    kPhgFrameData = 49,        ///< FrameData_t, 32 + 24 x (count - 1) bytes, 32 for count 0
    kPhgReset = 50,            ///< one byte, 1
    kPhgVisualOdometer = 51,   ///< int32, the argument that enables or disables it
};

/// One dump at a time.
///
/// Writes records to one file at a time on the worker thread that the host registers; the caller only copies and
/// queues. Operations reach the file in the order in which they were queued.
///
/// dumpData, openDump, closeDump and setDumpFlag may be called from any thread at once; registerThread and
/// unregisterThread not while the others run. Nothing here throws. Tasks may outlive the log; a file that was never
/// closed is closed with the last of them.
class RTK_UTILS_API CPhgLog {
public:
    /// With the dump flag on, and without a worker: everything is refused until one is registered.
    CPhgLog() noexcept;

    /// Queues a close if the worker is still there.
    virtual ~CPhgLog();
    CPhgLog(const CPhgLog&) = delete;
    CPhgLog& operator=(const CPhgLog&) = delete;

    /// Names the worker in place of an earlier one. The log does not keep it alive: a worker that has gone takes
    /// nothing any more.
    ///
    /// @param thread  runs the tasks one at a time and in their order; null: as unregisterThread
    void registerThread(const std::shared_ptr<aht::thread_task>& thread) noexcept;

    /// Forgets the worker; what is queued still runs.
    void unregisterThread() noexcept;

    /// Switches dumping on or off; it is on at first.
    ///
    /// @param on  false: openDump and dumpData refuse from now on, closeDump does not
    void setDumpFlag(bool on) noexcept;

    /// Queues the opening of dir + "/" + name; a file of that name is emptied. Without effect while a file is open.
    ///
    /// @param dir   folder, which must exist; the slash is put in even behind an empty one
    /// @param name  file name in it
    /// @note Logged as "open fusion log file" whether or not it succeeded; records are lost until one does.
    void openDump(const std::string& dir, const std::string& name) noexcept;

    /// Queues the closing of the file, whatever the dump flag is. Until then its last records may wait in memory.
    void closeDump() noexcept;

    /// Queues one record.
    ///
    /// @param data  payload, copied
    /// @param len   payload length in bytes
    /// @param type  phg_record_t
    /// @return 0; -1 when refused: len below 1, type 0, no data, dump flag off, no worker or no memory. A worker that
    ///         is stopping, or a file that is not open, loses the record all the same
    int dumpData(const unsigned char* data, int len, int type) noexcept;

    /// Checksum of a payload: CRC-32 of polynomial 0xEDB88320, reflected, initial value 0, no final inversion.
    ///
    /// @param data  payload; may be null when len is below 1
    /// @param len   its length in bytes
    /// @return checksum, 0 when len is below 1
    static unsigned int Crc32(const unsigned char* data, int len) noexcept;

    /// Fills in the header that goes before a payload.
    ///
    /// @param data  payload, of which the header carries the checksum
    /// @param len   its length in bytes
    /// @param type  phg_record_t, of which the header carries the low 8 bits
    /// @param head  out: all 16 bytes
    static void buildLogHead(const unsigned char* data, int len, int type, LogKvx_tag* head) noexcept;

    /// Name of the logger that is told of files opened, closed and failed. Set it before dumping starts.
    static std::string m_logName;

private:
    class RTK_UTILS_LOCAL dump_file;

    std::atomic<bool> m_bDumpFlag{true};
    std::shared_ptr<dump_file> m_pFile;
    std::weak_ptr<aht::thread_task> m_pThread;
};

#endif
