// Vision library for tests: every entry point appends a line, its name and its arguments, to the file named by
// FAKE_VISION_RECORD, and returns the number of its slot. Only C inside, so that nothing keeps the library loaded.
#include <vision/phg_lib.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace {

void append(const char* format, ...)
{
    const char* path = std::getenv("FAKE_VISION_RECORD");
    std::FILE* file = path != nullptr ? std::fopen(path, "a") : nullptr;
    if (file == nullptr) return;
    va_list arguments;
    va_start(arguments, format);
    std::vfprintf(file, format, arguments);
    va_end(arguments);
    std::fclose(file);
}

int call(int slot, const char* name, const char* arguments = "")
{
    append("%s%s%s\n", name, *arguments != '\0' ? " " : "", arguments);
    return slot;
}

int number(int slot, const char* name, long long value)
{
    append("%s %lld\n", name, value);
    return slot;
}

int record(int slot, const char* name, const void* data, unsigned long size)
{
    static char text[2 * sizeof(FusionData_tag) + 1];
    for (unsigned long k = 0; k < size; ++k)
        std::snprintf(text + 2 * k, 3, "%02x", static_cast<const unsigned char*>(data)[k]);
    return call(slot, name, data != nullptr ? text : "null");
}

template <class Callback>
int callback_given(int slot, const char* name, Callback callback)
{
    return call(slot, name, callback != nullptr ? "callback" : "null");
}

}   // namespace

// clang-format off
#define CALL(slot, name) int name() { return call(slot, #name); }
#define RECORD(slot, name, type) int name(const type* data) { return record(slot, #name, data, sizeof *data); }
#define NUMBER(slot, name, type) int name(type value) { return number(slot, #name, static_cast<long>(value)); }
#define CALLBACK(slot, name, ...) int name(int (*given)(__VA_ARGS__)) { return callback_given(slot, #name, given); }

extern "C" {
RECORD(1, PhgLibInit, PhgLibInitOptions)
int PhgLibDestroy(DrCfg_tag* config) { return record(2, __func__, config, sizeof *config); }
void PhgLibVosInit() { call(3, __func__); }
int PhgLibSetFusionData(const FusionData_tag* data) { return record(4, __func__, data, 88 + 32ul * data->count); }
RECORD(5, PhgLibUpdateCfg, DrCfg_tag)
RECORD(6, PhgLibSetHwCfg, DrHwCfg_tag)
int PhgLibLogInit(const char* folder, int level, int size)
{
    return append("%s %s %d %d\n", __func__, folder, level, size), 7;
}
CALL(8, PhgLibLogShutdown)
RECORD(9, PhgLibSetImageData, ImageData_t)
CALLBACK(10, PhgLibSetImageInfoCB, unsigned int, unsigned char)
CALLBACK(11, PhgLibRegisterCB, TiltStat_tag*)
CALL(12, PhgLibReset)
void PhgLibCalibStart(const double* values, unsigned int length, int (*callback)(int, char*, int))
{
    append("%s %u %s", __func__, length, callback != nullptr ? "callback" : "null");
    for (unsigned int k = 0; k < length; ++k) append(" %a", values[k]);
    append("\n");
}
void PhgLibVerInfo(char* text, int size)
{
    std::snprintf(text, static_cast<unsigned>(size), "fake vision");
    call(14, __func__);
}
NUMBER(15, PhgLibMemoryTransferGetType, unsigned long)
NUMBER(16, PhgLibMemoryTransferGetDataID, unsigned long)
NUMBER(17, PhgLibMemoryTransferGetImageHeight, unsigned long)
NUMBER(18, PhgLibMemoryTransferGetImageWidth, unsigned long)
NUMBER(19, PhgLibMemoryTransferGetOpenCVType, unsigned long)
CALLBACK(20, PhgLibSetMemoryTransferCB, unsigned long, int, const void*)
NUMBER(21, PhgLibFreeMemoryTransfer, unsigned long)
CALLBACK(22, PhgLibSetFrameDataCB, const FrameData_t*)
NUMBER(23, PhgLibEnableVisualOdometer, int)
RECORD(24, PhgLibOpenOldImageGroup, ImageGroupInfo_t)
CALLBACK(25, PhgLibSetImageGroupInfoCB, const ImageGroupInfo_t*)
int PhgLibSetKeyframeFolderPath(const char* path) { return call(26, __func__, path); }
int PhgLibCalibCamera(const char* images, const char* board, const char* result, CameraParameters* parameters)
{
    parameters->opaque[0] = 27;
    return append("%s %s %s %s\n", __func__, images, board, result), 27;
}
int PhgLibCheckAccuracyApriltags(const char* images, int* count, double* accuracy)
{
    *count = 28;
    *accuracy = 0.28;
    return call(28, __func__, images);
}
int PhgLibGetTargetPose(unsigned int target, const double* image, double* position, double* attitude)
{
    position[0] = attitude[0] = 29;
    return append("%s %u %a\n", __func__, target, image[0]), 29;
}
void PhgLibGetGnssExtrinsics(double* extrinsics) { extrinsics[0] = 30, call(30, __func__); }
RECORD(31, PhgLibSetGnss, PosRaw_tag)
RECORD(32, PhgLibSetImu, ImuRawData_tag)
// clang-format on
}   // extern "C"
