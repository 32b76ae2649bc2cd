// Vision library for tests: every entry point appends a line, its name and its arguments, to the file named by
// FAKE_VISION_RECORD, and returns the number of its slot. Only C inside, so that nothing keeps the library loaded.
#include <vision/phg_lib.h>

#include <cstdio>
#include <cstdlib>

#include "CPhgAdapter.h"
#include "phg_entry_points.h"

namespace {

constexpr std::uintptr_t kTokens = 4096;   // smaller addresses stand for themselves

// Writes down a call.
struct called_t {
    const char* name;
    int slot;
    std::FILE* file = nullptr;

    template <class... Arguments>
    int operator()(Arguments... arguments)
    {
        const char* path = std::getenv("FAKE_VISION_RECORD");
        file = path != nullptr ? std::fopen(path, "a") : nullptr;
        if (file == nullptr) return slot;
        std::fputs(name, file);
        (put(arguments), ...);
        std::fputc('\n', file);
        std::fclose(file);
        return slot;
    }

private:
    template <class Number>
    void put(Number number)
    {
        std::fprintf(file, " %lld", static_cast<long long>(number));
    }
    template <class Result, class... Arguments>
    void put(Result (*callback)(Arguments...))
    {
        const auto address = reinterpret_cast<std::uintptr_t>(callback);
        address < kTokens ? put(address) : static_cast<void>(std::fputs(" callback", file));
    }
    template <class Record>
    void put(Record* record)
    {
        if (reinterpret_cast<std::uintptr_t>(record) < kTokens) return put(reinterpret_cast<std::uintptr_t>(record));
        std::fputc(' ', file);
        for (unsigned long k = 0; k < size_of(*record); ++k)
            std::fprintf(file, "%02x", reinterpret_cast<const unsigned char*>(record)[k]);
    }
    template <class Record>
    static unsigned long size_of(const Record&)
    {
        return sizeof(Record);
    }
    static unsigned long size_of(const FusionData_tag& data) { return 88 + 32ul * data.count; }
};

}   // namespace

#define ENTRY(rank, unload, wrapper, result, name, parameters, arguments) \
    result name parameters                                                \
    {                                                                     \
        return static_cast<result>(called_t{#name, rank} arguments);      \
    }
extern "C" {
PHG_ENTRY_POINTS(ENTRY)
}
