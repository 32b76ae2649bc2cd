#include "gnss_data.h"

#include "sky/random.h"

namespace {

constexpr int kWeek = 2305;
constexpr std::int64_t kFirstMs = 43'200'000;
constexpr std::int64_t kWeekMs = 604'800'000;

struct signal_t {
    unsigned type;
    double frequency;   // Hz
};

struct system_t {
    unsigned system;   // three bits of the tracking status
    int prn, count;    // first receiver PRN, satellites
    signal_t signals[3];
    int used;   // of the signals
};

constexpr system_t kSystems[] = {
    {0, 1, 24, {{0, 1575.42e6}, {9, 1227.6e6}, {14, 1176.45e6}}, 3},
    {3, 1, 24, {{2, 1575.42e6}, {17, 1207.14e6}, {12, 1176.45e6}}, 3},
    {4, 1, 24, {{0, 1561.098e6}, {17, 1207.14e6}, {2, 1268.52e6}}, 3},
    {1, 38, 8, {{0, 1602e6}, {5, 1246e6}, {}}, 2},
};

// Locked in code and phase, parity known.
constexpr std::uint32_t status_of(unsigned system, unsigned type)
{
    return 0xBu | 7u << 10 | system << 16 | type << 21;
}

// Satellites in the order of systems, taken in turn from each, so that few satellites are of all systems.
std::vector<sky::range_t> ranges_of(int satellites, double t, sky::random_t& random)
{
    std::vector<sky::range_t> ranges;
    for (int turn = 0, taken = 0; taken < satellites; ++turn) {
        for (const system_t& s : kSystems) {
            if (turn >= s.count || taken == satellites) continue;
            ++taken;
            const double range = 2.0e7 + 2.5e5 * taken + (taken % 13 - 6) * 100.0 * t;   // up to 600 m/s
            for (int i = 0; i < s.used; ++i) {
                const double cycles = s.signals[i].frequency / 299792458.0;   // a metre
                ranges.push_back({s.prn + turn, turn % 6 - 3, range + 0.3 * random.normal(), range * cycles,
                                  (taken % 13 - 6) * -100.0 * cycles, 35.0 + static_cast<double>(random.below(15)),
                                  t + 100.0, status_of(s.system, s.signals[i].type)});
            }
        }
    }
    return ranges;
}

}   // namespace

sky::bytes_t range_log(sky::range_form_t form, int satellites, std::size_t size)
{
    sky::bytes_t log;
    sky::random_t random(1);
    for (std::int64_t ms = 0; log.size() < size; ms += 100) {
        const auto ranges = ranges_of(satellites, static_cast<double>(ms) * 0.001, random);
        sky::append_ranges(log, form, ranges, kWeek, (kFirstMs + ms) % kWeekMs);
    }
    return log;
}

std::unique_ptr<raw_t> epoch_of(int satellites)
{
    auto raw = std::make_unique<raw_t>();
    Initial_raw(raw.get(), 0);
    for (const std::uint8_t byte : range_log(sky::kFullRange, satellites, 1)) input_korvex(raw.get(), byte);
    return raw;
}

sky::bytes_t garbage(std::size_t size)
{
    sky::bytes_t bytes(size);
    sky::random_t random(2);
    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random.bits());
    for (std::size_t i = 2; i < size; ++i) {
        if (bytes[i - 2] == 0xAA && bytes[i - 1] == 0x44 && bytes[i] == 0x12) bytes[i] = 0;
    }
    return bytes;
}
