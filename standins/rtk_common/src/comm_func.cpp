#include "rtkcommon/comm_func.h"

#include <array>
#include <cstdint>
#include <cstring>

namespace {

constexpr std::uint32_t kPolynomial = 0xEDB88320;
constexpr int kSlices = 16;

// Row k is the checksum of a byte followed by k zero bytes, so that sixteen bytes are looked up independently.
using tables_t = std::array<std::array<std::uint32_t, 256>, kSlices>;

constexpr std::uint32_t shift_bits(std::uint32_t crc, std::uint32_t poly)
{
    for (int bit = 0; bit < 8; ++bit) crc = (crc & 1) != 0 ? crc >> 1 ^ poly : crc >> 1;
    return crc;
}

constexpr tables_t make_tables()
{
    tables_t tables{};
    for (std::uint32_t byte = 0; byte < 256; ++byte) {
        tables[0][byte] = shift_bits(byte, kPolynomial);
        for (int k = 1; k < kSlices; ++k) tables[k][byte] = shift_bits(tables[k - 1][byte], kPolynomial);
    }
    return tables;
}

constexpr tables_t kTables = make_tables();

std::uint32_t word_at(const unsigned char* p)
{
    std::uint32_t word;
    std::memcpy(&word, p, sizeof word);   // little-endian, as the device is
    return word;
}

// Four bytes with `behind` bytes of their block after them.
std::uint32_t slice(std::uint32_t word, int behind)
{
    return kTables[behind + 3][word & 0xFF] ^ kTables[behind + 2][word >> 8 & 0xFF] ^
           kTables[behind + 1][word >> 16 & 0xFF] ^ kTables[behind][word >> 24];
}

}   // namespace

unsigned int CCommFunc::Crc32(const unsigned char* data, int len, unsigned int poly) noexcept
{
    std::uint32_t crc = 0;
    if (poly != kPolynomial) {
        for (; len > 0; --len) crc = shift_bits(crc ^ *data++, poly);
        return crc;
    }
    for (; len >= kSlices; len -= kSlices, data += kSlices) {
        crc = slice(word_at(data) ^ crc, 12) ^ slice(word_at(data + 4), 8) ^ slice(word_at(data + 8), 4) ^
              slice(word_at(data + 12), 0);
    }
    for (; len >= 4; len -= 4, data += 4) crc = slice(word_at(data) ^ crc, 0);
    for (; len > 0; --len) crc = crc >> 8 ^ kTables[0][(crc ^ *data++) & 0xFF];
    return crc;
}
