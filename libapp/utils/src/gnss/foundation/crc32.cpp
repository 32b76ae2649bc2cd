// A checksum is what remains of the message, a polynomial over two numbers, when it is divided by the polynomial.
#include "gnss/foundation/crc32.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <cstring>

#if defined(__x86_64__)
#include <immintrin.h>
#elif defined(__aarch64__)
#include <arm_acle.h>
#include <sys/auxv.h>
#endif

namespace checksum {

namespace {

static_assert(std::endian::native == std::endian::little, "words are loaded as they lie in memory");

// p * x^n modulo the polynomial.
constexpr std::uint32_t times_x(std::uint32_t p, int n)
{
    for (; n > 0; --n) p = (p & 1) != 0 ? p >> 1 ^ kPolynomial : p >> 1;
    return p;
}

template <typename Word>
Word load(const unsigned char* p)
{
    Word word;
    std::memcpy(&word, p, sizeof word);
    return word;
}

// ---- Tables, on any processor ----

constexpr int kSlices = 16;

// Row k is the checksum of a byte followed by k zero bytes, so that sixteen bytes are looked up independently.
constexpr auto kTables = [] {
    std::array<std::array<std::uint32_t, 256>, kSlices> tables{};
    for (std::uint32_t byte = 0; byte < 256; ++byte) {
        tables[0][byte] = times_x(byte, 8);
        for (int k = 1; k < kSlices; ++k) tables[k][byte] = times_x(tables[k - 1][byte], 8);
    }
    return tables;
}();

// Four bytes of a word, the last of which has `behind` bytes of its block after it.
std::uint32_t slice(std::uint32_t word, int behind)
{
    return kTables[behind + 3][word & 0xFF] ^ kTables[behind + 2][word >> 8 & 0xFF] ^
           kTables[behind + 1][word >> 16 & 0xFF] ^ kTables[behind][word >> 24];
}

std::uint32_t by_tables(const unsigned char* data, int len) noexcept
{
    constexpr auto word_at = load<std::uint32_t>;
    std::uint32_t crc = 0;
    for (; len >= kSlices; len -= kSlices, data += kSlices) {
        crc = slice(word_at(data) ^ crc, 12) ^ slice(word_at(data + 4), 8) ^ slice(word_at(data + 8), 4) ^
              slice(word_at(data + 12), 0);
    }
    for (; len >= 4; len -= 4, data += 4) crc = slice(word_at(data) ^ crc, 0);
    for (; len > 0; --len, ++data) crc = crc >> 8 ^ kTables[0][(crc ^ *data) & 0xFF];
    return crc;
}

bool everywhere() noexcept
{
    return true;
}

#if defined(__x86_64__)

// ---- Folding by carry-less multiplication ----
//
// A block that stands n bytes before another is moved onto that one without changing the remainder: each of its halves
// times a power of x that has been divided already. A message so shrinks to its last block.

constexpr int kBlock = sizeof(__m128i);
constexpr int kLanes = 4;   // as many as hide how long a product takes

// x^n as a factor. A product of reflected polynomials comes out multiplied by x.
constexpr std::int64_t factor(int n)
{
    return static_cast<std::int64_t>(std::uint64_t{times_x(0x80000000, n - 1)} << 32);
}

[[gnu::target("pclmul,sse4.1")]] __m128i block_at(const unsigned char* p)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

// A block moved on by so many bytes; its first half has eight more to go.
template <int Bytes>
[[gnu::target("pclmul,sse4.1")]] __m128i moved_on(__m128i block)
{
    constexpr std::int64_t kFirst = factor(8 * Bytes + 64), kLast = factor(8 * Bytes);
    const __m128i factors = _mm_set_epi64x(kLast, kFirst);
    return _mm_clmulepi64_si128(block, factors, 0x00) ^ _mm_clmulepi64_si128(block, factors, 0x11);
}

// From which places sixteen bytes are taken, 0xFF: a zero. Read from its n-th byte on, it moves n bytes behind zeros.
constexpr auto kBehindZeros = [] {
    std::array<unsigned char, 2 * kBlock> places{};
    for (int i = 0; i < 2 * kBlock; ++i) places[i] = static_cast<unsigned char>(i < kBlock ? 0xFF : i - kBlock);
    return places;
}();

// The checksum of a block: its first half moved onto the rest leaves twelve bytes, the first four of these leave eight.
[[gnu::target("pclmul,sse4.1")]] std::uint32_t reduced(__m128i block)
{
    const __m128i factors = _mm_set_epi64x(factor(64), factor(96));
    const __m128i last_eight = _mm_slli_si128(_mm_srli_si128(block, 8), 4);
    const __m128i twelve = _mm_clmulepi64_si128(block, factors, 0x00) ^ last_eight;
    const __m128i eight = _mm_clmulepi64_si128(twelve, factors, 0x10) ^ twelve;
    const auto rest = static_cast<std::uint64_t>(_mm_extract_epi64(eight, 1));
    return slice(static_cast<std::uint32_t>(rest), 0) ^ static_cast<std::uint32_t>(rest >> 32);
}

[[gnu::target("pclmul,sse4.1")]] std::uint32_t by_folding(const unsigned char* data, int len) noexcept
{
    if (len < kBlock) return by_tables(data, len);
    const int odd = len % kBlock;   // they go first: zeros before a message change nothing
    __m128i d = _mm_shuffle_epi8(block_at(data), block_at(&kBehindZeros[odd]));
    data += odd;
    int blocks = len / kBlock;
    for (; blocks % kLanes != 0; --blocks, data += kBlock) d = moved_on<kBlock>(d) ^ block_at(data);

    if (blocks != 0) {
        __m128i a = block_at(data), b = block_at(data + kBlock), c = block_at(data + 2 * kBlock);
        d = moved_on<kLanes * kBlock>(d) ^ block_at(data + 3 * kBlock);
        while ((blocks -= kLanes) != 0) {
            data += kLanes * kBlock;
            a = moved_on<kLanes * kBlock>(a) ^ block_at(data);
            b = moved_on<kLanes * kBlock>(b) ^ block_at(data + kBlock);
            c = moved_on<kLanes * kBlock>(c) ^ block_at(data + 2 * kBlock);
            d = moved_on<kLanes * kBlock>(d) ^ block_at(data + 3 * kBlock);
        }
        d ^= moved_on<3 * kBlock>(a) ^ moved_on<2 * kBlock>(b) ^ moved_on<kBlock>(c);
    }
    return reduced(d);
}

bool can_fold() noexcept
{
    __builtin_cpu_init();   // others may be initialised, and want a checksum, before what is asked here
    return __builtin_cpu_supports("pclmul") != 0 && __builtin_cpu_supports("sse4.1") != 0;
}

#elif defined(__aarch64__)

// ---- Instructions of 64-bit Arm ----

[[gnu::target("+crc")]] std::uint32_t by_instructions(const unsigned char* data, int len) noexcept
{
    constexpr auto word_at = load<std::uint64_t>;
    std::uint32_t crc = 0;
    for (; len >= 32; len -= 32, data += 32) {
        for (int i = 0; i < 32; i += 8) crc = __crc32d(crc, word_at(data + i));
    }
    for (; len >= 8; len -= 8, data += 8) crc = __crc32d(crc, word_at(data));
    for (; len > 0; --len, ++data) crc = __crc32b(crc, *data);
    return crc;
}

bool has_instructions() noexcept
{
    return (getauxval(AT_HWCAP) & HWCAP_CRC32) != 0;
}

#endif

constexpr way_t kWays[] = {
#if defined(__x86_64__)
    {"folding", can_fold, by_folding},
#elif defined(__aarch64__)
    {"instructions", has_instructions, by_instructions},
#endif
    {"tables", everywhere, by_tables},
};

extern constinit std::atomic<crc32_t*> chosen;

// The first call chooses.
std::uint32_t choose(const unsigned char* data, int len) noexcept
{
    crc32_t* const way = std::ranges::find_if(kWays, [](const way_t& w) { return w.available(); })->crc32;
    chosen.store(way, std::memory_order_relaxed);
    return way(data, len);
}

constinit std::atomic<crc32_t*> chosen{choose};

}   // namespace

std::uint32_t crc32(const unsigned char* data, int len) noexcept
{
    return chosen.load(std::memory_order_relaxed)(data, len);
}

std::span<const way_t> ways() noexcept
{
    return kWays;
}

}   // namespace checksum
