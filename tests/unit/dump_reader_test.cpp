#include "dump/dump_reader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
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

std::string frame_payload(unsigned count)
{
    std::string payload = filled(32 + 24 * (count > 1 ? count - 1 : 0), 5);
    payload[6] = static_cast<char>(count & 0xFF);
    payload[7] = static_cast<char>(count >> 8);
    return payload;
}

std::string fusion_payload(unsigned char count)
{
    std::string payload = filled(88 + 32 * std::size_t{count}, 3);
    payload[5] = static_cast<char>(count);
    return payload;
}

// One record of every type and length rule.
std::vector<std::string> reference_records()
{
    return {dump_record(kPhgHardwareConfig, filled(24, 1)),
            dump_record(kPhgConfig, filled(88, 2)),
            dump_record(kPhgMeasureStat, "\1"),
            dump_record(kPhgFusionData, fusion_payload(2)),
            dump_record(kPhgCalibRequest, filled(32, 4)),
            dump_record(kPhgFrameData, frame_payload(0)),
            dump_record(kPhgFrameData, frame_payload(1)),
            dump_record(kPhgFrameData, frame_payload(4)),
            dump_record(kPhgReset, "\1"),
            dump_record(kPhgVisualOdometer, std::string(4, '\0')),
            dump_record(kPhgGnss, filled(128, 6)),
            dump_record(kPhgImu, std::string(52, '\0'))};
}

std::string joined(const std::vector<std::string>& records)
{
    std::string file;
    for (const std::string& record : records) file += record;
    return file;
}

}   // namespace

TEST(dump_reader_t, WholeFileIsRecordsOnly)
{
    const std::string file = joined(reference_records());
    for (const std::size_t piece : {std::size_t{1}, std::size_t{7}, file.size()}) {
        const auto items = items_of(file, piece);
        EXPECT_EQ(reference_records().size(), items.size());
        for (const Item& item : items) EXPECT_EQ(dump_damage_t::none, item.damage);
    }
    EXPECT_TRUE(items_of("").empty());
}

// The header is outside the checksum: its flips have to show by themselves.
TEST(dump_reader_t, EveryBitFlipCostsItsRecordAndNoOther)
{
    const auto records = reference_records();
    std::size_t flips = 0;
    for (std::size_t hit = 0; hit < records.size(); ++hit) {
        const std::string before = joined({records.begin(), records.begin() + static_cast<std::ptrdiff_t>(hit)});
        const std::string behind = joined({records.begin() + static_cast<std::ptrdiff_t>(hit) + 1, records.end()});
        for (std::size_t bit = 0; bit < 8 * records[hit].size(); ++bit, ++flips) {
            SCOPED_TRACE(std::to_string(hit) + ", bit " + std::to_string(bit));
            std::string broken = records[hit];
            broken[bit / 8] ^= static_cast<char>(1 << bit % 8);
            std::uint64_t skipped = 0;
            std::size_t kept = 0;
            for (const Item& item : items_of(before + broken + behind)) {
                EXPECT_NE(dump_damage_t::torn, item.damage);
                if (item.damage == dump_damage_t::none)
                    ++kept;
                else
                    skipped += item.bytes;
            }
            ASSERT_EQ(records.size() - 1, kept);
            ASSERT_EQ(broken.size(), skipped);
        }
    }
    EXPECT_EQ(8 * joined(records).size(), flips);
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
        {"zeros", std::string(5000, '\0'), dump_damage_t::no_sync},
        {"reserved byte", with(imu, 4, "\1"), dump_damage_t::bad_header},
        {"length 0", with(imu, 8, std::string(4, '\0')), dump_damage_t::bad_length},
        {"length -1", with(imu, 8, "\xFF\xFF\xFF\xFF"), dump_damage_t::bad_length},
        {"length 2^31 - 1", with(imu, 8, "\xFF\xFF\xFF\x7F"), dump_damage_t::bad_length},
        {"length beyond the file", with(dump_record(49, frame_payload(1)), 8, std::string("\x20\xD0\x07\0", 4)),
         dump_damage_t::bad_length},
        {"count against length", dump_record(kPhgFrameData, frame_payload(3).replace(6, 1, "\4")),
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
    const std::string longest = dump_record(kPhgFrameData, frame_payload(65535));
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
    const std::string header = dump_record(kPhgFrameData, frame_payload(65535)).substr(0, 15) + "?";
    while (file.size() < 4000000) file += header;
    EXPECT_THAT(items_of(file), ElementsAre(Item{dump_damage_t::bad_checksum, 0, file.size()}));
}

TEST(stretch_checksums_t, AgreeWithTheSumOfTheBytes)
{
    std::mt19937 random(7);
    std::string window(20000, '\0');
    for (char& byte : window) byte = static_cast<char>(random());
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(window.data());
    kvx::stretch_checksums_t checksums;
    for (int k = 0; k < 300; ++k) {
        const std::size_t end = random() % (window.size() + 1), begin = random() % (end + 1);
        EXPECT_EQ(bitwise_crc32(bytes + begin, static_cast<int>(end - begin)), checksums.of(bytes, begin, end));
    }
}
