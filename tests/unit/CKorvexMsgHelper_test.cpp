// The layout of frames and how they are found. Streams of every kind, against the plain form of the rules, are inputs
// of the fuzz target.
#include "CKorvexMsgHelper.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "fakes/failing_new.h"
#include "support/plain_message_parser.h"

namespace {

const unsigned char* bytes(const std::string& text)
{
    return reinterpret_cast<const unsigned char*>(text.data());
}
unsigned size(const std::string& text)
{
    return static_cast<unsigned>(text.size());
}

std::string packed(unsigned short id, const std::string& payload, unsigned short extra = 0)
{
    std::string frame;
    CKorvexMsgHelper().Pack(bytes(payload), size(payload), id, extra, frame);
    return frame;
}

}   // namespace

TEST(KorvexMsgHelper, PackLaysOutTheFrame)
{
    struct Case {
        const char* why;
        bool null_data;
        unsigned len, length_field;
        std::size_t checksum_at;
    };
    const Case kCases[] = {
        {"no payload", true, 0, 0, 16},
        {"null payload with a length: checksum at 16, zeros behind", true, 5, 5, 16},
        {"longest", false, 65535, 65535, 65551},
        {"too long: length and checksum cover the low 16 bits", false, 65538, 2, 65554},
    };
    const std::string payload(70000, '\x5A');
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.why);
        std::string out = "what was there before";
        ASSERT_TRUE(CKorvexMsgHelper().Pack(c.null_data ? nullptr : bytes(payload), c.len, 0x1234, 0xABCD, out));
        ASSERT_EQ(c.len + 20, out.size());
        EXPECT_EQ("\xAA\x44\xCC\x10\x34\x12\xCD\xAB", out.substr(0, 8));
        EXPECT_EQ(c.length_field, (out[8] & 0xFFu) | (out[9] & 0xFFu) << 8);
        EXPECT_EQ(std::string(6, '\0'), out.substr(10, 6));
        const std::string covered = out.substr(0, 16) + (c.null_data ? std::string(c.len, '\0') : payload);
        const unsigned crc = bitwise_crc32(bytes(covered), static_cast<int>(c.length_field) + 16);
        for (int k = 0; k < 4; ++k) EXPECT_EQ(crc >> 8 * k & 0xFF, static_cast<unsigned char>(out[c.checksum_at + k]));
    }
    std::string text = packed(1, "payload");   // the payload may lie in the result
    ASSERT_TRUE(CKorvexMsgHelper().Pack(bytes(text) + 16, 7, 1, text));
    EXPECT_EQ(packed(1, "payload"), text);
    EXPECT_EQ(0x2DFD2D88u, CKorvexMsgHelper().Crc32(bytes("123456789"), 9));
}

TEST(KorvexMsgHelper, PayloadStaysUntilTheNextCallAndMayBeHandedBack)
{
    CKorvexMsgHelper helper;
    const std::string stream = packed(1, packed(2, "inner")) + "rest";
    unsigned short id = 0;
    unsigned char* payload = nullptr;
    unsigned n = 0;
    ASSERT_TRUE(helper.Parse(bytes(stream), size(stream), id, &payload, n));
    ASSERT_TRUE(helper.Parse(payload, n, id, &payload, n));   // a message that wraps another
    EXPECT_EQ(2, id);
    EXPECT_EQ("inner", std::string(reinterpret_cast<char*>(payload), n));
}

// 16 MB in pieces of 1 KB would take hours if all were searched again.
TEST(KorvexMsgHelper, GarbageIsSearchedOnce)
{
    CKorvexMsgHelper helper;
    const std::string piece(1024, '\xAA');
    unsigned short id = 0;
    unsigned char* payload = nullptr;
    unsigned n = 0;
    for (int k = 0; k < 16384; ++k) ASSERT_FALSE(helper.Parse(bytes(piece), 1024, id, &payload, n));
    const std::string frame = packed(5, "found");
    EXPECT_TRUE(helper.Parse(bytes(frame), size(frame), id, &payload, n));
    EXPECT_EQ(5, id);
}

