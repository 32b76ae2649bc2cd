#include "dump/dump_reader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "support/dump_records.h"

using kvx::dump_damage_t;
using testing::ElementsAre;

namespace {

// What lies at an offset, and how many bytes.
using Item = std::tuple<dump_damage_t, std::uint64_t, std::uint64_t>;

// All items of a file that arrives in pieces of at most that size. They follow each other and fill the file.
std::vector<Item> items_of(const std::string& file, std::size_t piece = SIZE_MAX)
{
    std::size_t at = 0;
    kvx::dump_reader_t reader([&](std::uint8_t* to, std::size_t n) {
        n = std::min({n, piece, file.size() - at});
        std::memcpy(to, file.data() + at, n);
        at += n;
        return n;
    });
    std::vector<Item> items;
    std::uint64_t next = 0;
    for (kvx::dump_item_t item; reader.next(item); next += item.bytes) {
        EXPECT_EQ(next, item.offset);
        EXPECT_GT(item.bytes, 0u);
        if (item.damage == dump_damage_t::none) {
            EXPECT_EQ(item.bytes, item.length + 16);
            EXPECT_EQ(0, file.compare(item.offset + 16, item.length, reinterpret_cast<const char*>(item.payload),
                                      item.length));
        }
        items.emplace_back(item.damage, item.offset, item.bytes);
    }
    EXPECT_EQ(file.size(), next);
    return items;
}

std::string filled(std::size_t size, int seed)
{
    std::string payload(size, '\0');
    for (std::size_t k = 0; k < size; ++k) payload[k] = static_cast<char>(k * 31 + seed);
    return payload;
}

std::string frame_record(unsigned count)
{
    std::string payload = filled(32 + 24 * (count - 1), 5);
    payload[6] = static_cast<char>(count & 0xFF);
    payload[7] = static_cast<char>(count >> 8);
    return dump_record(kPhgFrameData, payload);
}

}   // namespace

// The header is outside the checksum: its flips have to show by themselves.
TEST(dump_reader_t, EveryBitFlipCostsItsRecordAndNoOther)
{
    const std::string whole = dump_record(kPhgReset, "\1") + frame_record(4);
    for (std::string record : {dump_record(kPhgMeasureStat, "\1"), frame_record(1), frame_record(3),
                               dump_record(kPhgImu, std::string(52, '\0')), dump_record(kPhgGnss, filled(128, 6))}) {
        for (std::size_t bit = 0; bit < 8 * record.size(); ++bit) {
            record[bit / 8] ^= static_cast<char>(1 << bit % 8);
            std::uint64_t skipped = 0;
            std::size_t kept = 0;
            for (const auto& [damage, offset, bytes] : items_of(whole + record + whole, 7)) {
                EXPECT_NE(dump_damage_t::torn, damage);
                kept += damage == dump_damage_t::none;
                skipped += damage == dump_damage_t::none ? 0 : bytes;
            }
            record[bit / 8] ^= static_cast<char>(1 << bit % 8);
            ASSERT_EQ(4u, kept) << bit;
            ASSERT_EQ(record.size(), skipped) << bit;
        }
    }
}

TEST(dump_reader_t, DamageIsNamedAndSteppedOver)
{
    const std::string reset = dump_record(kPhgReset, "\1"), imu = dump_record(kPhgImu, filled(52, 1));
    const auto with = [](std::string record, std::size_t at, const std::string& bytes) {
        return record.replace(at, bytes.size(), bytes);
    };
    const struct {
        const char* why;
        std::string damage;
        dump_damage_t kind;
    } cases[] = {
        {"text", "not a record", dump_damage_t::no_sync},
        {"reserved byte", with(imu, 4, "\1"), dump_damage_t::bad_header},
        {"length 0", with(imu, 8, std::string(4, '\0')), dump_damage_t::bad_length},
        {"length 2^31 - 1", with(imu, 8, "\xFF\xFF\xFF\x7F"), dump_damage_t::bad_length},
        {"length beyond the file", with(frame_record(1), 8, std::string("\x20\xD0\x07\0", 4)),
         dump_damage_t::bad_length},
        {"count against length", dump_record(kPhgFrameData, with(frame_record(3).substr(16), 6, "\4")),
         dump_damage_t::bad_length},
        {"checksum", with(imu, 30, "?"), dump_damage_t::bad_checksum},
        {"unknown type, a record in its payload", dump_record(99, imu), dump_damage_t::unknown_type},
        {"first half of a record", imu.substr(0, 34), dump_damage_t::bad_checksum},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        EXPECT_THAT(items_of(reset + c.damage + imu + reset),
                    ElementsAre(Item{dump_damage_t::none, 0, 17}, Item{c.kind, 17, c.damage.size()},
                                Item{dump_damage_t::none, 17 + c.damage.size(), 68},
                                Item{dump_damage_t::none, 85 + c.damage.size(), 17}));
    }
}

// Headers that each claim the longest payload, as close together as they can be: summed up one by one, these four
// megabytes would be 270 GB. A long record behind them is found.
TEST(dump_reader_t, FalseHeadersCostLittle)
{
    std::string file;
    const std::string header = frame_record(65535).substr(0, 15) + "?";
    while (file.size() < 4000000) file += header;
    const std::string frame = frame_record(400);
    EXPECT_THAT(items_of(file + frame), ElementsAre(Item{dump_damage_t::bad_checksum, 0, file.size()},
                                                    Item{dump_damage_t::none, file.size(), frame.size()}));
}
