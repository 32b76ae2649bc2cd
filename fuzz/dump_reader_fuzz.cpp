// Dump files: the items follow each other and fill the file; every record is one by the rules, told without the reader.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "dump/dump_reader.h"
#include "fuzz_check.h"
#include "support/plain_message_parser.h"

namespace {

std::uint32_t word(const std::uint8_t* bytes)
{
    std::uint32_t value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

// Gives every record its checksum, or the fuzzer would never find one.
void repair(std::vector<std::uint8_t>& file)
{
    for (std::size_t at = 0; at + 16 <= file.size(); ++at) {
        std::uint8_t* record = file.data() + at;
        if (record[0] != 0xD4 || record[1] != 0xD2 || record[2] != 0xD3) continue;
        const std::uint32_t length = word(record + 8);
        if (length > file.size() - at - 16) continue;
        const std::uint32_t crc = bitwise_crc32(record + 16, static_cast<int>(length));
        std::memcpy(record + 12, &crc, sizeof crc);
        at += length + 15;
    }
}

}   // namespace

// Byte 0: size of the pieces, 0 for one piece; byte 1: whether checksums are repaired; then the file.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 2) return 0;
    std::vector<std::uint8_t> file(data + 2, data + size);
    if ((data[1] & 1) != 0) repair(file);
    const std::size_t piece = data[0] == 0 ? file.size() + 1 : data[0];

    std::size_t at = 0;
    kvx::dump_reader_t reader([&](std::uint8_t* to, std::size_t n) {
        n = std::min({n, piece, file.size() - at});
        if (n != 0) std::memcpy(to, file.data() + at, n);
        at += n;
        return n;
    });
    std::uint64_t next = 0;
    for (kvx::dump_item_t item; reader.next(item); next += item.bytes) {
        FUZZ_CHECK(item.offset == next && item.bytes > 0);
        if (item.damage != kvx::dump_damage_t::none) continue;
        const std::uint8_t* record = file.data() + item.offset;
        FUZZ_CHECK(item.bytes == item.length + 16 && word(record + 4) == 0 && word(record + 8) == item.length);
        FUZZ_CHECK(std::memcmp(record + 16, item.payload, item.length) == 0);
        FUZZ_CHECK(word(record + 12) == bitwise_crc32(item.payload, static_cast<int>(item.length)));
        FUZZ_CHECK(item.type->length_of(item.payload) == item.length);
    }
    FUZZ_CHECK(next == file.size());
    return 0;
}