// Candidates wherever there can be one, and among them some that fit: their checksums reach behind them, where what
// comes takes it away and back again. In every piece size they are what the plain form of the rules finds.
TEST(KorvexMsgHelper, FalseFramesHideNothing)
{
    std::mt19937 random(1);
    const auto below = [&](unsigned n) { return static_cast<unsigned>(random() % n); };
    const auto add_checksum = [](std::string& text, std::size_t from) {
        const unsigned crc = bitwise_crc32(bytes(text) + from, static_cast<int>(text.size() - from));
        for (int k = 0; k < 4; ++k) text += static_cast<char>(crc >> 8 * k);
    };
    int found = 0;
    for (int stream = 0; stream < 150; ++stream) {
        std::string text(below(2) * below(6000), '\0');   // makes the capacity greater
        const unsigned longest = stream % 50 == 0 ? 300 : 60;
        for (const std::size_t end = text.size() + 8 * longest + (stream % 25 == 5 ? 15000 : 0); text.size() < end;) {
            const auto add_header = [&](unsigned length) {
                text += "\xAA\x44\xCC";
                for (const unsigned byte : {below(256), 0u, 0u, 0u, 0u, length & 0xFF, length >> 8})
                    text += static_cast<char>(byte);
            };
            if (stream % 25 == 5) text.append(below(2) * 10000, 'x');   // quiet, until nothing is remembered
            for (unsigned n = below(30); n > 0; --n) add_header(below(longest));
            const std::size_t start = text.size();
            const unsigned length = 4 + below(longest);
            add_header(length);
            text.append(2 + length, static_cast<char>(below(3)));
            add_checksum(text, start);
            text.append(4, '\0');   // the checksum of all that and any zeros
            const std::size_t behind = text.size();
            text.append(1 + below(20), 'x');
            add_checksum(text, behind);
        }
        CKorvexMsgHelper helper;
        PlainMessageParser<> plain;
        const unsigned piece = stream % 3 == 0 ? 1 : 1 + below(2 * longest);
        for (std::size_t at = 0; at < text.size(); at += piece) {
            const std::string part = text.substr(at, piece);
            for (unsigned len = size(part);; ++found, len = 0) {
                unsigned short id = 0, plain_id = 0;
                unsigned char *payload = nullptr, *plain_payload = nullptr;
                unsigned n = 0, plain_n = 0;
                const bool more = helper.Parse(bytes(part), len, id, &payload, n);
                ASSERT_EQ(plain.Parse(bytes(part), len, plain_id, &plain_payload, plain_n), more);
                if (!more) break;
                ASSERT_EQ(std::string(plain_payload, plain_payload + plain_n), std::string(payload, payload + n));
            }
        }
    }
    EXPECT_GT(found, 100);
}

// Whichever allocation fails: what the object says it has taken in, and nothing else, is there.
TEST(KorvexMsgHelper, BytesWithoutMemoryAreCounted)
{
    const std::string outer = packed(1, packed(2, std::string(9000, 'x'))), kept = "before";
    std::uint64_t rejected = 0;
    const int allocations = fail_allocations([&] {
        CKorvexMsgHelper helper;
        unsigned short id = 0;
        unsigned char* payload = nullptr;
        unsigned n = 0;
        const bool found = helper.Parse(bytes(outer), size(outer), id, &payload, n);
        EXPECT_EQ(found ? 0 : size(outer), helper.RejectedBytes());
        if (!found) EXPECT_TRUE(helper.Parse(bytes(outer), size(outer), id, &payload, n));
        const unsigned length = n;
        const std::uint64_t before = helper.RejectedBytes();
        const bool inner = helper.Parse(payload, n, id, &payload, n);   // its own bytes, which have to be copied
        EXPECT_EQ(inner ? 2 : 1, id);
        EXPECT_EQ(before + (inner ? 0 : length), helper.RejectedBytes());
        rejected += helper.RejectedBytes();
        std::string text = kept;
        if (!helper.Pack(bytes(outer), 9000, 1, text)) EXPECT_EQ(kept, text);
    });
    EXPECT_GE(allocations, 4);
    EXPECT_GT(rejected, 0u);
}
