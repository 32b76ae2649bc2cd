#include "CPhgAdapter.h"

#include <cxxabi.h>
#include <dlfcn.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <iterator>
#include <new>
#include <type_traits>

#include "CPhgLog.h"
#include "library_log.h"
#include "phg_entry_points.h"
#include "phg_records.h"

using logger_helper::kDebug;
using logger_helper::kError;
using logger_helper::kInfo;
using logger_helper::source_t;

std::string CPhgAdapter::m_logName;

namespace {

constexpr int kNullRecord = -22;
constexpr char kSource[] = "libapp/utils/src/CPhgAdapter";

const char* logger()
{
    return CPhgAdapter::m_logName.c_str();
}

// A field of a record of which only the layout is known.
template <class T>
T field(const void* record, std::size_t offset)
{
    T value;
    std::memcpy(&value, static_cast<const char*>(record) + offset, sizeof value);
    return value;
}

// ---- the table of entry points ----

enum unload_t { clears, keeps };

struct entry_t {
    int rank;
    unload_t unload;
    std::size_t offset;   // of its slot
    const char* wrapper;

    const char* symbol() const { return wrapper + std::strlen("Ptr"); }
    void* get(const PhgFunc_t& table) const { return field<void*>(&table, offset); }
    void set(PhgFunc_t& table, void* address) const
    {
        std::memcpy(reinterpret_cast<char*>(&table) + offset, &address, sizeof address);
    }
};

constexpr auto kEntries = [] {
    std::array entries{
#define ENTRY(rank, unload, wrapper, result, name, parameters, arguments) \
    entry_t{rank, unload, offsetof(PhgFunc_t, name), "Ptr" #name},
        PHG_ENTRY_POINTS(ENTRY)
#undef ENTRY
    };
    std::sort(entries.begin(), entries.end(), [](const entry_t& a, const entry_t& b) { return a.rank < b.rank; });
    return entries;
}();

static_assert(sizeof(PhgFunc_t) == (1 + kEntries.size()) * sizeof(void*), "a handle and one pointer an entry point");
static_assert(
    [] {
        int rank = 0;
        for (const entry_t& entry : kEntries) {
            if (entry.rank != ++rank) return false;
        }
        return true;
    }(),
    "ranks count up by one");

}   // namespace

void PhgFunc_t::UnloadPhgDll() noexcept
{
    for (const entry_t& entry : kEntries) {
        if (entry.unload == clears) entry.set(*this, nullptr);
    }
    if (handle == nullptr) return;
    dlclose(handle);
    handle = nullptr;
    const source_t where = here(kSource);
    contained([&] { logger_helper::log(logger(), where, kDebug, "PhgDll close"); });
}

void PhgFunc_t::InitPhgDll() noexcept
{
    UnloadPhgDll();
    const char* set = std::getenv("VISION_PHG_LIB_NAME");
    const char* name = set != nullptr ? set : "";   // Deliberate: the loader takes "" for the running program.
    const source_t where = here(kSource);
    handle = dlopen(name, RTLD_LAZY);
    contained([&] {
        logger_helper::log(logger(), where, kDebug, "InitPhgDll. LOAD PHGLIB_KORVEX. PHGLIB_KORVEX: %d, dllFile: %s",
                           static_cast<int>(reinterpret_cast<std::intptr_t>(handle)), name);
    });
    if (handle != nullptr) {
        for (const entry_t& entry : kEntries) entry.set(*this, dlsym(handle, entry.symbol()));
    }
    for (const entry_t& entry : kEntries) {
        contained([&] {
            logger_helper::log(logger(), where, kInfo, "%s: %ld", entry.wrapper,
                               static_cast<long>(reinterpret_cast<std::intptr_t>(entry.get(*this))));
        });
    }
}

// ---- life ----

CPhgAdapter& CPhgAdapter::instance()
{
    static CPhgAdapter adapter;
    return adapter;
}

CPhgAdapter::CPhgAdapter() noexcept : m_pFunc(new (std::nothrow) PhgFunc_t), m_pLog(new (std::nothrow) CPhgLog) {}

CPhgAdapter::~CPhgAdapter()
{
    Stop();
}

void CPhgAdapter::Start(const std::string& logName) noexcept
{
    try {
        m_logName = logName;
        CPhgLog::m_logName = logName;
    } catch (...) {   // no memory for the name: the one before stays
    }
    InitPhgDll();
}

void CPhgAdapter::Stop() noexcept
{
    InitPhgDllFunc();
    if (m_pLog == nullptr) return;
    m_pLog->closeDump();
    m_pLog->unregisterThread();
}

void CPhgAdapter::InitPhgDll() noexcept
{
    if (m_pFunc != nullptr) m_pFunc->InitPhgDll();
}

void CPhgAdapter::InitPhgDllFunc() noexcept
{
    if (m_pFunc != nullptr) m_pFunc->UnloadPhgDll();
}

// ---- wrappers ----

namespace {

// An entry point as its wrapper calls it.
template <class Result, class... Parameters>
struct entry_point_t {
    entry_point_t(const PhgFunc_t* table, Result (*PhgFunc_t::*slot)(Parameters...), const source_t& caller)
        : address(table != nullptr ? table->*slot : nullptr), where(caller)
    {}

    int operator()(Parameters... arguments) const
    {
        if (address == nullptr) return refused("libPhg not init");
        try {
            if constexpr (std::is_void_v<Result>) {
                address(arguments...);
                return 0;
            } else {
                return address(arguments...);
            }
        } catch (const abi::__forced_unwind&) {   // the host ends this thread
            throw;
        } catch (const std::exception& e) {
            return refused("libPhg threw an exception: ", e.what());
        } catch (...) {
            return refused("libPhg threw an exception");
        }
    }

