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

/// The entry points of the vision library: the loader's handle, then one pointer an entry point, in this order.
///
/// A pointer is null until a library has been loaded that offers the entry point. What the calls mean, and the
/// records that they take, is for the vision library's own header to say.
struct RTK_UTILS_API PhgFunc_t {
    void* handle = nullptr;   ///< from dlopen, null: not loaded

    // Life of the library and its configuration.
    int (*PhgLibInit)(const PhgLibInitOptions* options) = nullptr;
    int (*PhgLibDestroy)(DrCfg_tag* config) = nullptr;
    void (*PhgLibVosInit)() = nullptr;
    int (*PhgLibSetFusionData)(const FusionData_tag* data) = nullptr;
    int (*PhgLibUpdateCfg)(const DrCfg_tag* config) = nullptr;
    int (*PhgLibSetHwCfg)(const DrHwCfg_tag* config) = nullptr;
    int (*PhgLibLogInit)(const char* folder, int level, int size) = nullptr;
    int (*PhgLibLogShutdown)() = nullptr;

    // Camera images, tilt, calibration.
    int (*PhgLibSetImageData)(const ImageData_t* image) = nullptr;
    int (*PhgLibSetImageInfoCB)(PhgImageInfoCB callback) = nullptr;
    int (*PhgLibRegisterCB)(PhgTiltStatCB callback) = nullptr;
    int (*PhgLibReset)() = nullptr;
    void (*PhgLibCalibStart)(const double* values, unsigned int length, PhgCalibCB callback) = nullptr;
    void (*PhgLibVerInfo)(char* text, int size) = nullptr;

    // Blocks of memory that the library hands out.
    int (*PhgLibMemoryTransferGetType)(unsigned long transfer) = nullptr;
    int (*PhgLibMemoryTransferGetDataID)(unsigned long transfer) = nullptr;
    int (*PhgLibMemoryTransferGetImageHeight)(unsigned long transfer) = nullptr;
    int (*PhgLibMemoryTransferGetImageWidth)(unsigned long transfer) = nullptr;
    int (*PhgLibMemoryTransferGetOpenCVType)(unsigned long transfer) = nullptr;
    int (*PhgLibSetMemoryTransferCB)(PhgMemoryTransferCB callback) = nullptr;
    int (*PhgLibFreeMemoryTransfer)(unsigned long transfer) = nullptr;

    // Frames, keyframes, odometer.
    int (*PhgLibSetFrameDataCB)(PhgFrameDataCB callback) = nullptr;
    int (*PhgLibEnableVisualOdometer)(int enable) = nullptr;
    int (*PhgLibOpenOldImageGroup)(const ImageGroupInfo_t* group) = nullptr;
    int (*PhgLibSetImageGroupInfoCB)(PhgImageGroupInfoCB callback) = nullptr;
    int (*PhgLibSetKeyframeFolderPath)(const char* path) = nullptr;

    // Camera calibration, accuracy check, poses, sensor samples.
    int (*PhgLibCalibCamera)(const char* images, const char* board, const char* result,
                             CameraParameters* parameters) = nullptr;
    int (*PhgLibCheckAccuracyApriltags)(const char* images, int* count, double* accuracy) = nullptr;
    int (*PhgLibGetTargetPose)(unsigned int target, const double* image, double* position, double* attitude) = nullptr;
    void (*PhgLibGetGnssExtrinsics)(double* extrinsics) = nullptr;
    int (*PhgLibSetGnss)(const PosRaw_tag* position) = nullptr;
    int (*PhgLibSetImu)(const ImuRawData_tag* sample) = nullptr;

    /// Unloads what is loaded, loads the library named by "VISION_PHG_LIB_NAME" and looks up every entry point.
    ///
    /// A library without some of them is loaded all the same; their pointers stay null.
    /// @note An exception out of a constructor of the library cannot be contained: it passes through the loader,
    ///       which then keeps its lock for good. Such a library must not be loaded at all.
    void InitPhgDll() noexcept;

    /// Clears the entry points and unloads the library.
    ///
    /// @note Deliberate: PhgLibSetFrameDataCB and PhgLibEnableVisualOdometer keep their addresses, which lead nowhere
    ///       once the library is gone. Do not call their wrappers then.
    void UnloadPhgDll() noexcept;
};

/// The one binding of the process: loads the vision library, forwards calls to it and records what goes in.
///
/// A wrapper `PtrPhgLib...` takes its entry point's arguments and returns its result, 0 where that has none. It
/// returns -14, and logs an error, when the library or the entry point is not there and when the entry point throws;
/// -22 for a null record where it says so. Wrappers that dump their input copy it first, see CPhgLog; the record must
/// be as long as its type or its own count says.
///
/// Start and Stop must not run while other threads are in wrappers; dumping is safe from any thread.
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

    int PtrPhgLibInit(const PhgLibInitOptions* options);
    int PtrPhgLibDestroy(DrCfg_tag* config);
    int PtrPhgLibVosInit();
    int PtrPhgLibSetFusionData(const FusionData_tag* data);   ///< Not dumped: the host calls DumpFusionData itself.
    int PtrPhgLibUpdateCfg(const DrCfg_tag* config);          ///< Dumped in any case.
    int PtrPhgLibSetHwCfg(const DrHwCfg_tag* config);
    int PtrPhgLibLogInit(const char* folder, int level, int size);
    int PtrPhgLibLogShutdown();
    int PtrPhgLibSetImageData(const ImageData_t* image);
    int PtrPhgLibSetImageInfoCB(PhgImageInfoCB callback);
    int PtrPhgLibRegisterCB(PhgTiltStatCB callback);
    int PtrPhgLibReset();   ///< Dumped when it reaches the library.
    int PtrPhgLibCalibStart(const double* values, unsigned int length, PhgCalibCB callback);
    int PtrPhgLibVerInfo(char* text, int size);
    int PtrPhgLibMemoryTransferGetType(unsigned long transfer);
    int PtrPhgLibMemoryTransferGetDataID(unsigned long transfer);
    int PtrPhgLibMemoryTransferGetImageHeight(unsigned long transfer);
    int PtrPhgLibMemoryTransferGetImageWidth(unsigned long transfer);
    int PtrPhgLibMemoryTransferGetOpenCVType(unsigned long transfer);
    int PtrPhgLibSetMemoryTransferCB(PhgMemoryTransferCB callback);
    int PtrPhgLibFreeMemoryTransfer(unsigned long transfer);
    int PtrPhgLibSetFrameDataCB(PhgFrameDataCB callback);
    int PtrPhgLibEnableVisualOdometer(int enable);   ///< Dumped when it reaches the library.
    int PtrPhgLibOpenOldImageGroup(const ImageGroupInfo_t* group);
    int PtrPhgLibSetImageGroupInfoCB(PhgImageGroupInfoCB callback);
    int PtrPhgLibSetKeyframeFolderPath(const char* path);
    int PtrPhgLibCalibCamera(const char* images, const char* board, const char* result, CameraParameters* parameters);
    int PtrPhgLibCheckAccuracyApriltags(const char* images, int* count, double* accuracy);
    int PtrPhgLibGetTargetPose(unsigned int target, const double* image, double* position, double* attitude);
    int PtrPhgLibGetGnssExtrinsics(double* extrinsics);
    int PtrPhgLibSetGnss(const PosRaw_tag* position);    ///< Dumped; -22 for null.
    int PtrPhgLibSetImu(const ImuRawData_tag* sample);   ///< Dumped; -22 for null.

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
