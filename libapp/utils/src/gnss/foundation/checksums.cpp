// CRC-32 of the receiver log and CRC-24Q.
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

#include "rtk_gnss.h"

static_assert(std::endian::native == std::endian::little, "words are loaded as they lie in memory");

namespace {

constexpr std::uint32_t kPolynomial32 = 0xEDB88320;   // reflected
constexpr std::uint32_t kPolynomial24 = 0x864CFB;
constexpr int kSlices = 16;

using table_t = std::array<std::uint32_t, 256>;

// Table k advances a byte by k further zero bytes, so that sixteen bytes are looked up independently.
constexpr std::array<table_t, kSlices> make_crc32_tables()
{
    std::array<table_t, kSlices> tables{};
    for (std::uint32_t byte = 0; byte < 256; ++byte) {
        std::uint32_t crc = byte;
        for (int bit = 0; bit < 8; ++bit) crc = (crc & 1) != 0 ? crc >> 1 ^ kPolynomial32 : crc >> 1;
        tables[0][byte] = crc;
    }
    for (int k = 1; k < kSlices; ++k) {
        for (int byte = 0; byte < 256; ++byte) {
            const std::uint32_t before = tables[k - 1][byte];
            tables[k][byte] = before >> 8 ^ tables[0][before & 0xFF];
        }
    }
    return tables;
}

constexpr table_t make_crc24q_table()
{
    table_t table{};
    for (std::uint32_t byte = 0; byte < 256; ++byte) {
        std::uint32_t crc = byte << 16;
        for (int bit = 0; bit < 8; ++bit) crc = (crc & 0x800000) != 0 ? crc << 1 ^ kPolynomial24 : crc << 1;
        table[byte] = crc & 0xFFFFFF;
    }
    return table;
}

constexpr auto kCrc32 = make_crc32_tables();
constexpr auto kCrc24q = make_crc24q_table();

std::uint32_t load_u32(const unsigned char* p)
{
    std::uint32_t word;
    std::memcpy(&word, p, sizeof word);
    return word;
}

// Four bytes of a word, the last of which has `behind` bytes of its block after it.
std::uint32_t slice(std::uint32_t word, int behind)
{
    return kCrc32[behind + 3][word & 0xFF] ^ kCrc32[behind + 2][word >> 8 & 0xFF] ^
           kCrc32[behind + 1][word >> 16 & 0xFF] ^ kCrc32[behind][word >> 24];
}

}   // namespace

unsigned int crc32(const unsigned char* data, int len)
{
    std::uint32_t crc = 0;
    for (; len >= kSlices; len -= kSlices, data += kSlices) {
        crc = slice(load_u32(data) ^ crc, 12) ^ slice(load_u32(data + 4), 8) ^ slice(load_u32(data + 8), 4) ^
              slice(load_u32(data + 12), 0);
    }
    for (; len > 0; --len, ++data) crc = crc >> 8 ^ kCrc32[0][(crc ^ *data) & 0xFF];
    return crc;
}

unsigned int crc24q(const unsigned char* data, int len)
{
    std::uint32_t crc = 0;
    for (; len > 0; --len, ++data) crc = (crc << 8 & 0xFFFF00) ^ kCrc24q[*data ^ crc >> 16];
    return crc;
}