    int refused(const char* why, const char* detail = "") const
    {
        contained([&] { logger_helper::log(logger(), where, kError, "%s%s", why, detail); });
        return phg::kNotBound;
    }

    Result (*address)(Parameters...);
    source_t where;
};

}   // namespace

// NOLINTBEGIN(bugprone-macro-parentheses): parameters and arguments come in parentheses
#define DEFINE_forwards(name, parameters, arguments)                                    \
    int CPhgAdapter::Ptr##name parameters                                               \
    {                                                                                   \
        return entry_point_t(m_pFunc.get(), &PhgFunc_t::name, here(kSource)) arguments; \
    }
#define DEFINE_records(name, parameters, arguments)   // written out below
#define DEFINE_WRAPPER(rank, unload, wrapper, result, name, parameters, arguments) \
    DEFINE_##wrapper(name, parameters, arguments)
PHG_ENTRY_POINTS(DEFINE_WRAPPER)
// NOLINTEND(bugprone-macro-parentheses)

int CPhgAdapter::PtrPhgLibUpdateCfg(const DrCfg_tag* config)
{
    dump(config, phg::kConfigSize, kPhgConfig);
    return entry_point_t(m_pFunc.get(), &PhgFunc_t::PhgLibUpdateCfg, here(kSource))(config);
}

int CPhgAdapter::PtrPhgLibSetGnss(const PosRaw_tag* position)
{
    if (position == nullptr) return kNullRecord;
    dump(position, phg::kGnssSize, kPhgGnss);
    return entry_point_t(m_pFunc.get(), &PhgFunc_t::PhgLibSetGnss, here(kSource))(position);
}

int CPhgAdapter::PtrPhgLibSetImu(const ImuRawData_tag* sample)
{
    if (sample == nullptr) return kNullRecord;
    dump(sample, phg::kImuSize, kPhgImu);
    return entry_point_t(m_pFunc.get(), &PhgFunc_t::PhgLibSetImu, here(kSource))(sample);
}

int CPhgAdapter::PtrPhgLibCalibStart(const TiltCalibReq_t* request, unsigned int perItem, PhgCalibCB callback)
{
    if (request == nullptr) return kNullRecord;
    dump(request, phg::kCalibHeadSize, kPhgCalibRequest);
    const auto* values =
        reinterpret_cast<const double*>(reinterpret_cast<const char*>(request) + phg::kCalibValuesOffset);
    return PtrPhgLibCalibStart(values, perItem * field<std::uint32_t>(request, 0), callback);
}

// A reset and the visual odometer are dumped only when they reach the library.

int CPhgAdapter::PtrPhgLibReset()
{
    const entry_point_t reset(m_pFunc.get(), &PhgFunc_t::PhgLibReset, here(kSource));
    constexpr unsigned char kMarker = 1;
    if (reset.address != nullptr) dump(&kMarker, sizeof kMarker, kPhgReset);
    return reset();
}

int CPhgAdapter::PtrPhgLibEnableVisualOdometer(int enable)
{
    const entry_point_t odometer(m_pFunc.get(), &PhgFunc_t::PhgLibEnableVisualOdometer, here(kSource));
    if (odometer.address != nullptr) dump(&enable, sizeof enable, kPhgVisualOdometer);
    return odometer(enable);
}

// ---- dump ----

void CPhgAdapter::dump(const void* record, int len, int type) noexcept
{
    if (m_pLog != nullptr) m_pLog->dumpData(static_cast<const unsigned char*>(record), len, type);
}

void CPhgAdapter::OpenDump(const std::string& dir, const std::string& name, const DrHwCfg_tag* hardware,
                           const DrCfg_tag* config) noexcept
{
    if (m_pLog != nullptr) m_pLog->openDump(dir, name);
    dump(hardware, phg::kHardwareConfigSize, kPhgHardwareConfig);
    dump(config, phg::kConfigSize, kPhgConfig);
}

void CPhgAdapter::CloseDump() noexcept
{
    if (m_pLog != nullptr) m_pLog->closeDump();
}

void CPhgAdapter::RegisterDumpThread(const std::shared_ptr<aht::thread_task>& thread) noexcept
{
    if (m_pLog != nullptr) m_pLog->registerThread(thread);
}

void CPhgAdapter::UnregisterDumpThread() noexcept
{
    if (m_pLog != nullptr) m_pLog->unregisterThread();
}

void CPhgAdapter::SetDumpFlag(bool on) noexcept
{
    if (m_pLog != nullptr) m_pLog->setDumpFlag(on);
}

void CPhgAdapter::DumpMeasureStat(bool stat) noexcept
{
    const unsigned char byte = stat ? 1 : 0;
    dump(&byte, sizeof byte, kPhgMeasureStat);
}

void CPhgAdapter::DumpFrameData(const FrameData_t* frame) noexcept
{
    if (frame == nullptr) return;
    const int count = field<std::uint16_t>(frame, phg::kFrameCountOffset);
    dump(frame, phg::kFrameSize + phg::kFrameElementSize * std::max(count - 1, 0), kPhgFrameData);
}

int CPhgAdapter::GetFusionDataLen(const FusionData_tag* data) noexcept
{
    if (data == nullptr) return 0;
    return phg::kFusionHeadSize + phg::kFusionElementSize * field<std::uint8_t>(data, phg::kFusionCountOffset);
}

void CPhgAdapter::DumpFusionData(const FusionData_tag* data) noexcept
{
    if (data != nullptr) dump(data, GetFusionDataLen(data), kPhgFusionData);
}
