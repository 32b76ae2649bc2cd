/// @file stretch_checksums.h  Checksums of any stretch of a stream, in constant time each.
///
/// For those who look for records by their checksums: without this, bytes made of false headers that each claim a long
/// record would be summed up once for each of them.
#ifndef RTK_STRETCH_CHECKSUMS_H
#define RTK_STRETCH_CHECKSUMS_H

#include <array>
#include <cstddef>
#include <cstdint>

// CRC-32 with initial value 0 and no inversion, as a polynomial.
namespace crc {

constexpr std::uint32_t kPolynomial = 0xEDB88320;   // reflected: the highest bit is the coefficient of x^0

// [k]: of each byte with k zero bytes behind it.
constexpr auto kSlices = [] {
    std::array<std::array<std::uint32_t, 256>, 4> slices{};
    for (std::uint32_t byte = 0; byte < 256; ++byte) {
        std::uint32_t crc = byte;
        for (int bit = 0; bit < 8; ++bit) crc = (crc & 1) != 0 ? crc >> 1 ^ kPolynomial : crc >> 1;
        slices[0][byte] = crc;
    }
    for (std::size_t k = 1; k < slices.size(); ++k) {
        for (std::size_t byte = 0; byte < 256; ++byte) {
            const std::uint32_t before = slices[k - 1][byte];
            slices[k][byte] = before >> 8 ^ slices[0][before & 0xFF];
        }
    }
    return slices;
}();

// Four bytes further: the first of them is the lowest of the word.
constexpr std::uint32_t of_word(std::uint32_t word)
{
    return kSlices[3][word & 0xFF] ^ kSlices[2][word >> 8 & 0xFF] ^ kSlices[1][word >> 16 & 0xFF] ^
           kSlices[0][word >> 24];
}

// Product of two polynomials modulo that of the checksum. Integers with every fourth bit are multiplied: what they
// carry stays in the gaps.
constexpr std::uint32_t product(std::uint32_t a, std::uint32_t b)
{
    constexpr std::uint64_t kEveryFourth = 0x1111111111111111;
    const std::uint64_t a0 = a & kEveryFourth, a1 = a & kEveryFourth << 1, a2 = a & kEveryFourth << 2,
                        a3 = a & kEveryFourth << 3;
    const std::uint64_t b0 = b & kEveryFourth, b1 = b & kEveryFourth << 1, b2 = b & kEveryFourth << 2,
                        b3 = b & kEveryFourth << 3;
    const std::uint64_t wide = ((a0 * b0 ^ a1 * b3 ^ a2 * b2 ^ a3 * b1) & kEveryFourth) |
                               ((a0 * b1 ^ a1 * b0 ^ a2 * b3 ^ a3 * b2) & kEveryFourth << 1) |
                               ((a0 * b2 ^ a1 * b1 ^ a2 * b0 ^ a3 * b3) & kEveryFourth << 2) |
                               ((a0 * b3 ^ a1 * b2 ^ a2 * b1 ^ a3 * b0) & kEveryFourth << 3);
    return static_cast<std::uint32_t>(wide >> 31) ^ of_word(static_cast<std::uint32_t>(wide << 1));
}

// [d][k]: x to the power of 8 * k * 1024^d, which moves a checksum on by k * 1024^d zero bytes.
constexpr int kDigit = 10;   // bits
constexpr auto kPowers = [] {
    std::array<std::array<std::uint32_t, 1 << kDigit>, 3> powers{};
    std::uint32_t step = 0x80000000 >> 8;
    for (auto& digit : powers) {
        digit[0] = 0x80000000;
        for (std::size_t k = 1; k < digit.size(); ++k) digit[k] = product(digit[k - 1], step);
        step = product(digit.back(), step);
    }
    return powers;
}();

// By so many zero bytes, less than 2^30.
constexpr std::uint32_t moved_on(std::uint32_t crc, std::size_t bytes)
{
    for (std::size_t digit = 0; bytes != 0; ++digit, bytes >>= kDigit) {
        const std::size_t k = bytes & ((1 << kDigit) - 1);
        if (k != 0) crc = product(crc, kPowers[digit][k]);
    }
    return crc;
}

}   // namespace crc

/// Bytes of a stream that are in memory.
struct stretch_t {
    const std::uint8_t* bytes;
    std::uint64_t begin, end;   ///< their positions in the stream

    const std::uint8_t* at(std::uint64_t position) const { return bytes + (position - begin); }
};

/// Keeps the checksum of everything up to each kStep-th byte of the last kStep * kMarks. The checksum of a stretch is
/// the difference of those at its ends, the first one moved on by the stretch's length. A plain object: it may be
/// copied byte by byte.
/// @tparam kChecksum  of many bytes; few are summed up here
template <std::uint32_t (*kChecksum)(const std::uint8_t* bytes, std::size_t n), std::size_t kStep, std::size_t kMarks>
class stretch_checksums_t {
public:
    /// Forgets everything; what is asked for from now on lies behind this byte.
    void restart(std::uint64_t position) { first_ = last_ = {position, 0}; }

    /// Checksum of what lies between the byte of the restart and this one.
    /// @param held  in memory: all that had not been left when last asked
    std::uint32_t up_to(const stretch_t& held, std::uint64_t end)
    {
        while (last_.position < end) {
            const std::uint64_t mark = last_.position - last_.position % kStep + kStep;
            const std::uint64_t next = mark < end ? mark : end;
            last_ = {next, continued(last_.crc, held.at(last_.position), next - last_.position)};
            if (next == mark) marks_[mark / kStep % kMarks] = last_.crc;
        }
        if (end == last_.position) return last_.crc;
        const std::uint64_t mark = end - end % kStep;
        const point_t from = mark <= first_.position ? first_ : point_t{mark, marks_[mark / kStep % kMarks]};
        return continued(from.crc, held.at(from.position), end - from.position);
    }

    /// Of the bytes from one position to another, which lie less than 1 GiB and kStep * kMarks apart.
    std::uint32_t of(const stretch_t& held, std::uint64_t begin, std::uint64_t end)
    {
        return crc::moved_on(up_to(held, begin), end - begin) ^ up_to(held, end);
    }

    /// The bytes before this one are about to go.
    void leave(const stretch_t& held, std::uint64_t position) { first_ = {position, up_to(held, position)}; }

private:
    struct point_t {
        std::uint64_t position;
        std::uint32_t crc;
    };

    static std::uint32_t continued(std::uint32_t crc, const std::uint8_t* bytes, std::size_t n)
    {
        constexpr std::size_t kFew = 64;
        if constexpr (kStep > kFew) {
            if (n > kFew) return crc::moved_on(crc, n) ^ kChecksum(bytes, n);
        }
        for (; n >= 4; n -= 4, bytes += 4) {
            crc = crc::of_word(crc ^ (bytes[0] | bytes[1] << 8 | bytes[2] << 16 | std::uint32_t{bytes[3]} << 24));
        }
        for (; n > 0; --n) crc = crc >> 8 ^ crc::kSlices[0][(crc ^ *bytes++) & 0xFF];
        return crc;
    }

    point_t first_, last_;   // nothing before the first is asked for, and what lies before the last is known
    std::array<std::uint32_t, kMarks> marks_;
};

#endif
