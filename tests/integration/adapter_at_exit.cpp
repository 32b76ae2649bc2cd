// A host that ends with the vision library loaded and a dump open: the adapter unloads, closes and logs at process
// exit.
#include <CPhgAdapter.h>
#include <rtkcommon/thread_task.h>

int main(int, char** argv)
{
    CPhgAdapter& adapter = CPhgAdapter::instance();
    adapter.Start("host");
    const auto worker = std::make_shared<aht::thread_task>("dump");
    adapter.RegisterDumpThread(worker);
    adapter.OpenDump(argv[1], "adapter_at_exit.dump", nullptr, nullptr);
    adapter.DumpMeasureStat(true);
    return adapter.PtrPhgLibReset() == 5 ? 0 : 1;
}
