#include <gtest/gtest.h>
#include <rtk_gnss.h>

#include "support/frame_builder.h"

namespace {
const unsigned char* bytes(const char* text)
{
    return reinterpret_cast<const unsigned char*>(text);
}
}   // namespace

TEST(Checksums, KnownValues)
{
    EXPECT_EQ(0x2DFD2D88u, crc32(bytes("123456789"), 9));
    EXPECT_EQ(0xCDE703u, crc24q(bytes("123456789"), 9));   // check value of the same parameters in LTE
    for (const int len : {0, -1}) {
        EXPECT_EQ(0u, crc32(nullptr, len));
        EXPECT_EQ(0u, crc24q(nullptr, len));
    }
}

TEST(Checksums, AFrameWithItsChecksumIsZero)
{
    const Bytes frame = range_frame({{0, 0, 5}, {1, 0, 40}}).bytes();
    EXPECT_EQ(0u, crc32(frame.data(), static_cast<int>(frame.size())));
}

TEST(BitFields, WrittenFieldsReadBackAndLeaveTheRestAlone)
{
    unsigned char before[8];
    std::memset(before, 0xA5, sizeof before);
    for (int len = 1; len <= 32; ++len) {
        for (int pos = 0; pos + len <= 64; ++pos) {
            unsigned char buff[8];
            std::memcpy(buff, before, sizeof buff);
            const unsigned value = 0x9E3779B9u * static_cast<unsigned>(len + pos);
            setbitu(buff, pos, len, value);
            ASSERT_EQ(len == 32 ? value : value & ((1u << len) - 1), getbitu(buff, pos, len));
            for (int i = 0; i < 64; ++i) {
                const bool outside = i < pos || i >= pos + len;
                ASSERT_TRUE(!outside || getbitu(before, i, 1) == getbitu(buff, i, 1));
            }
        }
    }
}

TEST(BitFields, SignsAndOddLengths)
{
    const unsigned char ones[] = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
    const unsigned char high[] = {0x80, 0, 0, 0, 0};
    EXPECT_EQ(-1, getbits(ones, 3, 5));
    EXPECT_EQ(static_cast<int>(0x80000000u), getbits(high, 0, 32));
    EXPECT_EQ(-1, getbitg(ones, 0, 2));
    EXPECT_EQ(0, getbitg(high, 0, 2));
    const unsigned char two[] = {0xC0, 0, 0, 0, 0};
    EXPECT_EQ(static_cast<int>(0x80000000u), getbitg(two, 0, 33));   // a magnitude of 32 bits
    EXPECT_EQ(-1.0, getbits_38(ones, 0));
    EXPECT_EQ(-2147483648.0 * 64, getbits_38(high, 0));
    EXPECT_EQ(0u, getbitu(ones, 0, 0));
    EXPECT_EQ(0u, getbitu(ones, 0, -3));
    EXPECT_EQ(0xFFFFFFFFu, getbitu(ones, 0, 40));

    unsigned char buff[5] = {1, 2, 3, 4, 5};
    setbitu(buff, 0, 0, 7);
    setbitu(buff, 0, 33, 7);
    EXPECT_EQ(1, buff[0]);
}
