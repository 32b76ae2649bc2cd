#include "dump/dump_checksums.h"

#include <CPhgLog.h>

#include <array>

namespace kvx {
namespace {

constexpr std::size_t kStep = 1024;
constexpr std::uint32_t kPolynomial = 0xEDB88320;   // reflected: the highest bit is the coefficient of x^0

// Product of two polynomials modulo the checksum's.
constexpr std::uint32_t multiply(std::uint32_t a, std::uint32_t b)
{
    std::uint32_t product = 0;
    for (; a != 0; a <<= 1) {
        if ((a & 0x80000000) != 0) product ^= b;
        b = (b & 1) != 0 ? b >> 1 ^ kPolynomial : b >> 1;
    }
    return product;
}

// [k]: x to the power of 8 * 2^k, which moves a checksum on by 2^k zero bytes.
constexpr auto kPowers = [] {
    std::array<std::uint32_t, 32> powers{};
    powers[0] = 0x80000000 >> 8;
    for (std::size_t k = 1; k < powers.size(); ++k) powers[k] = multiply(powers[k - 1], powers[k - 1]);
    return powers;
}();

std::uint32_t moved_on(std::uint32_t crc, std::size_t bytes)
{
    for (std::size_t k = 0; bytes != 0; ++k, bytes >>= 1) {
        if ((bytes & 1) != 0) crc = multiply(crc, kPowers[k]);
    }
    return crc;
}

std::uint32_t crc_of(const std::uint8_t* bytes, std::size_t n)
{
    return CPhgLog::Crc32(bytes, static_cast<int>(n));
}

}   // namespace

std::uint32_t stretch_checksums_t::up_to(const std::uint8_t* window, std::size_t end)
{
    if (marks_.empty()) marks_.push_back(0);
    while (marks_.size() <= end / kStep) {
        const std::size_t at = (marks_.size() - 1) * kStep;
        marks_.push_back(moved_on(marks_.back(), kStep) ^ crc_of(window + at, kStep));
    }
    const std::size_t mark = end / kStep;
    return moved_on(marks_[mark], end % kStep) ^ crc_of(window + mark * kStep, end % kStep);
}

std::uint32_t stretch_checksums_t::of(const std::uint8_t* window, std::size_t begin, std::size_t end)
{
    return moved_on(up_to(window, begin), end - begin) ^ up_to(window, end);
}

}   // namespace kvx
