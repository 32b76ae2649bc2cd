/// @file CPhgAdapter.h  Binding of the vision and sensor-fusion library at run time.
#ifndef CPHGADAPTER_H
#define CPHGADAPTER_H

#include <memory>
#include <string>

#include "rtk_utils_api.h"

// Records of the vision library's own header; its users include that.
struct PhgLibInitOptions;
struct DrCfg_tag;
struct DrHwCfg_tag;
struct FusionData_tag;
struct PosRaw_tag;
struct ImuRawData_tag;
struct ImageData_t;
struct FrameData_t;
struct ImageGroupInfo_t;
struct TiltStat_tag;
struct TiltCalibReq_t;
struct CameraParameters;

// Callbacks of the vision library.
using PhgImageInfoCB = int (*)(unsigned int, unsigned char);
using PhgTiltStatCB = int (*)(TiltStat_tag*);
using PhgCalibCB = int (*)(int, char*, int);
using PhgMemoryTransferCB = int (*)(unsigned long, int, const void*);
using PhgFrameDataCB = int (*)(const FrameData_t*);
using PhgImageGroupInfoCB = int (*)(const ImageGroupInfo_t*);

class CPhgLog;
namespace aht {
class thread_task;
}

/// Every entry point of the vision library, in the order of the table's slots. One line here declares the slot and the
/// wrapper `Ptr<name>`, resolves, logs and clears the slot:
///
///   rank     place in the order in which symbols are looked up and logged
///   unload   `clears`, or `keeps`: the slot still holds its address after the library is unloaded
///   wrapper  `forwards`, or `records`: the wrapper also dumps its input and is written out in CPhgAdapter.cpp
///
/* clang-format off */
#define RTK_PHG_ENTRY_POINTS(ROW) \
    /*  rank unload  wrapper   result name                    parameters, arguments */ \
    ROW( 1, clears, forwards, int,  PhgLibInit,                      (const PhgLibInitOptions* options), (options)) \
    ROW( 2, clears, forwards, int,  PhgLibDestroy,                   (DrCfg_tag* config), (config)) \
    ROW( 3, clears, forwards, void, PhgLibVosInit,                   (), ()) \
    ROW(10, clears, forwards, int,  PhgLibSetFusionData,             (const FusionData_tag* data), (data)) \
    ROW( 8, clears, records,  int,  PhgLibUpdateCfg,                 (const DrCfg_tag* config), (config)) \
    ROW( 9, clears, forwards, int,  PhgLibSetHwCfg,                  (const DrHwCfg_tag* config), (config)) \
    ROW(13, clears, forwards, int,  PhgLibLogInit, \
        (const char* folder, int level, int size), \
        (folder, level, size)) \
    ROW(14, clears, forwards, int,  PhgLibLogShutdown,               (), ()) \
    ROW(11, clears, forwards, int,  PhgLibSetImageData,              (const ImageData_t* image), (image)) \
    ROW(12, clears, forwards, int,  PhgLibSetImageInfoCB,            (PhgImageInfoCB callback), (callback)) \
    ROW( 4, clears, forwards, int,  PhgLibRegisterCB,                (PhgTiltStatCB callback), (callback)) \
    ROW( 5, clears, records,  int,  PhgLibReset,                     (), ()) \
    ROW( 6, clears, forwards, void, PhgLibCalibStart, \
        (const double* values, unsigned int length, PhgCalibCB callback), \
        (values, length, callback)) \
    ROW( 7, clears, forwards, void, PhgLibVerInfo,                   (char* text, int size), (text, size)) \
    ROW(16, clears, forwards, int,  PhgLibMemoryTransferGetType,     (unsigned long transfer), (transfer)) \
    ROW(17, clears, forwards, int,  PhgLibMemoryTransferGetDataID,   (unsigned long transfer), (transfer)) \
    ROW(18, clears, forwards, int,  PhgLibMemoryTransferGetImageHeight, (unsigned long transfer), (transfer)) \
    ROW(19, clears, forwards, int,  PhgLibMemoryTransferGetImageWidth, (unsigned long transfer), (transfer)) \
    ROW(20, clears, forwards, int,  PhgLibMemoryTransferGetOpenCVType, (unsigned long transfer), (transfer)) \
    ROW(21, clears, forwards, int,  PhgLibSetMemoryTransferCB,       (PhgMemoryTransferCB callback), (callback)) \
    ROW(22, clears, forwards, int,  PhgLibFreeMemoryTransfer,        (unsigned long transfer), (transfer)) \
    ROW(23, keeps, forwards, int,  PhgLibSetFrameDataCB,             (PhgFrameDataCB callback), (callback)) \
    ROW(15, keeps, records,  int,  PhgLibEnableVisualOdometer,       (int enable), (enable)) \
    ROW(24, clears, forwards, int,  PhgLibOpenOldImageGroup,         (const ImageGroupInfo_t* group), (group)) \
    ROW(25, clears, forwards, int,  PhgLibSetImageGroupInfoCB,       (PhgImageGroupInfoCB callback), (callback)) \
    ROW(26, clears, forwards, int,  PhgLibSetKeyframeFolderPath,     (const char* path), (path)) \
    ROW(27, clears, forwards, int,  PhgLibCalibCamera, \
        (const char* images, const char* board, const char* result, CameraParameters* parameters), \
        (images, board, result, parameters)) \
    ROW(28, clears, forwards, int,  PhgLibCheckAccuracyApriltags, \
        (const char* images, int* count, double* accuracy), \
        (images, count, accuracy)) \
    ROW(29, clears, forwards, int,  PhgLibGetTargetPose, \
        (unsigned int target, const double* image, double* position, double* attitude), \
        (target, image, position, attitude)) \
    ROW(30, clears, forwards, void, PhgLibGetGnssExtrinsics,         (double* extrinsics), (extrinsics)) \
    ROW(31, clears, records,  int,  PhgLibSetGnss,                   (const PosRaw_tag* position), (position)) \
    ROW(32, clears, records,  int,  PhgLibSetImu,                    (const ImuRawData_tag* sample), (sample))
