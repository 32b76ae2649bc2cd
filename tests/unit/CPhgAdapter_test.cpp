#include "CPhgAdapter.h"

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rtkcommon/thread_task.h>
#include <vision/phg_lib.h>

#include <cstdlib>
#include <fstream>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "CPhgLog.h"
#include "fakes/captured_log.h"
#include "support/dump_records.h"
#include "support/gate.h"
#include "support/temporary_folder.h"

using testing::ElementsAre;
using testing::IsEmpty;

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
const std::string kPath = "libapp/utils/src/CPhgAdapter ";

// In the order in which they are looked up and logged.
// clang-format off
const std::vector<std::string> kWrappers = {
    "PtrPhgLibInit", "PtrPhgLibDestroy", "PtrPhgLibVosInit", "PtrPhgLibRegisterCB", "PtrPhgLibReset",
    "PtrPhgLibCalibStart", "PtrPhgLibVerInfo", "PtrPhgLibUpdateCfg", "PtrPhgLibSetHwCfg", "PtrPhgLibSetFusionData",
    "PtrPhgLibSetImageData", "PtrPhgLibSetImageInfoCB", "PtrPhgLibLogInit", "PtrPhgLibLogShutdown",
    "PtrPhgLibEnableVisualOdometer", "PtrPhgLibMemoryTransferGetType", "PtrPhgLibMemoryTransferGetDataID",
    "PtrPhgLibMemoryTransferGetImageHeight", "PtrPhgLibMemoryTransferGetImageWidth",
    "PtrPhgLibMemoryTransferGetOpenCVType", "PtrPhgLibSetMemoryTransferCB", "PtrPhgLibFreeMemoryTransfer",
    "PtrPhgLibSetFrameDataCB", "PtrPhgLibOpenOldImageGroup", "PtrPhgLibSetImageGroupInfoCB",
    "PtrPhgLibSetKeyframeFolderPath", "PtrPhgLibCalibCamera", "PtrPhgLibCheckAccuracyApriltags",
    "PtrPhgLibGetTargetPose", "PtrPhgLibGetGnssExtrinsics", "PtrPhgLibSetGnss", "PtrPhgLibSetImu",
};
// clang-format on

template <class Record>
Record filled(int seed)
{
    Record record;
    for (std::size_t k = 0; k < sizeof record; ++k)
        reinterpret_cast<unsigned char*>(&record)[k] = static_cast<unsigned char>(seed + 7 * k);
    return record;
}

template <class Record>
std::string bytes_of(const Record& record, std::size_t size = sizeof(Record))
{
    return {reinterpret_cast<const char*>(&record), size};
}

std::string hex(const std::string& bytes)
{
    std::string text;
    for (const unsigned char byte : bytes) text += "0123456789abcdef"[byte >> 4], text += "0123456789abcdef"[byte & 15];
    return text;
}

const auto kOptions = filled<PhgLibInitOptions>(1);
auto g_config = filled<DrCfg_tag>(2);
const auto kHardware = filled<DrHwCfg_tag>(3);
const auto kImage = filled<ImageData_t>(4);
const auto kGroup = filled<ImageGroupInfo_t>(5);
const auto kPosition = filled<PosRaw_tag>(6);
const auto kSample = filled<ImuRawData_tag>(7);
const auto kFusion = [] {
    auto data = filled<FusionData_tag>(8);
    data.count = 2;
    return data;
}();
const double kValues[] = {1, 2, 3, 4};
char g_text[16];
int g_count;
double g_accuracy, g_position[3], g_attitude[3], g_extrinsics[3];
CameraParameters g_camera;

int on_calibration(int, char*, int)
{
    return 0;
}
int on_image_info(unsigned int, unsigned char)
{
    return 0;
}
int on_tilt(TiltStat_tag*)
{
    return 0;
}
int on_transfer(unsigned long, int, const void*)
{
    return 0;
}
int on_frame(const FrameData_t*)
{
    return 0;
}
int on_group(const ImageGroupInfo_t*)
{
    return 0;
}

