#include "CPhgAdapter.h"

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rtkcommon/thread_task.h>
#include <vision/phg_lib.h>

#include <cstdlib>
#include <regex>
#include <stdexcept>
#include <tuple>

#include "CPhgLog.h"
#include "fakes/captured_log.h"
#include "fakes/failing_new.h"
#include "phg_entry_points.h"
#include "support/dump_records.h"
#include "support/gate.h"
#include "support/text_file.h"

using testing::ElementsAre;

// Entry points that are linked into the running program.
extern "C" {
__attribute__((visibility("default"))) int PhgLibLogShutdown()
{
    return 77;
}
__attribute__((visibility("default"))) int PhgLibReset()
{
    throw std::runtime_error("no camera");
}
__attribute__((visibility("default"))) void PhgLibVosInit()
{
    throw 5;
}
}

namespace {

constexpr char kVariable[] = "VISION_PHG_LIB_NAME";

// Calls a wrapper with the arguments 1, 2, ... as numbers or addresses. `written`: what a library is told of them.
template <class... Parameters>
int call(CPhgAdapter& adapter, int (CPhgAdapter::*wrapper)(Parameters...), std::string& written)
{
    int n = 0;
    [[maybe_unused]] const auto next = [&](auto zero) {
        written += " " + std::to_string(++n);
        if constexpr (std::is_pointer_v<decltype(zero)>)
            return reinterpret_cast<decltype(zero)>(static_cast<std::uintptr_t>(n));
        else
            return static_cast<decltype(zero)>(n);
    };
    const std::tuple<Parameters...> arguments{next(Parameters{})...};
    return std::apply([&](auto... given) { return (adapter.*wrapper)(given...); }, arguments);
}

struct wrapper_case_t {
    const char* name;   // of the entry point
    int (*call)(CPhgAdapter&, std::string& written);
};
#define ENTRY(rank, unload, wrapper, result, name, parameters, arguments)                                     \
    {#name, [](CPhgAdapter& adapter, std::string& written) {                                                  \
         return call(adapter, static_cast<int(CPhgAdapter::*) parameters>(&CPhgAdapter::Ptr##name), written); \
     }},
const wrapper_case_t kCases[] = {PHG_ENTRY_POINTS(ENTRY)};
#undef ENTRY

template <class Record>
Record filled(int seed)
{
    Record record;
    for (std::size_t k = 0; k < sizeof record; ++k)
        reinterpret_cast<unsigned char*>(&record)[k] = static_cast<unsigned char>(seed + 7 * k);
    return record;
}

const auto kConfig = filled<DrCfg_tag>(2);
const auto kHardware = filled<DrHwCfg_tag>(3);

bool is_loaded(const char* library)
{
    void* handle = dlopen(library, RTLD_LAZY | RTLD_NOLOAD);
    if (handle != nullptr) dlclose(handle);
    return handle != nullptr;
}

class PhgAdapter : public testing::Test {
protected:
    PhgAdapter() { setenv("FAKE_VISION_RECORD", record.c_str(), 1); }
    ~PhgAdapter() override { adapter.Stop(); }

    void start(const std::string& library)
    {
        setenv(kVariable, library.c_str(), 1);
        adapter.Start("vision");
    }
    /// What the library was called with since the last time.
    std::string calls()
    {
        const std::string text = contents_of(record);
        std::filesystem::remove(record);
        return text;
    }
    /// What has been logged since the last time. Addresses other than 0 are "#"; what is printed of a handle, its low
    /// 32 bits, may well be 0, so that "loads" stands for any. Of the library's path the name is left.
    std::string said(bool loads)
    {
        std::string text;
        for (std::string line : log.take()) {
            if (const std::size_t at = line.find("dllFile: "); at != line.npos)
                line = line.substr(0, at + 9) + line.substr(std::max(at + 9, line.rfind('/') + 1)).substr(0, 40);
            line = std::regex_replace(line, std::regex(": -?[1-9]\\d*$"), ": #");
            if (loads) line = std::regex_replace(line, std::regex("PHGLIB_KORVEX: -?\\d+"), "PHGLIB_KORVEX: #");
            text += line + "\n";
        }
        return text;
    }
    /// Calls every wrapper: what it gives, what the library is told and what is logged.
    std::string account(bool loads)
    {
        std::string text = said(loads);
        for (const wrapper_case_t& c : kCases) {
            std::string given;
            const int result = c.call(adapter, given);
            text += std::string(c.name) + given + " -> " + std::to_string(result) + "\n" + calls() + said(loads);
        }
        return text;
    }
    std::vector<DumpRecord> dumped()
    {
        wait_for(*worker);
        return dump_records(contents_of(folder.file("dump")));
    }
    void open_dump()
    {
        adapter.RegisterDumpThread(worker);
        adapter.OpenDump(folder.path(), "dump", &kHardware, &kConfig);
    }

    TemporaryFolder folder;
    std::string record = folder.file("calls");
    CapturedLog log{"vision"};
    std::shared_ptr<aht::thread_task> worker = std::make_shared<aht::thread_task>("dump");
    CPhgAdapter& adapter = CPhgAdapter::instance();
};

}   // namespace

TEST_F(PhgAdapter, LibrariesOfAllKinds)
{
    write_file(folder.file("text"), "not a library\n");
    write_file(folder.file("torn"), contents_of(FAKE_VISION).substr(0, 100));
    const std::string kLong(65536, 'x');
    std::string text;
    for (const char* library : {FAKE_VISION, FAKE_VISION_PARTIAL, FAKE_VISION_EMPTY}) {
        start(library);
        text += account(true);
        EXPECT_TRUE(is_loaded(library));
    }
    start(folder.file("missing"));
    text += account(false);
    for (const std::string& library : {folder.file("text"), folder.file("torn"), folder.path() + "/", kLong}) {
        start(library);
        text += said(false);
    }
    EXPECT_FALSE(is_loaded(FAKE_VISION));
    unsetenv(kVariable);   // without a name the program itself is searched
    adapter.Start("vision");
    EXPECT_EQ(77, adapter.PtrPhgLibLogShutdown());
    EXPECT_EQ(-28, adapter.PtrPhgLibReset() + adapter.PtrPhgLibVosInit());
    adapter.Stop();
    expect_golden("adapter.golden", text + said(true));
}

TEST_F(PhgAdapter, TwoSlotsKeepTheirAddressesAfterTheUnload)
{
    setenv(kVariable, FAKE_VISION, 1);
    PhgFunc_t table;
    table.InitPhgDll();
    ASSERT_NE(nullptr, table.handle);
    PhgFunc_t expected;
    expected.PhgLibSetFrameDataCB = table.PhgLibSetFrameDataCB;
    expected.PhgLibEnableVisualOdometer = table.PhgLibEnableVisualOdometer;
    EXPECT_TRUE(expected.PhgLibSetFrameDataCB != nullptr && expected.PhgLibEnableVisualOdometer != nullptr);
    table.UnloadPhgDll();
    EXPECT_EQ(0, std::memcmp(&expected, &table, sizeof table));
}

TEST_F(PhgAdapter, AHundredStartsAndStopsLeakNothing)
{
    const auto descriptors = [] {
        const auto open = std::filesystem::directory_iterator("/proc/self/fd");
        return std::distance(begin(open), end(open));
    };
    const auto before = descriptors();
    for (int k = 0; k < 100; ++k) {
        start(FAKE_VISION);
        open_dump();
        adapter.DumpMeasureStat(true);
        adapter.Stop();   // forgets the worker
        adapter.DumpMeasureStat(false);
        EXPECT_EQ(3u, dumped().size());
    }
    EXPECT_EQ(before, descriptors());
    EXPECT_FALSE(is_loaded(FAKE_VISION));
    EXPECT_THAT(log.take(), testing::Contains("2 libapp/utils/src/CPhgLog closeDump: close fusion log file\n"));
}

TEST_F(PhgAdapter, NoMemoryIsNoReasonToEnd)
{
    const std::string logger = "vision", path = folder.path(), name(100, 'n');
    setenv(kVariable, FAKE_VISION, 1);
    EXPECT_GE(fail_allocations([&] {
                  adapter.Start(logger);
                  adapter.RegisterDumpThread(worker);
                  adapter.OpenDump(path, name, &kHardware, &kConfig);
                  EXPECT_NE(-28, adapter.PtrPhgLibReset() + adapter.PtrPhgLibVosInit());
                  adapter.Stop();
              }),
              5);
    start(FAKE_VISION);
    open_dump();
    adapter.Stop();
    EXPECT_EQ(2u, dumped().size());
}

TEST_F(PhgAdapter, InputsAreDumpedAsTheyGoIn)
{
    const auto position = filled<PosRaw_tag>(6);
    const auto sample = filled<ImuRawData_tag>(7);
    auto fusion = filled<FusionData_tag>(8);
    fusion.count = 2;
    FrameData_t frames[4] = {filled<FrameData_t>(9), filled<FrameData_t>(10), filled<FrameData_t>(11)};
    const auto frame_data = [&](std::uint16_t count) {
        frames[0].count = count;
        return adapter.DumpFrameData(frames), 0;
    };
    TiltCalibReq_t request = {2, 0, {1, 2, 3}};
    const auto no_request = static_cast<TiltCalibReq_t*>(nullptr);
    const std::function<int()> calls_of_a_host[] = {
        [&] { return adapter.PtrPhgLibUpdateCfg(&kConfig); },
        [&] { return adapter.PtrPhgLibSetGnss(&position); },
        [&] { return adapter.PtrPhgLibSetImu(&sample); },
        [&] { return adapter.PtrPhgLibCalibStart(&request, 1, nullptr); },
        [&] { return adapter.PtrPhgLibReset(); },
        [&] { return adapter.PtrPhgLibEnableVisualOdometer(-2); },
        [&] { return adapter.PtrPhgLibSetGnss(nullptr); },
        [&] { return adapter.PtrPhgLibSetImu(nullptr); },
        [&] { return adapter.PtrPhgLibCalibStart(no_request, 1, nullptr); },
        [&] { return adapter.DumpMeasureStat(true), adapter.DumpMeasureStat(false), 0; },
        [&] { return adapter.DumpFusionData(&fusion), adapter.DumpFusionData(nullptr), 0; },
        [&] { return adapter.DumpFrameData(nullptr), frame_data(0) + frame_data(1) + frame_data(3); },
        [&] { return adapter.PtrPhgLibSetHwCfg(&kHardware); },
        [&] { return adapter.SetDumpFlag(false), adapter.DumpMeasureStat(true), adapter.SetDumpFlag(true), 0; },
        [&] { return CPhgAdapter::GetFusionDataLen(&fusion) + CPhgAdapter::GetFusionDataLen(nullptr); },
    };
    std::ostringstream text;
    for (const char* library : {FAKE_VISION_EMPTY, FAKE_VISION}) {
        start(library);
        open_dump();
        for (const auto& call : calls_of_a_host) text << call() << " ";
        adapter.CloseDump();
        for (const DumpRecord& input : dumped()) {
            text << "\n" << std::dec << input.type;
            for (const unsigned char byte : input.payload) text << ' ' << std::hex << int{byte};
        }
        text << "\n" << calls() << std::dec;
    }
    expect_golden("adapter_dump.golden", text.str());
    adapter.UnregisterDumpThread();
    adapter.OpenDump(folder.path(), "later", nullptr, nullptr);
    wait_for(*worker);
    EXPECT_FALSE(std::filesystem::exists(folder.file("later")));
}