/* clang-format on */

/// The entry points: the loader's handle, then a pointer each, null until the library has been loaded and offers it.
struct RTK_UTILS_API PhgFunc_t {
    void* handle = nullptr;   ///< from dlopen, null: not loaded

#define RTK_PHG_SLOT(rank, unload, wrapper, result, name, parameters, arguments) result(*name) parameters = nullptr;
    RTK_PHG_ENTRY_POINTS(RTK_PHG_SLOT)
#undef RTK_PHG_SLOT

    /// Unloads what is loaded, loads the library named by "VISION_PHG_LIB_NAME" and looks up every entry point.
    void InitPhgDll() noexcept;

    /// Clears the entry points and unloads the library.
    ///
    /// @note Deliberate: PhgLibSetFrameDataCB and PhgLibEnableVisualOdometer keep their addresses, which lead nowhere
    ///       once the library is gone. Do not call their wrappers then.
    void UnloadPhgDll() noexcept;
};

/// The one binding of the process: loads the vision library, forwards calls to it and records what goes in.
///
/// A wrapper `PtrPhgLib...` takes the entry point's arguments and returns its result, 0 where it has none; -14 when the
/// library or the entry point is not there, which is logged; -22 for a null record where it says so. Start and Stop
/// must not run while other threads are in wrappers; dumping is safe from any thread. What is read from a record
/// behind its named fields is told by its count, so that the caller's record must be as long as its count says.
class RTK_UTILS_API CPhgAdapter {
public:
    /// The adapter, made on first use and unloaded at process exit.
    static CPhgAdapter& instance();

    ~CPhgAdapter();
    CPhgAdapter(const CPhgAdapter&) = delete;
    CPhgAdapter& operator=(const CPhgAdapter&) = delete;

    /// Loads the library; one that is loaded already is unloaded first.
    ///
    /// @param logName  logger for this class and for the dump
    void Start(const std::string& logName) noexcept;

    /// Unloads the library, closes the dump and forgets its worker.
    void Stop() noexcept;

    void InitPhgDll() noexcept;       ///< Loads the library, as Start does.
    void InitPhgDllFunc() noexcept;   ///< Unloads the library.

#define RTK_PHG_WRAPPER(rank, unload, wrapper, result, name, parameters, arguments) int Ptr##name parameters;
    RTK_PHG_ENTRY_POINTS(RTK_PHG_WRAPPER)
#undef RTK_PHG_WRAPPER

    /// Starts a tilt calibration from a request and dumps its head.
    ///
    /// @param request   the values of its items follow its head
    /// @param perItem   values of one item
    /// @param callback  told of the progress
    /// @return as the other wrappers; -22 for a null request
    int PtrPhgLibCalibStart(const TiltCalibReq_t* request, unsigned int perItem, PhgCalibCB callback);

    /// Opens a dump file, see CPhgLog::openDump, and dumps both configurations; null ones are left out.
    void OpenDump(const std::string& dir, const std::string& name, const DrHwCfg_tag* hardware,
                  const DrCfg_tag* config) noexcept;
    void CloseDump() noexcept;                                                           ///< CPhgLog::closeDump
    void RegisterDumpThread(const std::shared_ptr<aht::thread_task>& thread) noexcept;   ///< CPhgLog::registerThread
    void UnregisterDumpThread() noexcept;                                                ///< CPhgLog::unregisterThread
    void SetDumpFlag(bool on) noexcept;                                                  ///< CPhgLog::setDumpFlag

    void DumpMeasureStat(bool stat) noexcept;                   ///< Dumps whether a measurement runs.
    void DumpFrameData(const FrameData_t* frame) noexcept;      ///< Dumps a frame result; null: nothing.
    void DumpFusionData(const FusionData_tag* data) noexcept;   ///< Dumps a fusion input; null: nothing.

    /// Length of a fusion input.
    ///
    /// @return 88 + 32 x its count byte (bytes); 0 for null
    static int GetFusionDataLen(const FusionData_tag* data) noexcept;

    /// Name of the logger, set by Start.
    static std::string m_logName;

private:
    RTK_UTILS_LOCAL CPhgAdapter() noexcept;
    RTK_UTILS_LOCAL void dump(const void* record, int len, int type) noexcept;

    std::unique_ptr<PhgFunc_t> m_pFunc;
    std::unique_ptr<CPhgLog> m_pLog;
};

#endif
