// CRC-32 of the receiver log and CRC-24Q.
#include <array>
#include <cstdint>

#include "gnss/foundation/crc32.h"
#include "rtk_gnss.h"

namespace {

constexpr std::uint32_t kPolynomial24 = 0x864CFB;

using table_t = std::array<std::uint32_t, 256>;

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

constexpr auto kCrc24q = make_crc24q_table();

}   // namespace

unsigned int crc32(const unsigned char* data, int len)
{
    return checksum::crc32(data, len);
}

unsigned int crc24q(const unsigned char* data, int len)
{
    std::uint32_t crc = 0;
    for (; len > 0; --len, ++data) crc = (crc << 8 & 0xFFFF00) ^ kCrc24q[*data ^ crc >> 16];
    return crc;
}
