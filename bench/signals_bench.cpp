// Epochs with every signal as text: formatted output field by field against the tool's writer, and the way from a range
// message to the text.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <memory>

#include "gnss/foundation/wire.h"
#include "gnss/log/frame.h"
#include "rinex/dates.h"
#include "rinex/fields.h"
#include "rinex/observation_text.h"
#include "rinex/ranges.h"
#include "sky/simulator.h"

namespace {

constexpr std::int64_t kWeekMs = 604800000;

// The range messages of an epoch of all systems.
std::vector<std::vector<std::uint8_t>> range_bodies()
{
    sky::scenario_t scenario;
    scenario.every_signal = true;
    scenario.duration = 1.0;
    const sky::bytes_t log = sky::make_log(scenario);
    std::vector<std::vector<std::uint8_t>> bodies;
    for (auto at = log.begin(); at != log.end();) {
        const korvex::header_t header = korvex::read_header(&*at);
        const auto body = at + korvex::kHeaderSize;
        if (header.id == MSG_RANGE) bodies.emplace_back(body, body + header.body_size);
        at = body + header.body_size + korvex::kCrcSize;
    }
    return bodies;
}

struct epochs_t {
    rinex::signals_t signals;
    rinex::ledger_t ledger;
    std::vector<std::vector<std::uint8_t>> bodies = range_bodies();
    std::int64_t time = 2305 * kWeekMs;

    // Hands the next epoch to `take`.
    void next(rinex::range_collector_t& ranges)
    {
        for (const auto& body : bodies) ranges.add(time, body.data(), static_cast<int>(body.size()), false);
        ranges.flush();
        time += 1000;
    }
};

void plain_epoch(const rinex::epoch_t& epoch, std::FILE* out)
{
    const rinex::calendar_t c = rinex::calendar_of(epoch.time * rinex::kTicksPerMs);
    std::fprintf(out, "> %4d %02d %02d %02d %02d%3d.%07d  0%3d\n", c.year, c.month, c.day, c.hour, c.minute, c.second,
                 c.fraction, epoch.satellites.count());
    int last = -1;
    epoch.each([&](int place, int signal) {
        if (place != last) std::fprintf(out, "%s%s", last < 0 ? "" : "\n", rinex::satellite_at(place).name().c_str());
        last = place;
        for (const double value : epoch.at(place, signal).value) std::fprintf(out, "%14.3f  ", value);
    });
    std::fputc('\n', out);
}

void run(benchmark::State& state, bool plain)
{
    epochs_t epochs;
    rinex::observation_text_t text(305, epochs.signals, epochs.ledger);
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> out(std::fopen("/dev/null", "wb"), std::fclose);
    std::vector<char> buffer(rinex::observation_text_t::kLongestEpoch);
    std::size_t bytes = 0;
    rinex::range_collector_t ranges(epochs.signals, epochs.ledger, [&](auto& epoch) {
        if (plain) return plain_epoch(*epoch, out.get());
        rinex::text_t to(buffer.data(), buffer.size());
        text.epoch(*epoch, to);
        bytes += std::fwrite(buffer.data(), 1, to.size(), out.get());
    });
    for (auto _ : state) epochs.next(ranges);
    benchmark::DoNotOptimize(bytes);
}
BENCHMARK_CAPTURE(run, plain, true)->Name("every_signal_epoch/plain");
BENCHMARK_CAPTURE(run, kvx, false)->Name("every_signal_epoch/kvx");

}   // namespace
