/// @file phg_entry_points.h  Every entry point of the vision library, in the order of PhgFunc_t.
///
/// One line a slot; CPhgAdapter.cpp makes of it what resolves, logs and clears the slot, and the wrapper `Ptr<name>`:
///
///   rank     place in the order in which symbols are looked up and logged
///   unload   `clears`, or `keeps`: the slot still holds its address after the library is unloaded
///   wrapper  `forwards`, or `records`: the wrapper also dumps its input and is written out
#ifndef RTK_PHG_ENTRY_POINTS_H
#define RTK_PHG_ENTRY_POINTS_H

/* clang-format off */
#define PHG_ENTRY_POINTS(ROW) \
    /* rank unload  wrapper   result name                              parameters, arguments */ \
    ROW( 1, clears, forwards, int,  PhgLibInit,                         (const PhgLibInitOptions* options), (options)) \
    ROW( 2, clears, forwards, int,  PhgLibDestroy,                      (DrCfg_tag* config), (config)) \
    ROW( 3, clears, forwards, void, PhgLibVosInit,                      (), ()) \
    ROW(10, clears, forwards, int,  PhgLibSetFusionData,                (const FusionData_tag* data), (data)) \
    ROW( 8, clears, records,  int,  PhgLibUpdateCfg,                    (const DrCfg_tag* config), (config)) \
    ROW( 9, clears, forwards, int,  PhgLibSetHwCfg,                     (const DrHwCfg_tag* config), (config)) \
    ROW(13, clears, forwards, int,  PhgLibLogInit, \
        (const char* folder, int level, int size), \
        (folder, level, size)) \
    ROW(14, clears, forwards, int,  PhgLibLogShutdown,                  (), ()) \
    ROW(11, clears, forwards, int,  PhgLibSetImageData,                 (const ImageData_t* image), (image)) \
    ROW(12, clears, forwards, int,  PhgLibSetImageInfoCB,               (PhgImageInfoCB callback), (callback)) \
    ROW( 4, clears, forwards, int,  PhgLibRegisterCB,                   (PhgTiltStatCB callback), (callback)) \
    ROW( 5, clears, records,  int,  PhgLibReset,                        (), ()) \
    ROW( 6, clears, forwards, void, PhgLibCalibStart, \
        (const double* values, unsigned int length, PhgCalibCB callback), \
        (values, length, callback)) \
    ROW( 7, clears, forwards, void, PhgLibVerInfo,                      (char* text, int size), (text, size)) \
    ROW(16, clears, forwards, int,  PhgLibMemoryTransferGetType,        (unsigned long transfer), (transfer)) \
    ROW(17, clears, forwards, int,  PhgLibMemoryTransferGetDataID,      (unsigned long transfer), (transfer)) \
    ROW(18, clears, forwards, int,  PhgLibMemoryTransferGetImageHeight, (unsigned long transfer), (transfer)) \
    ROW(19, clears, forwards, int,  PhgLibMemoryTransferGetImageWidth,  (unsigned long transfer), (transfer)) \
    ROW(20, clears, forwards, int,  PhgLibMemoryTransferGetOpenCVType,  (unsigned long transfer), (transfer)) \
    ROW(21, clears, forwards, int,  PhgLibSetMemoryTransferCB,          (PhgMemoryTransferCB callback), (callback)) \
    ROW(22, clears, forwards, int,  PhgLibFreeMemoryTransfer,           (unsigned long transfer), (transfer)) \
    ROW(23, keeps,  forwards, int,  PhgLibSetFrameDataCB,               (PhgFrameDataCB callback), (callback)) \
    ROW(15, keeps,  records,  int,  PhgLibEnableVisualOdometer,         (int enable), (enable)) \
    ROW(24, clears, forwards, int,  PhgLibOpenOldImageGroup,            (const ImageGroupInfo_t* group), (group)) \
    ROW(25, clears, forwards, int,  PhgLibSetImageGroupInfoCB,          (PhgImageGroupInfoCB callback), (callback)) \
    ROW(26, clears, forwards, int,  PhgLibSetKeyframeFolderPath,        (const char* path), (path)) \
    ROW(27, clears, forwards, int,  PhgLibCalibCamera, \
        (const char* images, const char* board, const char* result, CameraParameters* parameters), \
        (images, board, result, parameters)) \
    ROW(28, clears, forwards, int,  PhgLibCheckAccuracyApriltags, \
        (const char* images, int* count, double* accuracy), \
        (images, count, accuracy)) \
    ROW(29, clears, forwards, int,  PhgLibGetTargetPose, \
        (unsigned int target, const double* image, double* position, double* attitude), \
        (target, image, position, attitude)) \
    ROW(30, clears, forwards, void, PhgLibGetGnssExtrinsics,            (double* extrinsics), (extrinsics)) \
    ROW(31, clears, records,  int,  PhgLibSetGnss,                      (const PosRaw_tag* position), (position)) \
    ROW(32, clears, records,  int,  PhgLibSetImu,                       (const ImuRawData_tag* sample), (sample))
/* clang-format on */

#endif
