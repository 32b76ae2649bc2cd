// Receiver log and RINEX epochs. Names are <what>/<variant>[/<size>], the same what meaning the same work.
#include <benchmark/benchmark.h>
#include <libdeflate.h>
#include <sys/mman.h>
#include <zlib.h>

#include <charconv>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string>
#include <string_view>

#include "gnss/foundation/crc32.h"
#include "gnss/rinex/observation_number.h"
#include "gnss_data.h"
#include "gnss_plain.h"

namespace {

using std::size_t;

constexpr size_t kMiB = size_t{1} << 20;

void count_bytes(benchmark::State& state, size_t bytes_per_iteration)
{
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(bytes_per_iteration));
}

// A file in memory, as on tmpfs.
std::FILE* memory_file()
{
    return fdopen(memfd_create("bench", 0), "w+b");
}

// ---- Checksum ----

template <typename Checksum>
void checksum_of(benchmark::State& state, Checksum of)
{
    const sky::bytes_t bytes = garbage(static_cast<size_t>(state.range(0)));
    const auto size = static_cast<int>(bytes.size());
    if (of(bytes.data(), size) != plain::crc32(bytes.data(), size)) state.SkipWithError("another checksum");
    for (auto _ : state) benchmark::DoNotOptimize(of(bytes.data(), size));
    count_bytes(state, bytes.size());
}

unsigned library_crc32(const std::uint8_t* data, int len)
{
    return ::crc32(data, len);
}

// Initial values and results of these two are inverted.
unsigned zlib_crc32(const std::uint8_t* data, int len)
{
    return ~static_cast<unsigned>(::crc32(0xFFFFFFFF, data, static_cast<uInt>(len)));
}

unsigned libdeflate_sum(const std::uint8_t* data, int len)
{
    return ~libdeflate_crc32(0xFFFFFFFF, data, static_cast<size_t>(len));
}

void frame_sizes(benchmark::internal::Benchmark* b)
{
    for (const int size : {64, 256, 1024, 4096, 8192}) b->Arg(size);
}

BENCHMARK_CAPTURE(checksum_of, plain, plain::crc32)->Name("crc32/plain")->Apply(frame_sizes);
BENCHMARK_CAPTURE(checksum_of, tables, checksum::ways().back().crc32)->Name("crc32/tables")->Apply(frame_sizes);
BENCHMARK_CAPTURE(checksum_of, library, library_crc32)->Name("crc32/library")->Apply(frame_sizes);
BENCHMARK_CAPTURE(checksum_of, zlib, zlib_crc32)->Name("crc32/zlib")->Apply(frame_sizes);
BENCHMARK_CAPTURE(checksum_of, libdeflate, libdeflate_sum)->Name("crc32/libdeflate")->Apply(frame_sizes);

// ---- Observation field ----

// Values as in an observation file: pseudorange, phase, Doppler, strength.
std::vector<double> observation_values()
{
    std::vector<double> values;
    const auto raw = epoch_of(kMaxObs);
    for (int i = 0; i < raw->nobs; ++i) {
        for (int slot = 0; slot < 2; ++slot) {
            const obsd_t& obs = raw->obs[i];
            values.insert(values.end(), {obs.P[slot], obs.L[slot], obs.D[slot], obs.SNR[slot] * 0.25});
        }
    }
    return values;
}

size_t with_to_chars(char* to, double value)
{
    char digits[24];
    const char* end = std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed, 3).ptr;
    const auto n = static_cast<size_t>(end - digits);
    std::memset(to, ' ', 14);
    std::memcpy(to + 14 - n, digits, n);
    return 14;
}

size_t into_columns(char* to, double value)
{
    std::memset(to, ' ', 14);
    return rinex::put_observation(to, value) ? 14 : 0;
}

template <typename Print>
void fields(benchmark::State& state, Print print)
{
    const std::vector<double> values = observation_values();
    char field[24];
    for (const double value : values) {
        char expected[24];
        const std::string_view same(expected, plain::observation(expected, value));
        if (std::string_view(field, print(field, value)) != same) return state.SkipWithError("other digits");
    }
    for (auto _ : state) {
        for (const double value : values) {
            benchmark::DoNotOptimize(print(field, value));
            benchmark::ClobberMemory();
        }
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * static_cast<std::int64_t>(values.size()));
}

