/// @file CPhgAdapter.h  Binding of the vision and sensor-fusion library at run time.
///
/// The vision library is not linked. It is named by the environment variable "VISION_PHG_LIB_NAME", loaded by
/// CPhgAdapter::Start and called through CPhgAdapter; what goes into it can be recorded in a dump file on the way,
/// see CPhgLog.h. A host in short:
///
///     auto worker = std::make_shared<aht::thread_task>("dump");
///     CPhgAdapter& vision = CPhgAdapter::instance();
///     vision.Start("VISION");                                   // logger's name
///     vision.RegisterDumpThread(worker);
///     vision.OpenDump("/data", "fusion.kvx", &hardware, &config);
///     if (vision.PtrPhgLibInit(&options) < 0) ...               // -14: no library, or it lacks this entry point
///     vision.PtrPhgLibSetImu(&sample);                          // dumped, then handed on
///     vision.Stop();
#ifndef CPHGADAPTER_H
#define CPHGADAPTER_H

#include <memory>
#include <string>

#include "rtk_utils_api.h"

// Records of the vision library's own header; its users include that. Here they are opaque but for what is said below.

struct PhgLibInitOptions;   ///< how the library starts
struct DrCfg_tag;           ///< fusion configuration, 88 bytes
struct DrHwCfg_tag;         ///< hardware configuration, 24 bytes
struct FusionData_tag;      ///< fusion input, 88 bytes and 32 for each element that the byte at 5 counts
struct PosRaw_tag;          ///< GNSS sample, 128 bytes
struct ImuRawData_tag;      ///< IMU sample, 52 bytes
struct ImageData_t;         ///< camera image
struct FrameData_t;         ///< frame result, 32 bytes and 24 for each element behind the first; u16 count at 6
struct ImageGroupInfo_t;    ///< group of images
struct TiltStat_tag;        ///< state of the tilt
struct TiltCalibReq_t;      ///< tilt calibration request: u32 count, values (double) from byte 8 on
struct CameraParameters;    ///< result of a camera calibration

// Callbacks of the vision library. They run on its threads, and what they are handed is valid during the call only.

/// Told of an image: its number and what became of it.
using PhgImageInfoCB = int (*)(unsigned int, unsigned char);

/// Told of the tilt's state whenever that changes.
using PhgTiltStatCB = int (*)(TiltStat_tag*);

/// Told of the progress of a calibration: its state, a text and the text's size.
using PhgCalibCB = int (*)(int, char*, int);

/// Told of a block of memory: its handle, its size (bytes) and its bytes.
using PhgMemoryTransferCB = int (*)(unsigned long, int, const void*);

/// Told of a frame's result.
using PhgFrameDataCB = int (*)(const FrameData_t*);

/// Told of a group of images.
using PhgImageGroupInfoCB = int (*)(const ImageGroupInfo_t*);

class CPhgLog;
namespace aht {
class thread_task;
}

/// The entry points of the vision library: the loader's handle, then one pointer an entry point, in this order.
///
/// A pointer is null until a library has been loaded that offers the entry point. What each is for stands at its
/// wrapper in CPhgAdapter; arguments, units and results are for the vision library's own header to say.
struct RTK_UTILS_API PhgFunc_t {
    void* handle = nullptr;   ///< from dlopen, null: not loaded

