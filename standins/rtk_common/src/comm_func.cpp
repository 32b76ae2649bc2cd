#include "rtkcommon/comm_func.h"

#include <cstdint>

#include "gnss/foundation/crc32.h"

unsigned int CCommFunc::Crc32(const unsigned char* data, int len, unsigned int poly) noexcept
{
    if (poly == checksum::kPolynomial) return checksum::crc32(data, len);
    std::uint32_t crc = 0;
    for (; len > 0; --len, ++data) {
        crc ^= *data;
        for (int bit = 0; bit < 8; ++bit) crc = (crc & 1) != 0 ? crc >> 1 ^ poly : crc >> 1;
    }
    return crc;
}