BENCHMARK_CAPTURE(fields, plain, plain::observation)->Name("observation_field/plain");
BENCHMARK_CAPTURE(fields, fmt, plain::observation_fmt)->Name("observation_field/fmt");
BENCHMARK_CAPTURE(fields, to_chars, with_to_chars)->Name("observation_field/to_chars");
BENCHMARK_CAPTURE(fields, library, into_columns)->Name("observation_field/library");

// ---- RINEX 3 epoch ----

rnx_t options()
{
    rnx_t opt{};
    Initial_Rnx(&opt);
    opt.version = 304;
    opt.rcvkind = 9;
    return opt;
}

int plain_epoch(std::FILE* fp, const raw_t* raw, rnx_t* opt)
{
    plain::write_epoch3(fp, *raw, *opt);
    return 1;
}

int fmt_epoch(std::FILE* fp, const raw_t* raw, rnx_t* opt)
{
    plain::write_epoch3_fmt(fp, *raw, *opt);
    return 1;
}

int library_epoch(std::FILE* fp, const raw_t* raw, rnx_t* opt)
{
    return WriteRinexObsRec(fp, raw, opt, 0.0);
}

constexpr int kEpochsOfFile = 1000;   // the file does not grow for ever

template <typename Write>
std::string text_of(Write write, const raw_t* raw, rnx_t* opt)
{
    char* text = nullptr;
    size_t size = 0;
    std::FILE* fp = open_memstream(&text, &size);
    write(fp, raw, opt);
    std::fclose(fp);
    std::string copy(text, size);
    std::free(text);
    return copy;
}

template <typename Write>
void epochs(benchmark::State& state, std::FILE* fp, Write write)
{
    const auto raw = epoch_of(static_cast<int>(state.range(0)));
    rnx_t opt = options();
    if (text_of(write, raw.get(), &opt) != text_of(plain_epoch, raw.get(), &opt)) state.SkipWithError("another text");
    int until_rewind = kEpochsOfFile;
    for (auto _ : state) {
        benchmark::DoNotOptimize(write(fp, raw.get(), &opt));
        if (--until_rewind > 0) continue;
        std::rewind(fp);
        until_rewind = kEpochsOfFile;
    }
    std::fclose(fp);
}

std::FILE* nowhere()
{
    return std::fopen("/dev/null", "w");
}

template <typename Write>
void epochs_nowhere(benchmark::State& state, Write write)
{
    epochs(state, nowhere(), write);
}

template <typename Write>
void epochs_in_memory(benchmark::State& state, Write write)
{
    epochs(state, memory_file(), write);
}

// Poor sky, open sky, a full record.
void sky_sizes(benchmark::internal::Benchmark* b)
{
    for (const int satellites : {8, 40, kMaxObs}) b->Arg(satellites);
}

BENCHMARK_CAPTURE(epochs_nowhere, plain, plain_epoch)->Name("epoch_devnull/plain")->Apply(sky_sizes);
BENCHMARK_CAPTURE(epochs_nowhere, fmt, fmt_epoch)->Name("epoch_devnull/fmt")->Apply(sky_sizes);
BENCHMARK_CAPTURE(epochs_nowhere, library, library_epoch)->Name("epoch_devnull/library")->Apply(sky_sizes);
BENCHMARK_CAPTURE(epochs_in_memory, plain, plain_epoch)->Name("epoch_tmpfs/plain")->Apply(sky_sizes);
BENCHMARK_CAPTURE(epochs_in_memory, fmt, fmt_epoch)->Name("epoch_tmpfs/fmt")->Apply(sky_sizes);
BENCHMARK_CAPTURE(epochs_in_memory, library, library_epoch)->Name("epoch_tmpfs/library")->Apply(sky_sizes);

// ---- Decoding ----

using log_t = std::span<const std::uint8_t>;

int feed_plain(raw_t* raw, log_t log)
{
    int epochs = 0;
    for (const std::uint8_t byte : log) epochs += plain::input_byte(raw, byte) == DECODE_OBS;
    return epochs;
}

int feed_bytes(raw_t* raw, log_t log)
{
    int epochs = 0;
    for (const std::uint8_t byte : log) epochs += input_korvex(raw, byte) == DECODE_OBS;
    return epochs;
}

template <size_t Size>
int feed_blocks(raw_t* raw, log_t log)
{
    int epochs = 0;
    while (!log.empty()) {
        const log_t block = log.first(std::min(Size, log.size()));
        log = log.subspan(block.size());
        for (int left = static_cast<int>(block.size()); left > 0;) {
            epochs += input_korvexb(raw, block.last(static_cast<size_t>(left)).data(), &left) == DECODE_OBS;
        }
    }
    return epochs;
}

