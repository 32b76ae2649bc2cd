#include "CKorvexMsgHelper.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

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

// A frame with another header length than 16, right by the parser's rule when `behind` and zeros follow it. The
// checksum may cover its own place: crc = f(crc), where f is linear but for a constant, is solved bit by bit.
std::string odd_frame(unsigned char header_length, const std::string& payload, const std::string& behind)
{
    std::string frame = packed(7, payload) + behind + std::string(300, '\0');
    frame[3] = static_cast<char>(header_length);
    const std::size_t place = 16 + payload.size();
    const auto checksum_with = [&](unsigned crc) {
        for (int k = 0; k < 4; ++k) frame[place + k] = static_cast<char>(crc >> 8 * k & 0xFF);
        return bitwise_crc32(bytes(frame), header_length + static_cast<int>(payload.size()));
    };
    struct Row {
        unsigned moves, by;   // setting the bits `by` changes crc + f(crc) in the bits `moves`
    };
    const unsigned constant = checksum_with(0);
    std::vector<Row> rows;
    unsigned missing = constant, crc = 0;
    for (int bit = 0; bit < 32; ++bit) {
        Row row = {1u << bit ^ checksum_with(1u << bit) ^ constant, 1u << bit};
        for (const Row& r : rows) {
            if ((row.moves ^ r.moves) < row.moves) row = {row.moves ^ r.moves, row.by ^ r.by};
        }
        if (row.moves != 0) rows.push_back(row);
        std::sort(rows.begin(), rows.end(), [](const Row& a, const Row& b) { return a.moves > b.moves; });
    }
    for (const Row& r : rows) {
        if ((missing ^ r.moves) < missing) missing ^= r.moves, crc ^= r.by;
    }
    checksum_with(crc);
    return frame.substr(0, place + 4);
}

// Everything a caller sees: one line per call, and one for each frame.
template <class Parser>
std::vector<std::string> account(Parser& parser, const std::string& stream, const std::vector<std::size_t>& pieces)
{
    std::vector<std::string> seen;
    std::size_t at = 0;
    for (const std::size_t size : pieces) {
        const auto* data = bytes(stream) + at;
        auto len = static_cast<unsigned>(std::min(size, stream.size() - at));
        at += len;
        unsigned short id = 0;
        unsigned char* payload = nullptr;
        unsigned n = 0;
        while (parser.Parse(data, len, id, &payload, n)) {
            seen.push_back(std::to_string(at) + ": " + std::to_string(id) + (payload == nullptr ? " null " : " ") +
                           std::string(reinterpret_cast<char*>(payload), payload == nullptr ? 0 : n));
            data = nullptr;
            len = 0;
        }
    }
    return seen;
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

TEST(KorvexMsgHelper, ParseFindsFramesInTheStream)
{
    struct Case {
        const char* why;
        std::string stream;
        std::vector<std::size_t> pieces;
        std::vector<std::string> seen;
    };
    const std::string one = packed(1, "first"), two = packed(2, "second");
    // The last frame ends where 4096 bytes end; its checksum would reach behind them until more bytes are taken in.
    const std::string at_capacity = std::string(4096 - 27, 'g') + odd_frame(255, "payload", "");
    const Case kCases[] = {
        {"split in three", one, {10, 10, 5}, {"25: 1 first"}},
        {"two in one piece", one + two, {1000}, {"51: 1 first", "51: 2 second"}},
        {"checksum over bytes that come later",
         odd_frame(40, "payload", std::string(30, 'b')) + std::string(30, 'b'),
         {27, 10, 20},
         {"57: 7 payload"}},
        {"checksum inside the capacity", at_capacity + std::string(250, '\0'), {4096, 1, 249}, {"4346: 7 payload"}},
    };
    for (const Case& c : kCases) {
        CKorvexMsgHelper helper;
        PlainMessageParser<> plain;
        EXPECT_EQ(c.seen, account(helper, c.stream, c.pieces)) << c.why;
        EXPECT_EQ(c.seen, account(plain, c.stream, c.pieces)) << c.why;
    }
}

// Random streams of frames, damage, odd headers and false syncs in random pieces: the same account as the plain form.
TEST(KorvexMsgHelper, SeesWhatThePlainFormSees)
{
    std::mt19937 random(20240229);
    const auto below = [&](unsigned n) { return random() % n; };
    std::size_t frames = 0;
    for (int run = 0; run < 400; ++run) {
        std::string stream;
        while (stream.size() < 12000) {
            std::string some(below(5) == 0 ? below(3000) : below(80), '\0');
            for (char& c : some) c = static_cast<char>(random());
            switch (below(6)) {
                case 0:
                    stream += some;
                    break;
                case 1:
                    stream += odd_frame(static_cast<unsigned char>(random()), some, "");
                    break;
                case 2:
                    stream += "\xAA\x44\xCC";
                    break;
                case 3: {
                    std::string frame = packed(9, some);
                    frame[below(static_cast<unsigned>(frame.size()))] ^= static_cast<char>(1 << below(8));
                    stream += frame;
                    break;
                }
                default:
                    stream += packed(static_cast<unsigned short>(random()), some);
            }
        }
        std::vector<std::size_t> pieces;
        const unsigned largest = run % 3 == 0 ? 64 : run % 3 == 1 ? 1500 : 9000;
        for (std::size_t given = 0; given < stream.size() + 2 * largest; given += pieces.back())
            pieces.push_back(below(largest));
        CKorvexMsgHelper helper;
        PlainMessageParser<> plain;
        const auto seen = account(helper, stream, pieces);
        ASSERT_EQ(account(plain, stream, pieces), seen) << "run " << run;
        frames += seen.size();
    }
    EXPECT_GT(frames, 3000u);
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
