/// @file phg_lib.h  Record types and entry points of the vision library.
///
/// Stands in for that library's own header: only the fields that rtk_utils reads are named, the rest keeps the room.
#ifndef VISION_PHG_LIB_H
#define VISION_PHG_LIB_H

#include <cstdint>

struct PhgLibInitOptions {
    std::uint8_t opaque[64];
};
struct DrCfg_tag {
    std::uint8_t opaque[88];
};
struct DrHwCfg_tag {
    std::uint8_t opaque[24];
};
struct PosRaw_tag {
    std::uint8_t opaque[128];
};
struct ImuRawData_tag {
    std::uint8_t opaque[52];
};
struct ImageData_t {
    std::uint8_t opaque[64];
};
struct ImageGroupInfo_t {
    std::uint8_t opaque[64];
};
struct TiltStat_tag {
    std::uint8_t opaque[32];
};
struct CameraParameters {
    double opaque[16];
};

/// Fusion input: 88 bytes, then 32 for each element.
struct FusionData_tag {
    std::uint8_t opaque0[5];
    std::uint8_t count;   ///< elements
    std::uint8_t opaque1[82];
    std::uint8_t elements[255][32];   ///< count of them are there
};

/// Frame result: 32 bytes, the first element included, then 24 for each further one.
struct FrameData_t {
    std::uint8_t opaque0[6];
    std::uint16_t count;   ///< elements
    std::uint8_t first[24];
};

/// Request of a tilt calibration.
struct TiltCalibReq_t {
    std::uint32_t count;   ///< items
    std::uint32_t reserved;
    double values[3];   ///< those of the first item; more follow
};

static_assert(sizeof(DrCfg_tag) == 88 && sizeof(DrHwCfg_tag) == 24 && sizeof(PosRaw_tag) == 128);
static_assert(sizeof(ImuRawData_tag) == 52 && sizeof(TiltCalibReq_t) == 32 && sizeof(FrameData_t) == 32);
static_assert(sizeof(FusionData_tag) == 88 + 32 * 255);

extern "C" {

int PhgLibInit(const PhgLibInitOptions* options);
int PhgLibDestroy(DrCfg_tag* config);
void PhgLibVosInit();
int PhgLibSetFusionData(const FusionData_tag* data);
int PhgLibUpdateCfg(const DrCfg_tag* config);
int PhgLibSetHwCfg(const DrHwCfg_tag* config);
int PhgLibLogInit(const char* folder, int level, int size);
int PhgLibLogShutdown();
int PhgLibSetImageData(const ImageData_t* image);
int PhgLibSetImageInfoCB(int (*callback)(unsigned int, unsigned char));
int PhgLibRegisterCB(int (*callback)(TiltStat_tag*));
int PhgLibReset();
void PhgLibCalibStart(const double* values, unsigned int length, int (*callback)(int, char*, int));
void PhgLibVerInfo(char* text, int size);
int PhgLibMemoryTransferGetType(unsigned long transfer);
int PhgLibMemoryTransferGetDataID(unsigned long transfer);
int PhgLibMemoryTransferGetImageHeight(unsigned long transfer);
int PhgLibMemoryTransferGetImageWidth(unsigned long transfer);
int PhgLibMemoryTransferGetOpenCVType(unsigned long transfer);
int PhgLibSetMemoryTransferCB(int (*callback)(unsigned long, int, const void*));
int PhgLibFreeMemoryTransfer(unsigned long transfer);
int PhgLibSetFrameDataCB(int (*callback)(const FrameData_t*));
int PhgLibEnableVisualOdometer(int enable);
int PhgLibOpenOldImageGroup(const ImageGroupInfo_t* group);
int PhgLibSetImageGroupInfoCB(int (*callback)(const ImageGroupInfo_t*));
int PhgLibSetKeyframeFolderPath(const char* path);
int PhgLibCalibCamera(const char* images, const char* board, const char* result, CameraParameters* parameters);
int PhgLibCheckAccuracyApriltags(const char* images, int* count, double* accuracy);
int PhgLibGetTargetPose(unsigned int target, const double* image, double* position, double* attitude);
void PhgLibGetGnssExtrinsics(double* extrinsics);
int PhgLibSetGnss(const PosRaw_tag* position);
int PhgLibSetImu(const ImuRawData_tag* sample);

}   // extern "C"

#endif
