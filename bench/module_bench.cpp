// The Python module beside the decoder alone: the same log, one from a file into arrays, the other from memory into its
// record.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <pybind11/embed.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>

#include "sky/simulator.h"

namespace py = pybind11;

namespace {

constexpr std::size_t kBlock = 65536;

sky::scenario_t scenario(sky::range_form_t form)
{
    sky::scenario_t s;
    s.duration = 7200.0;
    s.range = form;
    return s;
}

struct log_t {
    explicit log_t(sky::range_form_t form) : bytes(sky::make_log(scenario(form)))
    {
        const int fd = memfd_create("log", 0);
        if (write(fd, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size()))
            throw std::runtime_error("no room for a log in memory");
        path = "/proc/self/fd/" + std::to_string(fd);
    }
    sky::bytes_t bytes;
    std::string path;
};

const log_t& log_of(sky::range_form_t form)
{
    static const log_t full(sky::kFullRange), compressed(sky::kCompressedRange);
    return form == sky::kFullRange ? full : compressed;
}

// Takes a block; gives the epochs in it.
std::int64_t decode_block(raw_t* raw, const std::uint8_t* block, int size)
{
    std::int64_t epochs = 0;
    for (int left = size; left > 0;) epochs += input_korvexb(raw, block + (size - left), &left) == DECODE_OBS;
    return epochs;
}

std::int64_t decode_memory(raw_t* raw, const log_t& log)
{
    std::int64_t epochs = 0;
    for (std::size_t at = 0; at < log.bytes.size(); at += kBlock)
        epochs += decode_block(raw, log.bytes.data() + at, static_cast<int>(std::min(kBlock, log.bytes.size() - at)));
    return epochs;
}

// The way that the module's bytes come, too.
std::int64_t decode_file(raw_t* raw, const log_t& log)
{
    const auto block = std::make_unique<std::uint8_t[]>(kBlock);
    const int fd = open(log.path.c_str(), O_RDONLY | O_CLOEXEC);
    std::int64_t epochs = 0;
    for (ssize_t n = 0; (n = ::read(fd, block.get(), kBlock)) > 0;)
        epochs += decode_block(raw, block.get(), static_cast<int>(n));
    close(fd);
    return epochs;
}

void decode(benchmark::State& state, sky::range_form_t form, std::int64_t (*way)(raw_t*, const log_t&))
{
    const auto raw = std::make_unique<raw_t>();
    Initial_raw(raw.get(), 0);
    std::int64_t epochs = 0;
    for (auto _ : state) epochs += way(raw.get(), log_of(form));
    if (epochs == 0) state.SkipWithError("no epochs");
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * log_of(form).bytes.size()));
}

// Debian's interpreter, whatever else is called python3 here.
py::module_ interpreter()
{
    static const auto started = [] {
        PyConfig config;
        PyConfig_InitIsolatedConfig(&config);
        PyConfig_SetBytesString(&config, &config.executable, "/usr/bin/python3");
        Py_InitializeFromConfig(&config);
        PyConfig_Clear(&config);
        py::module_::import("sys").attr("path").attr("insert")(0, PYTHON_PACKAGES);
        return true;
    }();
    static_cast<void>(started);
    return py::module_::import("rtk_utils");
}

// @param every  with the columns that are made when they are asked for
void read(benchmark::State& state, sky::range_form_t form, bool every)
{
    const py::object function = interpreter().attr("read");
    const py::str path(log_of(form).path);
    std::size_t rows = 0;
    for (auto _ : state) {
        const py::object observations = function(path).attr("observations");
        rows += py::len(observations);
        if (!every) continue;
        for (const char* name : {"time", "satellite", "code"}) rows += py::len(observations.attr(name));
    }
    if (rows == 0) state.SkipWithError("no observations");
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * log_of(form).bytes.size()));
}

void iterate(benchmark::State& state, sky::range_form_t form)
{
    const py::object log = interpreter().attr("Log");
    const py::str path(log_of(form).path);
    std::size_t rows = 0;
    for (auto _ : state) {
        for (const py::handle epoch : log(path).attr("epochs")()) rows += py::len(epoch);
    }
    if (rows == 0) state.SkipWithError("no observations");
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * log_of(form).bytes.size()));
}

#define MODULE_BENCHMARKS(id, form)                                                                     \
    BENCHMARK_CAPTURE(decode, id##_memory, form, decode_memory)->Name("module_" #id "/decoder_memory"); \
    BENCHMARK_CAPTURE(decode, id, form, decode_file)->Name("module_" #id "/decoder");                   \
    BENCHMARK_CAPTURE(read, id, form, false)->Name("module_" #id "/read");                              \
    BENCHMARK_CAPTURE(read, id##_every, form, true)->Name("module_" #id "/read_every");                 \
    BENCHMARK_CAPTURE(iterate, id, form)->Name("module_" #id "/epochs")

MODULE_BENCHMARKS(43, sky::kFullRange);
MODULE_BENCHMARKS(140, sky::kCompressedRange);

}   // namespace
