// Dump files: the items follow each other and fill the file; every record is one by the rules, told without the reader.
// Input: size of the pieces by fours, 0: of one byte; file.
#include <rtk_gnss.h>

#include "dump/dump_reader.h"
#include "fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    bytes_t input(data, size);
    const std::size_t piece = std::max(take<std::uint8_t>(input) * 4, 1);
    const bytes_t file = input;
    kvx::dump_reader_t reader(
        [&](std::uint8_t* to, std::size_t n) {
            n = std::min({n, piece, input.size()});
            if (n != 0) std::memcpy(to, input.data(), n);
            input = input.subspan(n);
            return n;
        },
        piece + 1);
    std::uint64_t next = 0;
    for (kvx::dump_item_t item; reader.next(item); next += item.bytes) {
        FUZZ_CHECK(item.offset == next && item.bytes > 0);
        if (item.damage != kvx::dump_damage_t::none) continue;
        bytes_t record = file.subspan(item.offset);
        const auto head = take<LogKvx_tag>(record);
        FUZZ_CHECK(item.bytes == item.length + sizeof head && head.length == item.length && head.reserved == 0);
        FUZZ_CHECK(std::memcmp(record.data(), item.payload, item.length) == 0);
        FUZZ_CHECK(head.crc == crc32(item.payload, static_cast<int>(item.length)));
        FUZZ_CHECK(item.type->length_of(item.payload) == item.length);
    }
    FUZZ_CHECK(next == file.size());
    return 0;
}
