// A host of rtk_utils on the second pair of platform libraries: frames, a dump, log lines.
#include <CKorvexMsgHelper.h>
#include <CPhgAdapter.h>
#include <CPhgLog.h>
#include <rtkcommon/thread_task.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

static int failures = 0;

static void expect(bool holds, const char* what)
{
    std::printf("%s: %s\n", holds ? "ok" : "FAILED", what);
    failures += holds ? 0 : 1;
}

static std::string contents(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

int main(int, char** argv)
{
    const std::string folder = argv[1], log = folder + "/log";
    setenv("PLATFORM_LOG", log.c_str(), 1);
    unsetenv("VISION_PHG_LIB_NAME");
    std::remove(log.c_str());

    const auto* digits = reinterpret_cast<const unsigned char*>("123456789");
    CKorvexMsgHelper helper;
    expect(helper.Crc32(digits, 9) == 0x2DFD2D88 && CPhgLog::Crc32(digits, 9) == 0x2DFD2D88, "checksum");

    std::string frame;
    helper.Pack(digits, 9, 7, frame);
    unsigned short id = 0;
    unsigned char* payload = nullptr;
    unsigned n = 0;
    const auto* bytes = reinterpret_cast<const unsigned char*>(frame.data());
    expect(helper.Parse(bytes, static_cast<unsigned>(frame.size()), id, &payload, n) && id == 7 && n == 9, "frame");

    CPhgAdapter& adapter = CPhgAdapter::instance();
    adapter.Start("host");
    expect(adapter.PtrPhgLibReset() == -14, "unbound wrapper");
    {
        auto worker = std::make_shared<aht::thread_task>();
        adapter.RegisterDumpThread(worker);
        adapter.OpenDump(folder, "dump", nullptr, nullptr);
        adapter.DumpMeasureStat(true);
        adapter.Stop();
    }
    expect(contents(folder + "/dump") == std::string("\xD4\xD2\xD3\x13\0\0\0\0\1\0\0\0\x96\x30\x07\x77\1", 17), "dump");

    const std::string lines = contents(log);
    for (const char* line :
         {"host|1|libapp/utils/src/CPhgAdapter|InitPhgDll|InitPhgDll. LOAD PHGLIB_KORVEX. PHGLIB_KORVEX: ",
          "host|2|libapp/utils/src/CPhgAdapter|InitPhgDll|PtrPhgLibSetImu: 0\n",
          "host|4|libapp/utils/src/CPhgAdapter|PtrPhgLibReset|libPhg not init\n",
          "host|1|libapp/utils/src/CPhgAdapter|UnloadPhgDll|PhgDll close\n",
          "host|2|libapp/utils/src/CPhgLog|openDump|open fusion log file: ",
          "host|2|libapp/utils/src/CPhgLog|closeDump|close fusion log file\n"})
        expect(lines.find(line) != std::string::npos, line);
    return failures == 0 ? 0 : 1;
}