// What the memory itself gives: the log copied once.
int copy_only(raw_t* raw, log_t log)
{
    for (; log.size() > sizeof raw->buff; log = log.subspan(sizeof raw->buff)) {
        std::memcpy(raw->buff, log.data(), sizeof raw->buff);
        benchmark::ClobberMemory();
    }
    return 1;
}

std::unique_ptr<raw_t> fresh_record()
{
    auto raw = std::make_unique<raw_t>();
    Initial_raw(raw.get(), 0);
    return raw;
}

template <typename Feed>
void feed(benchmark::State& state, const sky::bytes_t& log, bool has_epochs, Feed with)
{
    const auto raw = fresh_record();
    int epochs = 0;
    for (auto _ : state) epochs += with(raw.get(), log);
    if ((epochs != 0) != has_epochs) state.SkipWithError("epochs lost or invented");
    count_bytes(state, log.size());
}

template <typename Feed>
void decode(benchmark::State& state, sky::range_form_t form, Feed with)
{
    feed(state, range_log(form, 40, 4 * kMiB), true, with);
}

template <typename Feed>
void hunt(benchmark::State& state, Feed with)
{
    feed(state, garbage(kMiB), false, with);
}

// The same from a file, read to its end.
void feed_file(benchmark::State& state, const sky::bytes_t& log, bool has_epochs)
{
    const auto raw = fresh_record();
    std::FILE* fp = memory_file();
    std::fwrite(log.data(), 1, log.size(), fp);
    int epochs = 0;
    for (auto _ : state) {
        std::rewind(fp);
        for (int result; (result = input_korvexf(raw.get(), fp, 0)) != DECODE_EOF;) epochs += result == DECODE_OBS;
    }
    std::fclose(fp);
    if ((epochs != 0) != has_epochs) state.SkipWithError("epochs lost or invented");
    count_bytes(state, log.size());
}

void decode_file(benchmark::State& state, sky::range_form_t form)
{
    feed_file(state, range_log(form, 40, 4 * kMiB), true);
}

void hunt_file(benchmark::State& state)
{
    feed_file(state, garbage(kMiB), false);
}

// What the file itself gives.
void fread_only(benchmark::State& state, sky::range_form_t form)
{
    const sky::bytes_t log = range_log(form, 40, 4 * kMiB);
    std::vector<std::uint8_t> piece(64 * 1024);
    std::FILE* fp = memory_file();
    std::fwrite(log.data(), 1, log.size(), fp);
    for (auto _ : state) {
        std::rewind(fp);
        while (std::fread(piece.data(), 1, piece.size(), fp) == piece.size()) benchmark::ClobberMemory();
    }
    std::fclose(fp);
    count_bytes(state, log.size());
}

#define DECODE_BENCHMARKS(id, form)                                                                  \
    BENCHMARK_CAPTURE(decode, id##_plain, form, feed_plain)->Name("decode_" #id "/plain");           \
    BENCHMARK_CAPTURE(decode, id##_byte, form, feed_bytes)->Name("decode_" #id "/byte");             \
    BENCHMARK_CAPTURE(decode, id##_512, form, feed_blocks<512>)->Name("decode_" #id "/block_512");   \
    BENCHMARK_CAPTURE(decode, id##_64K, form, feed_blocks<65536>)->Name("decode_" #id "/block_64K"); \
    BENCHMARK_CAPTURE(decode, id##_1M, form, feed_blocks<kMiB>)->Name("decode_" #id "/block_1M");    \
    BENCHMARK_CAPTURE(decode, id##_read, form, copy_only)->Name("decode_" #id "/copy_only");         \
    BENCHMARK_CAPTURE(decode_file, id##_file, form)->Name("decode_" #id "/file");                    \
    BENCHMARK_CAPTURE(fread_only, id##_fread, form)->Name("decode_" #id "/fread_only")

DECODE_BENCHMARKS(43, sky::kFullRange);
DECODE_BENCHMARKS(140, sky::kCompressedRange);

BENCHMARK_CAPTURE(hunt, plain, feed_plain)->Name("garbage/plain");
BENCHMARK_CAPTURE(hunt, byte, feed_bytes)->Name("garbage/byte");
BENCHMARK_CAPTURE(hunt, block, feed_blocks<65536>)->Name("garbage/block_64K");
BENCHMARK(hunt_file)->Name("garbage/file");

}   // namespace
