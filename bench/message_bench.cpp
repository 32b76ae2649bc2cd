// Device messages: Parse against its plain form (exact growth, immediate discarding, searching all that is held,
// bitwise checksum), MB/s of stream.
#include <CKorvexMsgHelper.h>
#include <benchmark/benchmark.h>

#include <random>
#include <string>
#include <vector>

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
    const auto piece = static_cast<std::size_t>(state.range(0));
    CKorvexMsgHelper helper;
    Parser first;
    if (drain(first, stream, piece) != drain(helper, stream, piece)) state.SkipWithError("other frames");
    for (auto _ : state) {
        Parser parser;
        benchmark::DoNotOptimize(drain(parser, stream, piece));
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(stream.size()));
}

// What is left of the work when every byte may be trusted to belong to a frame: the copy and the checksums.
class Trusting {
public:
    bool Parse(const unsigned char* data, unsigned len, unsigned short& id, unsigned char** payload, unsigned& n)
    {
        if (len != 0) {
            m_held.erase(m_held.begin(), m_held.begin() + m_at);
            m_held.insert(m_held.end(), data, data + len);
            m_at = 0;
        }
        const long left = static_cast<long>(m_held.size()) - m_at;
        unsigned char* frame = m_held.data() + m_at;
        if (left < 20) return false;
        n = frame[8] | frame[9] << 8;
        if (left < n + 20L || library_crc32(frame, static_cast<int>(n + 20)) != 0) return false;
        id = static_cast<unsigned short>(frame[4] | frame[5] << 8);
        *payload = frame + 16;
        m_at += n + 20L;
        return true;
    }

private:
    std::vector<unsigned char> m_held;
    long m_at = 0;
};

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
BENCHMARK(BM_Parse16To64<Trusting>)->Name("parse_16_64/trusting")->Arg(256)->Arg(4096)->Arg(65536);
BENCHMARK(BM_Parse16To64<Helper>)->Name("parse_16_64/library")->Arg(256)->Arg(4096)->Arg(65536);
BENCHMARK(BM_Parse200To1000<Plain>)->Name("parse_200_1000/plain")->Arg(65536);
BENCHMARK(BM_Parse200To1000<Trusting>)->Name("parse_200_1000/trusting")->Arg(65536);
BENCHMARK(BM_Parse200To1000<Helper>)->Name("parse_200_1000/library")->Arg(65536);
BENCHMARK(BM_ParseGarbage<Plain>)->Name("parse_garbage/plain")->Arg(1024);
BENCHMARK(BM_ParseGarbage<Helper>)->Name("parse_garbage/library")->Arg(1024);
BENCHMARK(BM_ParseAttack<PlainFastSum>)->Name("parse_attack/plain_fast_sum")->Arg(65536)->Iterations(1);
BENCHMARK(BM_ParseAttack<Helper>)->Name("parse_attack/library")->Arg(1)->Arg(256)->Arg(65536);
BENCHMARK(BM_Pack)->Name("pack/library")->Arg(32)->Arg(1024);