    /// Entry point behind the wrapper of its name in CPhgAdapter; null: not there.
    /// @{
    int (*PhgLibInit)(const PhgLibInitOptions* options) = nullptr;
    int (*PhgLibDestroy)(DrCfg_tag* config) = nullptr;
    void (*PhgLibVosInit)() = nullptr;
    int (*PhgLibSetFusionData)(const FusionData_tag* data) = nullptr;
    int (*PhgLibUpdateCfg)(const DrCfg_tag* config) = nullptr;
    int (*PhgLibSetHwCfg)(const DrHwCfg_tag* config) = nullptr;
    int (*PhgLibLogInit)(const char* folder, int level, int size) = nullptr;
    int (*PhgLibLogShutdown)() = nullptr;
    int (*PhgLibSetImageData)(const ImageData_t* image) = nullptr;
    int (*PhgLibSetImageInfoCB)(PhgImageInfoCB callback) = nullptr;
    int (*PhgLibRegisterCB)(PhgTiltStatCB callback) = nullptr;
    int (*PhgLibReset)() = nullptr;
    void (*PhgLibCalibStart)(const double* values, unsigned int length, PhgCalibCB callback) = nullptr;
    void (*PhgLibVerInfo)(char* text, int size) = nullptr;
    int (*PhgLibMemoryTransferGetType)(unsigned long transfer) = nullptr;
    int (*PhgLibMemoryTransferGetDataID)(unsigned long transfer) = nullptr;
    int (*PhgLibMemoryTransferGetImageHeight)(unsigned long transfer) = nullptr;
    int (*PhgLibMemoryTransferGetImageWidth)(unsigned long transfer) = nullptr;
    int (*PhgLibMemoryTransferGetOpenCVType)(unsigned long transfer) = nullptr;
    int (*PhgLibSetMemoryTransferCB)(PhgMemoryTransferCB callback) = nullptr;
    int (*PhgLibFreeMemoryTransfer)(unsigned long transfer) = nullptr;
    int (*PhgLibSetFrameDataCB)(PhgFrameDataCB callback) = nullptr;
    int (*PhgLibEnableVisualOdometer)(int enable) = nullptr;
    int (*PhgLibOpenOldImageGroup)(const ImageGroupInfo_t* group) = nullptr;
    int (*PhgLibSetImageGroupInfoCB)(PhgImageGroupInfoCB callback) = nullptr;
    int (*PhgLibSetKeyframeFolderPath)(const char* path) = nullptr;
    int (*PhgLibCalibCamera)(const char* images, const char* board, const char* result,
                             CameraParameters* parameters) = nullptr;
    int (*PhgLibCheckAccuracyApriltags)(const char* images, int* count, double* accuracy) = nullptr;
    int (*PhgLibGetTargetPose)(unsigned int target, const double* image, double* position, double* attitude) = nullptr;
    void (*PhgLibGetGnssExtrinsics)(double* extrinsics) = nullptr;
    int (*PhgLibSetGnss)(const PosRaw_tag* position) = nullptr;
    int (*PhgLibSetImu)(const ImuRawData_tag* sample) = nullptr;
    /// @}

    /// Unloads what is loaded, loads the library named by "VISION_PHG_LIB_NAME" and looks up every entry point.
    ///
    /// A library without some of them is loaded all the same; their pointers stay null.
    /// @note An exception out of a constructor of the library cannot be contained: it passes through the loader,
    ///       which would keep its lock for good, and ends the process here. Such a library must not be loaded at all.
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
/// Start and Stop must not run while other threads are in wrappers; dumping is safe from any thread. No member throws.
/// A thread that the host cancels inside an entry point ends as it would without this class.
class RTK_UTILS_API CPhgAdapter {
public:
    /// The adapter.
    ///
    /// @return the one of the process, made on first use by whichever thread comes first, unloaded at process exit
    static CPhgAdapter& instance();

    /// Stop(). At process exit, when the adapter was used at all.
    ~CPhgAdapter();
    CPhgAdapter(const CPhgAdapter&) = delete;
    CPhgAdapter& operator=(const CPhgAdapter&) = delete;

    /// Loads the library that "VISION_PHG_LIB_NAME" names; one that is loaded already is unloaded first.
    ///
    /// Whether that worked is logged, with the address of every entry point, and shown by the wrappers' results. With
    /// the variable unset the running program itself is searched for the entry points.
    ///
    /// @param logName  logger for this class and for the dump
    void Start(const std::string& logName) noexcept;

    /// Unloads the library, closes the dump and forgets its worker. Records that wait are still written.
    void Stop() noexcept;

    /// Loads the library, as Start does, and leaves the names of the loggers alone.
    void InitPhgDll() noexcept;

    /// Unloads the library. Two slots of the table keep their addresses, see PhgFunc_t::UnloadPhgDll.
    void InitPhgDllFunc() noexcept;

    // One wrapper an entry point, in the order of PhgFunc_t. Results:
    //     that of the entry point, 0 where it has none
    //     -14  no library, not in the library, or it threw an exception
    //     -22  the record is null, where its lines say so

    /// Prepares the library.
    ///
    /// @param options  how to start
    /// @return the library's result, or -14
    int PtrPhgLibInit(const PhgLibInitOptions* options);

    /// Ends its work; hands the configuration back.
    ///
    /// @param config  out: the fusion configuration as it is at the end
    /// @return the library's result, or -14
    int PtrPhgLibDestroy(DrCfg_tag* config);

    /// Prepares the visual odometer.
    ///
    /// @return 0, or -14
    int PtrPhgLibVosInit();

    /// Takes a fusion input. Not dumped: the host calls DumpFusionData itself.
    ///
    /// @param data  with as many elements as it counts
    /// @return the library's result, or -14
    int PtrPhgLibSetFusionData(const FusionData_tag* data);

    /// Takes a fusion configuration. Dumped in any case.
    ///
    /// @param config  null goes to the library as well, and is not dumped
    /// @return the library's result, or -14
    int PtrPhgLibUpdateCfg(const DrCfg_tag* config);

