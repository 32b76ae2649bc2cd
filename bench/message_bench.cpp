// Device messages: Parse against its plain form (exact growth, immediate discarding, searching all that is held,
// bitwise checksum), MB/s of stream.
#include <CKorvexMsgHelper.h>
#include <benchmark/benchmark.h>

#include <random>
#include <string>

#include "support/plain_message_parser.h"

namespace {

unsigned library_crc32(const unsigned char* data, int len)
{
    static CKorvexMsgHelper helper;
    return helper.Crc32(data, len);
}

std::string frames(std::size_t bytes, unsigned shortest, unsigned longest)
{
    std::mt19937 random(1);
    std::string stream, frame, payload;
    while (stream.size() < bytes) {
        payload.resize(shortest + random() % (longest - shortest + 1));
        for (char& byte : payload) byte = static_cast<char>(random());
        CKorvexMsgHelper().Pack(reinterpret_cast<const unsigned char*>(payload.data()),
                                static_cast<unsigned>(payload.size()), 1, frame);
        stream += frame;
    }
    return stream;
}

std::string garbage(std::size_t bytes)
{
    std::mt19937 random(2);
    std::string stream(bytes, '\0');
    for (char& byte : stream) byte = static_cast<char>(random());
    return stream;
}

template <class Parser>
std::size_t drain(Parser& parser, const std::string& stream, std::size_t piece)
{
    std::size_t found = 0;
    for (std::size_t at = 0; at < stream.size(); at += piece) {
        const auto* data = reinterpret_cast<const unsigned char*>(stream.data()) + at;
        auto len = static_cast<unsigned>(std::min(piece, stream.size() - at));
        unsigned short id;
        unsigned char* payload;
        unsigned n;
        for (; parser.Parse(data, len, id, &payload, n); ++found) data = nullptr, len = 0;
    }
    return found;
}

template <class Parser>
void run(benchmark::State& state, const std::string& stream)
{
    for (auto _ : state) {
        Parser parser;
        benchmark::DoNotOptimize(drain(parser, stream, static_cast<std::size_t>(state.range(0))));
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(stream.size()));
}

template <class Parser>
void BM_Parse16To64(benchmark::State& state)
{
    static const std::string stream = frames(1 << 20, 16, 64);
    run<Parser>(state, stream);
}

template <class Parser>
void BM_Parse200To1000(benchmark::State& state)
{
    static const std::string stream = frames(1 << 20, 200, 1000);
    run<Parser>(state, stream);
}

template <class Parser>
void BM_ParseGarbage(benchmark::State& state)
{
    static const std::string stream = garbage(256 * 1024);
    run<Parser>(state, stream);
}

// Candidates as dense as they can be, each with a checksum of 43 KB.
template <class Parser>
void BM_ParseAttack(benchmark::State& state)
{
    static const std::string stream = [] {
        std::string text;
        for (int k = 0; k < 100000; ++k) text += "\xAA\x44\xCC";
        return text;
    }();
    run<Parser>(state, stream);
}

using Plain = PlainMessageParser<bitwise_crc32>;
using PlainFastSum = PlainMessageParser<library_crc32>;   // what the parser itself gains
using Helper = CKorvexMsgHelper;

void BM_Pack(benchmark::State& state)
{
    const std::string payload(static_cast<std::size_t>(state.range(0)), 'x');
    std::string frame;
    for (auto _ : state) {
        CKorvexMsgHelper().Pack(reinterpret_cast<const unsigned char*>(payload.data()),
                                static_cast<unsigned>(payload.size()), 1, frame);
        benchmark::DoNotOptimize(frame.data());
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

}   // namespace

BENCHMARK(BM_Parse16To64<Plain>)->Name("parse_16_64/plain")->Arg(65536);
BENCHMARK(BM_Parse16To64<PlainFastSum>)->Name("parse_16_64/plain_fast_sum")->Arg(65536);
BENCHMARK(BM_Parse16To64<Helper>)->Name("parse_16_64/library")->Arg(256)->Arg(4096)->Arg(65536);
BENCHMARK(BM_Parse200To1000<Plain>)->Name("parse_200_1000/plain")->Arg(65536);
BENCHMARK(BM_Parse200To1000<Helper>)->Name("parse_200_1000/library")->Arg(65536);
BENCHMARK(BM_ParseGarbage<Plain>)->Name("parse_garbage/plain")->Arg(1024);
BENCHMARK(BM_ParseGarbage<Helper>)->Name("parse_garbage/library")->Arg(1024);
BENCHMARK(BM_ParseAttack<PlainFastSum>)->Name("parse_attack/plain_fast_sum")->Arg(65536)->Iterations(1);
BENCHMARK(BM_ParseAttack<Helper>)->Name("parse_attack/library")->Arg(1)->Arg(256)->Arg(65536);
BENCHMARK(BM_Pack)->Name("pack/library")->Arg(32)->Arg(1024);