struct WrapperCase {
    const char* entry;
    int result;
    std::string arguments;   // as the fake library writes them down
    std::function<int(CPhgAdapter&)> call;
};

// clang-format off
#define CASE(entry, result, written, ...) \
    {#entry, result, written, [](CPhgAdapter& a) { return a.Ptr##entry(__VA_ARGS__); }}

// In the order of the slots.
const WrapperCase kCases[] = {
    CASE(PhgLibInit, 1, hex(bytes_of(kOptions)), &kOptions),
    CASE(PhgLibDestroy, 2, hex(bytes_of(g_config)), &g_config),
    CASE(PhgLibVosInit, 0, ""),
    CASE(PhgLibSetFusionData, 4, hex(bytes_of(kFusion, 152)), &kFusion),
    CASE(PhgLibUpdateCfg, 5, hex(bytes_of(g_config)), &g_config),
    CASE(PhgLibSetHwCfg, 6, hex(bytes_of(kHardware)), &kHardware),
    CASE(PhgLibLogInit, 7, "/log 1 2", "/log", 1, 2),
    CASE(PhgLibLogShutdown, 8, ""),
    CASE(PhgLibSetImageData, 9, hex(bytes_of(kImage)), &kImage),
    CASE(PhgLibSetImageInfoCB, 10, "callback", on_image_info),
    CASE(PhgLibRegisterCB, 11, "callback", on_tilt),
    CASE(PhgLibReset, 12, ""),
    CASE(PhgLibCalibStart, 0, "2 callback 0x1p+0 0x1p+1", kValues, 2, on_calibration),
    CASE(PhgLibVerInfo, 0, "", g_text, sizeof g_text),
    CASE(PhgLibMemoryTransferGetType, 15, "41", 41),
    CASE(PhgLibMemoryTransferGetDataID, 16, "42", 42),
    CASE(PhgLibMemoryTransferGetImageHeight, 17, "43", 43),
    CASE(PhgLibMemoryTransferGetImageWidth, 18, "44", 44),
    CASE(PhgLibMemoryTransferGetOpenCVType, 19, "45", 45),
    CASE(PhgLibSetMemoryTransferCB, 20, "callback", on_transfer),
    CASE(PhgLibFreeMemoryTransfer, 21, "46", 46),
    CASE(PhgLibSetFrameDataCB, 22, "callback", on_frame),
    CASE(PhgLibEnableVisualOdometer, 23, "-5", -5),
    CASE(PhgLibOpenOldImageGroup, 24, hex(bytes_of(kGroup)), &kGroup),
    CASE(PhgLibSetImageGroupInfoCB, 25, "callback", on_group),
    CASE(PhgLibSetKeyframeFolderPath, 26, "/key", "/key"),
    CASE(PhgLibCalibCamera, 27, "/i /b /r", "/i", "/b", "/r", &g_camera),
    CASE(PhgLibCheckAccuracyApriltags, 28, "/i", "/i", &g_count, &g_accuracy),
    CASE(PhgLibGetTargetPose, 29, "9 0x1p+0", 9, kValues, g_position, g_attitude),
    CASE(PhgLibGetGnssExtrinsics, 0, "", g_extrinsics),
    CASE(PhgLibSetGnss, 31, hex(bytes_of(kPosition)), &kPosition),
    CASE(PhgLibSetImu, 32, hex(bytes_of(kSample)), &kSample),
};
#undef CASE
// clang-format on

std::vector<std::string> lines_of(const std::string& text)
{
    std::istringstream in(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

bool is_loaded(const char* library)
{
    void* handle = dlopen(library, RTLD_LAZY | RTLD_NOLOAD);
    if (handle != nullptr) dlclose(handle);
    return handle != nullptr;
}

std::ptrdiff_t open_descriptors()
{
    const auto descriptors = std::filesystem::directory_iterator("/proc/self/fd");
    return std::distance(begin(descriptors), end(descriptors));
}

class PhgAdapter : public testing::Test {
protected:
    PhgAdapter() { setenv("FAKE_VISION_RECORD", record.c_str(), 1); }
    ~PhgAdapter() override { adapter.Stop(); }

    void start(const char* library)
    {
        setenv(kVariable, library, 1);
        adapter.Start("vision");
    }
    /// What the library was called with since the last time.
    std::vector<std::string> calls()
    {
        const auto lines = lines_of(contents_of(record));
        std::filesystem::remove(record);
        return lines;
    }
    std::vector<DumpRecord> dumped()
    {
        wait_for(*worker);
        return dump_records(contents_of(folder.file("dump")));
    }
    void open_dump()
    {
        adapter.RegisterDumpThread(worker);
        adapter.OpenDump(folder.path(), "dump", &kHardware, &g_config);
    }

    TemporaryFolder folder;
    std::string record = folder.file("calls");
    CapturedLog log{"vision"};
    std::shared_ptr<aht::thread_task> worker = std::make_shared<aht::thread_task>("dump");
    CPhgAdapter& adapter = CPhgAdapter::instance();
};

// What a start says: the library, then each slot, bound or not.
std::vector<std::string> start_lines(const std::string& library, bool handle, const std::function<bool(int)>& bound)
{
    std::vector<std::string> lines = {"1 " + kPath + "InitPhgDll: InitPhgDll. LOAD PHGLIB_KORVEX. PHGLIB_KORVEX: " +
                                      (handle ? "#" : "0") + ", dllFile: " + library};
    for (int k = 0; k < 32; ++k)
        lines.push_back("2 " + kPath + "InitPhgDll: " + kWrappers[k] + ": " + (bound(k) ? "#" : "0"));
    return lines;
}

// Addresses other than 0 as "#". What is printed of a handle, its low 32 bits, may well be 0.
std::vector<std::string> without_addresses(std::vector<std::string> lines, bool handle)
{
    const std::string before_handle = "PHGLIB_KORVEX: ";
    for (std::string& line : lines) {
        const std::string value = line.substr(line.rfind(": ") + 2);
        if (!value.empty() && value != "0" && value.find_first_not_of("-0123456789") == std::string::npos)
            line.replace(line.size() - value.size(), value.size(), "#");
        const std::size_t at = line.find(before_handle);
        if (!handle || at == std::string::npos) continue;
        const std::size_t begin = at + before_handle.size();
        line.replace(begin, line.find(',') - begin, "#");
    }
    return lines;
}

const auto kAll = [](int) { return true; };
const auto kNone = [](int) { return false; };

}   // namespace

TEST_F(PhgAdapter, EveryWrapperForwardsItsArgumentsAndResult)
{
    start(FAKE_VISION);
    EXPECT_EQ(start_lines(FAKE_VISION, true, kAll), without_addresses(log.take(), true));
    for (const WrapperCase& c : kCases) {
        SCOPED_TRACE(c.entry);
        EXPECT_EQ(c.result, c.call(adapter));
        EXPECT_THAT(calls(), ElementsAre(std::string(c.entry) + (c.arguments.empty() ? "" : " ") + c.arguments));
    }
    EXPECT_STREQ("fake vision", g_text);
    EXPECT_EQ(28, g_count);
    EXPECT_EQ(30, g_extrinsics[0]);
    adapter.Stop();
    EXPECT_THAT(log.take(), ElementsAre("1 " + kPath + "UnloadPhgDll: PhgDll close"));
    EXPECT_FALSE(is_loaded(FAKE_VISION));
}

TEST_F(PhgAdapter, LibrariesThatLackEntryPoints)
{
    const std::vector<std::string> lacking = {"PhgLibReset", "PhgLibSetGnss", "PhgLibEnableVisualOdometer",
                                              "PhgLibGetGnssExtrinsics"};
    const auto bound = [&](int k) { return std::count(lacking.begin(), lacking.end(), kWrappers[k].substr(3)) == 0; };
    start(FAKE_VISION_PARTIAL);
    EXPECT_EQ(start_lines(FAKE_VISION_PARTIAL, true, bound), without_addresses(log.take(), true));
    for (const WrapperCase& c : kCases) {
        SCOPED_TRACE(c.entry);
        const bool lacks = std::count(lacking.begin(), lacking.end(), c.entry) != 0;
        EXPECT_EQ(lacks ? -14 : c.result, c.call(adapter));
        EXPECT_EQ(lacks ? 0u : 1u, calls().size());
        if (lacks) {
            EXPECT_THAT(log.take(), ElementsAre("4 " + kPath + "Ptr" + c.entry + ": libPhg not init"));
        }
    }
    start(FAKE_VISION_EMPTY);
    log.take();
    for (const WrapperCase& c : kCases) EXPECT_EQ(-14, c.call(adapter));
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(PhgAdapter, WhatCannotBeLoadedLeavesEveryWrapperUnbound)
{
    start(FAKE_VISION_EMPTY);   // clears the two slots that outlive a library
    const std::string elf = contents_of(FAKE_VISION);
    std::string other_machine = elf;
    other_machine[18] = '\x08';   // e_machine: MIPS
    write_file(folder.file("text"), "not a library\n");
    write_file(folder.file("empty"), "");
    write_file(folder.file("torn"), elf.substr(0, 100));
    write_file(folder.file("other"), other_machine);
    for (const std::string& library :
         {folder.file("missing"), folder.file("text"), folder.file("empty"), folder.file("torn"), folder.file("other"),
          folder.path(), std::string(65536, 'x')}) {
        SCOPED_TRACE(library.substr(0, 100));
        log.take();
        adapter.Stop();
        log.take();
        start(library.c_str());
        EXPECT_EQ(start_lines(library, false, kNone), without_addresses(log.take(), false));
        for (const WrapperCase& c : kCases) {
            EXPECT_EQ(-14, c.call(adapter));
            EXPECT_THAT(log.take(), ElementsAre("4 " + kPath + "Ptr" + c.entry + ": libPhg not init"));
        }
    }
}

TEST_F(PhgAdapter, WithoutANameTheProgramItselfIsSearched)
{
    start(FAKE_VISION_EMPTY);
    unsetenv(kVariable);
    log.take();
    adapter.Start("vision");
    const std::vector<std::string> own = {"PtrPhgLibVosInit", "PtrPhgLibReset", "PtrPhgLibLogShutdown"};
    auto expected = start_lines("", true, [&](int k) { return std::count(own.begin(), own.end(), kWrappers[k]) != 0; });
    expected.insert(expected.begin(), "1 " + kPath + "UnloadPhgDll: PhgDll close");
    EXPECT_EQ(expected, without_addresses(log.take(), true));
    EXPECT_EQ(77, adapter.PtrPhgLibLogShutdown());

    EXPECT_EQ(-14, adapter.PtrPhgLibReset());
    EXPECT_EQ(-14, adapter.PtrPhgLibVosInit());
    EXPECT_THAT(log.take(), ElementsAre("4 " + kPath + "PtrPhgLibReset: libPhg threw an exception: no camera",
                                        "4 " + kPath + "PtrPhgLibVosInit: libPhg threw an exception"));
}

TEST_F(PhgAdapter, TwoSlotsKeepTheirAddressesAfterTheUnload)
{
    setenv(kVariable, FAKE_VISION, 1);
    PhgFunc_t table;
    table.InitPhgDll();
    ASSERT_NE(nullptr, table.handle);
    const PhgFunc_t before = table;
    table.UnloadPhgDll();
    PhgFunc_t expected;
    expected.PhgLibSetFrameDataCB = before.PhgLibSetFrameDataCB;
    expected.PhgLibEnableVisualOdometer = before.PhgLibEnableVisualOdometer;
    EXPECT_NE(nullptr, expected.PhgLibSetFrameDataCB);
    EXPECT_NE(nullptr, expected.PhgLibEnableVisualOdometer);
    EXPECT_EQ(0, std::memcmp(&expected, &table, sizeof table));
    EXPECT_FALSE(is_loaded(FAKE_VISION));
}

TEST_F(PhgAdapter, CallingAKeptSlotEndsTheProcess)
{
    start(FAKE_VISION);
    adapter.Stop();
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_DEATH(adapter.PtrPhgLibEnableVisualOdometer(1), "");
    start(FAKE_VISION_EMPTY);
}

TEST_F(PhgAdapter, AThousandStartsAndStopsLeakNothing)
{
    const auto once = [&] {
        start(FAKE_VISION);
        open_dump();
        adapter.PtrPhgLibSetImu(&kSample);
        adapter.Stop();
        wait_for(*worker);
    };
    for (int k = 0; k < 20; ++k) once();
    const auto before = open_descriptors();
    for (int k = 0; k < 1000; ++k) once();
    EXPECT_EQ(before, open_descriptors());
    EXPECT_EQ(std::string::npos, contents_of("/proc/self/maps").find(FAKE_VISION));
    EXPECT_FALSE(is_loaded(FAKE_VISION));
}

TEST_F(PhgAdapter, InstanceIsOneForAllThreads)
{
    std::vector<CPhgAdapter*> seen(16);
    std::vector<std::thread> threads;
    for (CPhgAdapter*& one : seen) threads.emplace_back([&one] { one = &CPhgAdapter::instance(); });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(std::vector<CPhgAdapter*>(16, &adapter), seen);
}

TEST_F(PhgAdapter, InputsAreDumpedAsTheyGoIn)
{
    FrameData_t frames[4] = {filled<FrameData_t>(9), filled<FrameData_t>(10), filled<FrameData_t>(11)};
    TiltCalibReq_t request = {2, 0, {1, 2, 3}};
    struct Case {
        const char* what;
        std::function<int()> call;
        int bound_result, unbound_result;
        int type;   // 0: nothing is dumped
        std::string payload;
        bool only_bound = false;
    };
    const auto frame_data = [&](std::uint16_t count) {
        frames[0].count = count;
        return adapter.DumpFrameData(frames), 0;
    };
    const auto frame_bytes = [&](std::uint16_t count, std::size_t size) {
        frames[0].count = count;
        return bytes_of(frames, size);
    };
    const auto no_request = static_cast<TiltCalibReq_t*>(nullptr);
    const std::string off(1, '\0');
    // clang-format off
    const Case cases[] = {
        {"config", [&] { return adapter.PtrPhgLibUpdateCfg(&g_config); }, 5, -14, kPhgConfig, bytes_of(g_config)},
        {"GNSS", [&] { return adapter.PtrPhgLibSetGnss(&kPosition); }, 31, -14, kPhgGnss, bytes_of(kPosition)},
        {"IMU", [&] { return adapter.PtrPhgLibSetImu(&kSample); }, 32, -14, kPhgImu, bytes_of(kSample)},
        {"calibration", [&] { return adapter.PtrPhgLibCalibStart(&request, 1, on_calibration); }, 0, -14,
         kPhgCalibRequest, bytes_of(request)},
        {"reset", [&] { return adapter.PtrPhgLibReset(); }, 12, -14, kPhgReset, "\1", true},
        {"odometer", [&] { return adapter.PtrPhgLibEnableVisualOdometer(-2); }, 23, -14, kPhgVisualOdometer,
         "\xFE\xFF\xFF\xFF", true},
        {"no GNSS", [&] { return adapter.PtrPhgLibSetGnss(nullptr); }, -22, -22, 0, ""},
        {"no IMU", [&] { return adapter.PtrPhgLibSetImu(nullptr); }, -22, -22, 0, ""},
        {"no request", [&] { return adapter.PtrPhgLibCalibStart(no_request, 1, nullptr); }, -22, -22, 0, ""},
        {"measuring", [&] { return adapter.DumpMeasureStat(true), 0; }, 0, 0, kPhgMeasureStat, "\1"},
        {"not measuring", [&] { return adapter.DumpMeasureStat(false), 0; }, 0, 0, kPhgMeasureStat, off},
        {"fusion", [&] { return adapter.DumpFusionData(&kFusion), 0; }, 0, 0, kPhgFusionData, bytes_of(kFusion, 152)},
        {"no fusion", [&] { return adapter.DumpFusionData(nullptr), 0; }, 0, 0, 0, ""},
        {"no frame", [&] { return adapter.DumpFrameData(nullptr), 0; }, 0, 0, 0, ""},
        {"frame of 0", [&] { return frame_data(0); }, 0, 0, kPhgFrameData, frame_bytes(0, 32)},
        {"frame of 1", [&] { return frame_data(1); }, 0, 0, kPhgFrameData, frame_bytes(1, 32)},
        {"frame of 3", [&] { return frame_data(3); }, 0, 0, kPhgFrameData, frame_bytes(3, 80)},
        {"hardware config is not", [&] { return adapter.PtrPhgLibSetHwCfg(&kHardware); }, 6, -14, 0, ""},
    };
    // clang-format on
    for (const bool bound : {false, true}) {
        start(bound ? FAKE_VISION : FAKE_VISION_EMPTY);
        open_dump();
        std::vector<DumpRecord> expected = {{kPhgHardwareConfig, bytes_of(kHardware)},
                                            {kPhgConfig, bytes_of(g_config)}};
        for (const Case& c : cases) {
            SCOPED_TRACE(c.what);
            EXPECT_EQ(bound ? c.bound_result : c.unbound_result, c.call());
            if (c.type != 0 && (bound || !c.only_bound)) expected.push_back({c.type, c.payload});
        }
        adapter.CloseDump();
        EXPECT_EQ(expected, dumped());
    }
    EXPECT_THAT(calls(), testing::Contains("PhgLibCalibStart 2 callback 0x1p+0 0x1p+1"));
}

TEST_F(PhgAdapter, StopClosesTheDumpAndForgetsItsWorker)
{
    start(FAKE_VISION);
    open_dump();
    adapter.PtrPhgLibReset();
    adapter.Stop();
    adapter.DumpMeasureStat(true);
    EXPECT_EQ(3u, dumped().size());
    EXPECT_THAT(log.take(), testing::Contains("2 libapp/utils/src/CPhgLog closeDump: close fusion log file\n"));
    adapter.OpenDump(folder.path(), "later", nullptr, nullptr);
    EXPECT_FALSE(std::filesystem::exists(folder.file("later")));
}

TEST_F(PhgAdapter, NullConfigurationsAreLeftOutAndTheFlagHolds)
{
    adapter.RegisterDumpThread(worker);
    adapter.OpenDump(folder.path(), "dump", nullptr, nullptr);
    adapter.SetDumpFlag(false);
    adapter.DumpMeasureStat(true);
    adapter.SetDumpFlag(true);
    adapter.DumpMeasureStat(false);
    adapter.UnregisterDumpThread();
    adapter.DumpMeasureStat(true);
    adapter.RegisterDumpThread(worker);
    adapter.CloseDump();
    EXPECT_THAT(dumped(), ElementsAre(DumpRecord{kPhgMeasureStat, std::string(1, '\0')}));
}

TEST(PhgAdapterRecords, FusionLengthFollowsTheCount)
{
    EXPECT_EQ(0, CPhgAdapter::GetFusionDataLen(nullptr));
    EXPECT_EQ(152, CPhgAdapter::GetFusionDataLen(&kFusion));
    auto data = kFusion;
    data.count = 255;
    EXPECT_EQ(static_cast<int>(sizeof data), CPhgAdapter::GetFusionDataLen(&data));
}
