/// @file dump_reader.h  Records of a dump file, and what lies damaged between them.
#ifndef KVX_DUMP_READER_H
#define KVX_DUMP_READER_H

#include <CPhgLog.h>
#include <rtk_gnss.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "dump/dump_types.h"
#include "stretch_checksums.h"

namespace kvx {

/// Why bytes are not a record.
enum class dump_damage_t {
    none,
    no_sync,      ///< no record starts there
    bad_header,   ///< the reserved bytes are not zero
    bad_length,   ///< the length does not go with the type, the payload's count or the file's end
    bad_checksum,
    unknown_type,   ///< whole and right but for its type
    torn,           ///< the file ends inside
};

const char* dump_damage_text(dump_damage_t damage);

/// A record, or a stretch of bytes that belongs to none.
struct dump_item_t {
    dump_damage_t damage;          ///< none: a record
    std::uint64_t offset;          ///< first byte in the file
    std::uint64_t bytes;           ///< header and payload, or bytes skipped
    const dump_type_t* type;       ///< records only, as what follows
    const std::uint8_t* payload;   ///< until the next item is read
    std::uint32_t length;
};

/// CRC-32 of so many bytes, as CPhgLog::Crc32 has it.
inline std::uint32_t dump_checksum(const std::uint8_t* bytes, std::size_t n)
{
    return crc32(bytes, static_cast<int>(n));
}

/// Reads a dump from its start to its end. Every byte is in exactly one item. Holds one record of the longest kind at
/// most, and takes time in proportion to the file whatever it contains.
class dump_reader_t {
public:
    /// Writes up to n bytes, as many as there are, and returns how many; 0 at the end.
    using Source = std::function<std::size_t(std::uint8_t* to, std::size_t n)>;

    /// @param piece  bytes asked for at once
    explicit dump_reader_t(Source source, std::size_t piece = 64 * 1024);

    /// @return false at the end of the file
    bool next(dump_item_t& item);

private:
    bool fill(std::size_t n);
    void skip(std::size_t n);
    void find_sync();
    dump_damage_t check();
    dump_damage_t check_header(const LogKvx_tag& head);
    bool checksum_agrees(const LogKvx_tag& head);
    std::size_t held() const { return end_ - begin_; }
    const std::uint8_t* front() const { return window_.data() + begin_; }

    Source source_;
    std::size_t piece_;
    std::vector<std::uint8_t> window_;
    std::size_t begin_ = 0, end_ = 0;                            // of the bytes held in the window
    std::uint64_t offset_ = 0;                                   // of begin_ in the file
    std::size_t pending_ = 0;                                    // bytes of the item handed out last
    bool at_end_ = false;                                        // of the source
    stretch_checksums_t<dump_checksum, 1024, 2048> checksums_;   // positions are those in the window
    static_assert(1024 * 2048 > kMaxDumpPayload + 1024);
};

}   // namespace kvx

#endif
