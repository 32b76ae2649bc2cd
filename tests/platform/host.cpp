// A host of rtk_utils on the second pair of platform libraries: frames, a dump, log lines.
#include <CKorvexMsgHelper.h>
#include <CPhgAdapter.h>
#include <rtkcommon/thread_task.h>

#include <iostream>

#include "support/temporary_folder.h"

int main(int, char** argv)
{
    const std::string folder = argv[1], log = folder + "/log";
    setenv("PLATFORM_LOG", log.c_str(), 1);
    unsetenv("VISION_PHG_LIB_NAME");
    std::remove(log.c_str());

    std::string frame;
    CKorvexMsgHelper().Pack(reinterpret_cast<const unsigned char*>("123"), 3, 7, frame);
    CPhgAdapter& adapter = CPhgAdapter::instance();
    adapter.Start("host");
    const int unbound = adapter.PtrPhgLibReset();
    {
        auto worker = std::make_shared<aht::thread_task>();
        adapter.RegisterDumpThread(worker);
        adapter.OpenDump(folder, "dump", nullptr, nullptr);
        adapter.DumpMeasureStat(true);
        adapter.Stop();
    }
    bool good = unbound == -14 && frame.substr(16) == "123\x5E\x39\xBA\x91" &&
                contents_of(folder + "/dump") == std::string("\xD4\xD2\xD3\x13\0\0\0\0\1\0\0\0\x96\x30\x07\x77\1", 17);
    for (const char* line :
         {"host|1|libapp/utils/src/CPhgAdapter|InitPhgDll|InitPhgDll. LOAD PHGLIB_KORVEX. PHGLIB_KORVEX: ",
          "host|2|libapp/utils/src/CPhgAdapter|InitPhgDll|PtrPhgLibSetImu: 0\n",
          "host|4|libapp/utils/src/CPhgAdapter|PtrPhgLibReset|libPhg not init\n",
          "host|2|libapp/utils/src/CPhgLog|openDump|open fusion log file: ",
          "host|2|libapp/utils/src/CPhgLog|closeDump|close fusion log file\n"})
        good = good && contents_of(log).find(line) != std::string::npos;
    std::cout << contents_of(log);
    return good ? 0 : 1;
}