    /// Takes the hardware configuration.
    ///
    /// @param config  handed on as it is; OpenDump() dumps one
    /// @return the library's result, or -14
    int PtrPhgLibSetHwCfg(const DrHwCfg_tag* config);

    /// Opens the library's own log.
    ///
    /// @param folder       where the log goes
    /// @param level, size  as the library's own header says
    /// @return the library's result, or -14
    int PtrPhgLibLogInit(const char* folder, int level, int size);

    /// Closes it.
    ///
    /// @return the library's result, or -14
    int PtrPhgLibLogShutdown();

    /// Takes a camera image.
    ///
    /// @param image  with its pixels; whether they are copied is the library's affair
    /// @return the library's result, or -14
    int PtrPhgLibSetImageData(const ImageData_t* image);

    /// Who is told of images.
    ///
    /// @param callback  told of every image from now on
    /// @return the library's result, or -14
    int PtrPhgLibSetImageInfoCB(PhgImageInfoCB callback);

    /// Who is told of the tilt.
    ///
    /// @param callback  told of the tilt's state from now on
    /// @return the library's result, or -14
    int PtrPhgLibRegisterCB(PhgTiltStatCB callback);

    /// Starts the fusion anew. Dumped when it reaches the library.
    ///
    /// @return the library's result, or -14
    int PtrPhgLibReset();

    /// Starts a tilt calibration with so many values.
    ///
    /// @param values    of all items, one item after the other
    /// @param length    number of values
    /// @param callback  told of the progress
    /// @return 0, or -14
    int PtrPhgLibCalibStart(const double* values, unsigned int length, PhgCalibCB callback);

    /// Writes the version into a text of that size.
    ///
    /// @param text  out: the version
    /// @param size  room in text (bytes)
    /// @return 0, or -14
    int PtrPhgLibVerInfo(char* text, int size);

    /// Kind of a block of memory that the library hands out.
    ///
    /// @param transfer  handle that a PhgMemoryTransferCB was told
    /// @return the library's result, or -14
    int PtrPhgLibMemoryTransferGetType(unsigned long transfer);

    /// Number of its data.
    ///
    /// @param transfer  handle that a PhgMemoryTransferCB was told
    /// @return the library's result, or -14
    int PtrPhgLibMemoryTransferGetDataID(unsigned long transfer);

    /// Height of the image in it (pixels).
    ///
    /// @param transfer  handle that a PhgMemoryTransferCB was told
    /// @return the library's result, or -14
    int PtrPhgLibMemoryTransferGetImageHeight(unsigned long transfer);

    /// Width of the image in it (pixels).
    ///
    /// @param transfer  handle that a PhgMemoryTransferCB was told
    /// @return the library's result, or -14
    int PtrPhgLibMemoryTransferGetImageWidth(unsigned long transfer);

    /// Type of its pixels, by OpenCV's numbers.
    ///
    /// @param transfer  handle that a PhgMemoryTransferCB was told
    /// @return the library's result, or -14
    int PtrPhgLibMemoryTransferGetOpenCVType(unsigned long transfer);

    /// Who is handed such blocks.
    ///
    /// @param callback  handed every block from now on, to be given back by PtrPhgLibFreeMemoryTransfer()
    /// @return the library's result, or -14
    int PtrPhgLibSetMemoryTransferCB(PhgMemoryTransferCB callback);

    /// Gives a block back.
    ///
    /// @param transfer  its handle, of no use from now on
    /// @return the library's result, or -14
    int PtrPhgLibFreeMemoryTransfer(unsigned long transfer);

    /// Who is told of frame results.
    ///
    /// @param callback  told of every frame result from now on; DumpFrameData() may be called from it
    /// @return the library's result, or -14
    int PtrPhgLibSetFrameDataCB(PhgFrameDataCB callback);

    /// Switches the visual odometer on or off. Dumped when it reaches the library.
    ///
    /// @param enable  handed on, and dumped, as it is
    /// @return the library's result, or -14
    int PtrPhgLibEnableVisualOdometer(int enable);

    /// Opens a group of images taken before.
    ///
    /// @param group  which one
    /// @return the library's result, or -14
    int PtrPhgLibOpenOldImageGroup(const ImageGroupInfo_t* group);

    /// Who is told of groups of images.
    ///
    /// @param callback  told of every group from now on
    /// @return the library's result, or -14
    int PtrPhgLibSetImageGroupInfoCB(PhgImageGroupInfoCB callback);

    /// Folder of the keyframes.
    ///
    /// @param path  folder for keyframes from now on
    /// @return the library's result, or -14
    int PtrPhgLibSetKeyframeFolderPath(const char* path);

