#include "dump/dump_reader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "support/dump_records.h"

using kvx::dump_damage_t;
using testing::ElementsAre;

namespace {

struct Item {
    dump_damage_t damage;
    std::uint64_t offset, bytes;

    bool operator==(const Item&) const = default;
    friend std::ostream& operator<<(std::ostream& out, const Item& item)
    {
        return out << kvx::dump_damage_text(item.damage) << " at " << item.offset << ", " << item.bytes << " bytes";
    }
};

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
        items.push_back({item.damage, item.offset, item.bytes});
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
            for (const Item& item : items_of(whole + record + whole, 7)) {
                EXPECT_NE(dump_damage_t::torn, item.damage);
                kept += item.damage == dump_damage_t::none;
                skipped += item.damage == dump_damage_t::none ? 0 : item.bytes;
            }
            record[bit / 8] ^= static_cast<char>(1 << bit % 8);
            ASSERT_EQ(4u, kept) << bit;
            ASSERT_EQ(record.size(), skipped) << bit;
        }
    }
}

TEST(dump_reader_t, TornEndOfEveryLengthIsTold)
{
    const std::string first = dump_record(kPhgReset, "\1"), last = dump_record(kPhgImu, filled(52, 1));
    for (std::size_t left = 1; left < last.size(); ++left) {
        EXPECT_THAT(items_of(first + last.substr(0, left)),
                    ElementsAre(Item{dump_damage_t::none, 0, 17}, Item{dump_damage_t::torn, 17, left}));
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

TEST(dump_reader_t, LongestRecordIsFoundBehindDamage)
{
    const std::string longest = frame_record(65535);
    for (const std::string& damage : {std::string(), std::string("x"), std::string(300000, '\xD4')}) {
        std::string file = damage;
        for (int k = 0; k < 3; ++k) file += longest + damage;
        std::uint64_t records = 0;
        for (const Item& item : items_of(file, 65536)) records += item.damage == dump_damage_t::none;
        EXPECT_EQ(3u, records);
    }
}

// Headers that each claim the longest payload, as close together as they can be: summed up one by one, these four
// megabytes would be 270 GB.
TEST(dump_reader_t, FalseHeadersCostLittle)
{
    std::string file;
    const std::string header = frame_record(65535).substr(0, 15) + "?";
    while (file.size() < 4000000) file += header;
    EXPECT_THAT(items_of(file), ElementsAre(Item{dump_damage_t::bad_checksum, 0, file.size()}));
}
