// kvx dump replay: what went into the vision library goes in once more.
#include <CPhgAdapter.h>
#include <dlfcn.h>
#include <spdlog/sinks/null_sink.h>
#include <spdlog/spdlog.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <thread>

#include "common/error.h"
#include "dump/dump_scan.h"
#include "phg_records.h"

namespace kvx {
namespace {

constexpr char kLogger[] = "kvx dump";
constexpr std::uint32_t kCalibValues = 3;   // as many doubles of a request as the dump keeps

// How records of one type get to the library.
struct feed_t {
    int type;
    int (*feed)(CPhgAdapter&, const std::uint8_t* payload);
};

template <class Record>
const Record* as(const std::uint8_t* payload)
{
    return reinterpret_cast<const Record*>(payload);
}

int ignore_progress(int, char*, int)
{
    return 0;
}

// The dump keeps the head of a request only: as many values as it holds are handed on, none if the request had none.
int start_calibration(CPhgAdapter& adapter, const std::uint8_t* payload)
{
    std::uint32_t count;
    std::memcpy(&count, payload, sizeof count);
    return adapter.PtrPhgLibCalibStart(as<double>(payload + phg::kCalibValuesOffset), count == 0 ? 0 : kCalibValues,
                                       ignore_progress);
}

int enable_odometer(CPhgAdapter& adapter, const std::uint8_t* payload)
{
    int enable;
    std::memcpy(&enable, payload, sizeof enable);
    return adapter.PtrPhgLibEnableVisualOdometer(enable);
}

// Types that are not listed are no inputs of the library.
constexpr feed_t kFeeds[] = {
    {kPhgFusionData,
     [](CPhgAdapter& a, const std::uint8_t* p) { return a.PtrPhgLibSetFusionData(as<FusionData_tag>(p)); }},
    {kPhgConfig, [](CPhgAdapter& a, const std::uint8_t* p) { return a.PtrPhgLibUpdateCfg(as<DrCfg_tag>(p)); }},
    {kPhgHardwareConfig, [](CPhgAdapter& a, const std::uint8_t* p) { return a.PtrPhgLibSetHwCfg(as<DrHwCfg_tag>(p)); }},
    {kPhgCalibRequest, start_calibration},
    {kPhgGnss, [](CPhgAdapter& a, const std::uint8_t* p) { return a.PtrPhgLibSetGnss(as<PosRaw_tag>(p)); }},
    {kPhgImu, [](CPhgAdapter& a, const std::uint8_t* p) { return a.PtrPhgLibSetImu(as<ImuRawData_tag>(p)); }},
    {kPhgReset, [](CPhgAdapter& a, const std::uint8_t*) { return a.PtrPhgLibReset(); }},
    {kPhgVisualOdometer, enable_odometer},
};

bool g_memory_ended = false;

// The adapter, which does without what it has no memory for and says nothing: so the allocations tell.
CPhgAdapter& started_adapter()
{
    const std::new_handler before = std::set_new_handler([] {
        g_memory_ended = true;
        throw std::bad_alloc();
    });
    CPhgAdapter& adapter = CPhgAdapter::instance();
    adapter.Start(kLogger);
    std::set_new_handler(before);
    if (g_memory_ended) throw std::bad_alloc();
    return adapter;
}

// The library while it is bound to the adapter.
class bound_library_t {
public:
    explicit bound_library_t(const std::string& library)
    {
        if (!library.empty() && setenv("VISION_PHG_LIB_NAME", library.c_str(), 1) != 0) throw std::bad_alloc();
        const char* name = std::getenv("VISION_PHG_LIB_NAME");
        if (name == nullptr || *name == '\0')
            throw error_t("vision library", "none is named", "use --library or VISION_PHG_LIB_NAME");
        handle_ = dlopen(name, RTLD_LAZY);   // the adapter's own attempt would not say what went wrong
        if (handle_ == nullptr) throw error_t(name, dlerror(), "loading the vision library");
        spdlog::null_logger_mt(kLogger);
        adapter = &started_adapter();
    }
    ~bound_library_t()
    {
        adapter->Stop();
        dlclose(handle_);
    }
    bound_library_t(const bound_library_t&) = delete;
    bound_library_t& operator=(const bound_library_t&) = delete;

    CPhgAdapter* adapter = nullptr;

private:
    void* handle_;
};

// Lets as many records a second pass as asked for.
class pace_t {
public:
    explicit pace_t(double rate) : interval_(rate > 0 ? 1 / rate : 0) {}

    void wait()
    {
        if (interval_ == std::chrono::duration<double>::zero()) return;
        std::this_thread::sleep_until(start_ + std::chrono::duration_cast<clock::duration>(interval_ * count_++));
    }

private:
    using clock = std::chrono::steady_clock;
    std::chrono::duration<double> interval_;
    clock::time_point start_ = clock::now();
    double count_ = 0;
};

}   // namespace

int replay_dump(const std::string& path, const std::string& library, double rate)
{
    bound_library_t bound(library);
    pace_t pace(rate);
    std::vector<std::uint8_t> aligned;   // records in the file lie anywhere, the library expects its own structures
    std::uint64_t taken = 0, refused = 0, unbound = 0, no_inputs = 0;
    const dump_totals_t totals = scan_dump_records(path, [&](const dump_item_t& item) {
        const auto* feed = std::find_if(std::begin(kFeeds), std::end(kFeeds),
                                        [&](const feed_t& f) { return f.type == item.type->code; });
        if (feed == std::end(kFeeds)) {
            ++no_inputs;
            return;
        }
        pace.wait();
        aligned.assign(item.payload, item.payload + item.length);
        const int result = feed->feed(*bound.adapter, aligned.data());
        ++(result == phg::kNotBound ? unbound : result < 0 ? refused : taken);
    });
    std::printf(
        "%s: %llu records replayed, %llu refused by the library, %llu not taken by an entry point, "
        "%llu no inputs of it, %llu bytes skipped\n",
        path.c_str(), static_cast<unsigned long long>(taken), static_cast<unsigned long long>(refused),
        static_cast<unsigned long long>(unbound), static_cast<unsigned long long>(no_inputs),
        static_cast<unsigned long long>(totals.damage.bytes));
    if (taken == 0 && refused + unbound > 0) throw error_t(path, "the library took none of the records", "replay");
    return exit_code(totals);
}

}   // namespace kvx
