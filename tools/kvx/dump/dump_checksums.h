/// @file dump_checksums.h  Checksums of any stretch of a window of a file, in constant time each.
#ifndef KVX_DUMP_CHECKSUMS_H
#define KVX_DUMP_CHECKSUMS_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace kvx {

/// Keeps the checksum of everything up to each thousandth byte or so. With initial value 0 and no inversion the
/// checksum of a stretch is the difference of those at its ends, the first one moved on by the stretch's length.
/// Without this, a file made of false headers that each claim a megabyte would be summed up once for each of them.
class stretch_checksums_t {
public:
    /// Forgets everything; the stretches asked for from now on lie behind this byte of the window.
    void restart() { marks_.clear(); }

    /// @param window  bytes that have not changed since restart(), though more may have been added
    /// @param begin   first byte of the stretch
    /// @param end     byte behind its last
    /// @return CPhgLog::Crc32 of the stretch
    std::uint32_t of(const std::uint8_t* window, std::size_t begin, std::size_t end);

private:
    std::uint32_t up_to(const std::uint8_t* window, std::size_t end);

    std::vector<std::uint32_t> marks_;   // [k]: of the first k * kStep bytes
};

}   // namespace kvx

#endif
