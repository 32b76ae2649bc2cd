// Big-endian bit fields of navigation subframes.
#include "rtk_gnss.h"

unsigned int getbitu(const unsigned char* buff, int pos, int len)
{
    unsigned int bits = 0;
    for (int i = pos; i < pos + len; ++i) bits = bits << 1 | (buff[i / 8] >> (7 - i % 8) & 1u);
    return bits;
}

int getbits(const unsigned char* buff, int pos, int len)
{
    const unsigned int bits = getbitu(buff, pos, len);
    if (len < 1 || len > 31 || (bits >> (len - 1) & 1u) == 0) return static_cast<int>(bits);
    return static_cast<int>(bits | ~0u << len);
}

int getbitg(const unsigned char* buff, int pos, int len)
{
    const unsigned int magnitude = getbitu(buff, pos + 1, len - 1);
    return static_cast<int>(getbitu(buff, pos, 1) != 0 ? 0u - magnitude : magnitude);
}

double getbits_38(const unsigned char* buff, int pos)
{
    return static_cast<double>(getbits(buff, pos, 32)) * 64.0 + getbitu(buff, pos + 32, 6);
}

void setbitu(unsigned char* buff, int pos, int len, unsigned int data)
{
    if (len < 1 || len > 32) return;
    for (int i = pos + len - 1; i >= pos; --i, data >>= 1) {
        const unsigned int mask = 1u << (7 - i % 8);
        buff[i / 8] = static_cast<unsigned char>((data & 1u) != 0 ? buff[i / 8] | mask : buff[i / 8] & ~mask);
    }
}
