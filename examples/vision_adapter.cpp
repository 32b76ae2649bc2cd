// Feeds the vision library that the environment variable VISION_PHG_LIB_NAME names, and records what goes in.
//   VISION_PHG_LIB_NAME=/usr/lib/libvision.so example_vision_adapter /data fusion.kvx
#include <CPhgAdapter.h>
#include <rtkcommon/thread_task.h>
#include <vision/phg_lib.h>   // the vision library's own header: what its records hold

#include <cstdio>
#include <cstdlib>
#include <memory>

constexpr int kNotBound = -14;   // result of every call that did not reach the library

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: example_vision_adapter FOLDER NAME\n");
        return 2;
    }
    auto worker = std::make_shared<aht::thread_task>("dump", 10000);

    CPhgAdapter& vision = CPhgAdapter::instance();
    vision.Start("VISION");   // the logger's name; loads the library
    vision.RegisterDumpThread(worker);
    const DrHwCfg_tag hardware{};
    DrCfg_tag config{};
    vision.OpenDump(argv[1], argv[2], &hardware, &config);

    const PhgLibInitOptions options{};
    const bool bound = vision.PtrPhgLibInit(&options) != kNotBound;
    int lost = 0;
    for (int sample = 0; bound && sample < 200; ++sample) {   // IMU 200 Hz, GNSS 10 Hz
        const ImuRawData_tag imu{};
        lost += vision.PtrPhgLibSetImu(&imu) == kNotBound;
        if (sample % 20 != 0) continue;
        const PosRaw_tag position{};
        lost += vision.PtrPhgLibSetGnss(&position) == kNotBound;
    }
    if (bound) vision.PtrPhgLibDestroy(&config);

    vision.Stop();    // unloads the library and queues the close: the worker must still be there
    worker.reset();   // runs what waits, then the file is whole

    if (!bound) {
        const char* name = std::getenv("VISION_PHG_LIB_NAME");
        std::fprintf(stderr, "no vision library: VISION_PHG_LIB_NAME is '%s'\n", name != nullptr ? name : "");
        return 1;
    }
    std::printf("%d samples did not reach the library\n", lost);
    return lost == 0 ? 0 : 1;
}
