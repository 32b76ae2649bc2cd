// A host of somebody else's, with every class. The dump log works on a worker of the platform's common library.
#include <CEpochCollector.h>
#include <CGpioUtils.h>
#include <CI2cHelper.h>
#include <CKorvexMsgHelper.h>
#include <CPhgAdapter.h>
#include <CPhgLog.h>
#include <rtk_gnss.h>
#include <rtk_utils_version.h>
#include <rtkcommon/thread_task.h>
#ifdef WITH_STANDINS
#include <vision/phg_lib.h>   // comes with them
#endif

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>

static int failures = 0;
#define CHECK(what) \
    if (!(what)) std::fprintf(stderr, "line %d: %s\n", __LINE__, #what), ++failures

static void gnss()
{
    const unsigned char digits[] = {'1', '2', '3', '4', '5', '6', '7', '8', '9'};
    CHECK(crc32(digits, 9) == 0x2DFD2D88u && satno(SYS_GAL, 36) == 138 && g_curleap == 18);
    CEpochCollector epochs;
    auto raw = std::make_unique<raw_t>();
    Initial_raw(raw.get(), 0);
    CHECK(epochs.Add(raw.get(), DECODE_OBS) == nullptr && epochs.Flush() != nullptr);
}

static void frames()
{
    CKorvexMsgHelper helper;
    std::string frame;
    unsigned short id = 0;
    unsigned char* payload = nullptr;
    unsigned int size = 0;
    CHECK(helper.Pack(reinterpret_cast<const unsigned char*>("123"), 3, 7, frame));
    CHECK(helper.Parse(reinterpret_cast<const unsigned char*>(frame.data()), static_cast<unsigned>(frame.size()), id,
                       &payload, size));
    CHECK(id == 7 && size == 3 && std::memcmp(payload, "123", 3) == 0);
}

static std::string contents_of(const char* path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

static void dumps()
{
    {
        const auto worker = std::make_shared<aht::thread_task>(WORKER_ARGUMENTS);
        CPhgLog log;
        log.registerThread(worker);
        log.openDump(".", "dump.kvx");
        CHECK(log.dumpData(reinterpret_cast<const unsigned char*>("\1"), 1, kPhgReset) == 0);
        log.closeDump();
    }   // the worker runs what waits
    CHECK(contents_of("dump.kvx") == std::string("\xD4\xD2\xD3\x32\0\0\0\0\1\0\0\0\x96\x30\x07\x77\1", 17));

    const auto worker = std::make_shared<aht::thread_task>(WORKER_ARGUMENTS);
    CPhgAdapter& adapter = CPhgAdapter::instance();
    adapter.Start("consumer");   // without a vision library
    adapter.RegisterDumpThread(worker);
    adapter.OpenDump(".", "adapter.kvx", nullptr, nullptr);
    CHECK(adapter.PtrPhgLibReset() == -14);
    adapter.Stop();
}

static void hardware()
{
    I2cParam_t param;
    param.device = "/nowhere";
    CHECK(!CI2cHelper::read_std(param));
    CHECK(CGpioUtils::GpioGetValBySysfs(1 << 20) == -1);
}

int main()
{
    setenv("PLATFORM_LOG", "platform.log", 1);   // where the tests' second pair of closed libraries writes
    unsetenv("VISION_PHG_LIB_NAME");
    CHECK(std::strcmp(rtk_utils_version(), RTK_UTILS_VERSION) == 0 && RTK_UTILS_VERSION_NUMBER >= 200);
    gnss();
    frames();
    dumps();
    hardware();
    return failures;
}