    /// Calibrates a camera.
    ///
    /// @param images      where the images are
    /// @param board       the board that they show
    /// @param result      folder of the result
    /// @param parameters  out: the result
    /// @return the library's result, or -14
    int PtrPhgLibCalibCamera(const char* images, const char* board, const char* result, CameraParameters* parameters);

    /// Checks the accuracy by AprilTags in images.
    ///
    /// @param images           where the images are
    /// @param count, accuracy  out: as the library's own header says
    /// @return the library's result, or -14
    int PtrPhgLibCheckAccuracyApriltags(const char* images, int* count, double* accuracy);

    /// Position and attitude of a target seen in an image.
    ///
    /// @param target    number of the target
    /// @param image     its place in the image
    /// @param position  out: where it is
    /// @param attitude  out: how it stands
    /// @return the library's result, or -14
    int PtrPhgLibGetTargetPose(unsigned int target, const double* image, double* position, double* attitude);

    /// Place of the GNSS antenna in the camera frame.
    ///
    /// @param extrinsics  out: place of the antenna
    /// @return 0, or -14
    int PtrPhgLibGetGnssExtrinsics(double* extrinsics);

    /// Takes a GNSS sample. Dumped.
    ///
    /// @param position  128 bytes
    /// @return the library's result, or -14; -22 for null
    int PtrPhgLibSetGnss(const PosRaw_tag* position);

    /// Takes an IMU sample. Dumped.
    ///
    /// @param sample  52 bytes
    /// @return the library's result, or -14; -22 for null
    int PtrPhgLibSetImu(const ImuRawData_tag* sample);

    // Beside them:

    /// Starts a tilt calibration from a request, and dumps the first 32 bytes of it in any case.
    ///
    /// @param request   the values of its items follow its head
    /// @param perItem   values of one item
    /// @param callback  told of the progress
    /// @return as the other wrappers; -22 for a null request
    int PtrPhgLibCalibStart(const TiltCalibReq_t* request, unsigned int perItem, PhgCalibCB callback);

    // The dump. Without a worker, with the flag off or without memory these do nothing, without a word.

    /// Opens a dump file, see CPhgLog::openDump, and dumps both configurations.
    ///
    /// @param dir       folder, which must exist
    /// @param name      file name in it
    /// @param hardware  null: not dumped
    /// @param config    null: not dumped
    void OpenDump(const std::string& dir, const std::string& name, const DrHwCfg_tag* hardware,
                  const DrCfg_tag* config) noexcept;

    /// CPhgLog::closeDump: the file is whole once the worker has come to it.
    ///
    /// @note Without effect when no file is open.
    void CloseDump() noexcept;

    /// CPhgLog::registerThread: names the worker that writes the file. It is not kept alive.
    ///
    /// @param thread  in place of an earlier one; null: as UnregisterDumpThread()
    void RegisterDumpThread(const std::shared_ptr<aht::thread_task>& thread) noexcept;

    /// CPhgLog::unregisterThread: nothing more is dumped, and what waits is still written.
    void UnregisterDumpThread() noexcept;

    /// CPhgLog::setDumpFlag: off stops opening and recording, not closing.
    ///
    /// @param on  true at first
    void SetDumpFlag(bool on) noexcept;

    /// Dumps whether a measurement runs.
    ///
    /// @param stat  true: from now on
    void DumpMeasureStat(bool stat) noexcept;

    /// Dumps a frame result, mostly from the callback that PtrPhgLibSetFrameDataCB has named.
    ///
    /// @param frame  with as many elements as it counts; null: nothing is dumped
    void DumpFrameData(const FrameData_t* frame) noexcept;

    /// Dumps a fusion input, which PtrPhgLibSetFusionData does not.
    ///
    /// @param data  with as many elements as it counts; null: nothing is dumped
    void DumpFusionData(const FusionData_tag* data) noexcept;

    /// Length of a fusion input as its own count says.
    ///
    /// @param data  its first 6 bytes are read
    /// @return 88 + 32 x its count byte (bytes); 0 for null
    static int GetFusionDataLen(const FusionData_tag* data) noexcept;

    /// Name of the logger, set by Start. Lines: level 1 loading and unloading, 2 addresses of entry points, 4 calls
    /// that could not be made.
    static std::string m_logName;

private:
    RTK_UTILS_LOCAL CPhgAdapter() noexcept;
    RTK_UTILS_LOCAL void dump(const void* record, int len, int type) noexcept;

    std::unique_ptr<PhgFunc_t> m_pFunc;
    std::unique_ptr<CPhgLog> m_pLog;
};

#endif
