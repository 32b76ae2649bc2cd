// Laws of the log decoder, and the cases that are easy to get wrong. What every byte of every message does is kept by
// digests.
#include <CEpochCollector.h>
#include <gtest/gtest.h>

#include <cmath>

#include "support/frame_builder.h"
#include "support/log_ways.h"

namespace {

FrameBuilder position(double x)
{
    return FrameBuilder(MSG_ECEF_POSITION, 112).body<std::uint32_t>(4, 16).body(8, x).body(16, 2.0).body(24, 3.0);
}

FrameBuilder ranges(int prn, bool compressed)
{
    return range_frame({signal(0, 0, prn)}, compressed ? sky::kCompressedRange : sky::kFullRange);
}

// Feeds a stream; `each(result)` after every frame.
template <typename Each>
void feed_stream(raw_t* raw, const Bytes& stream, const Each& each)
{
    const std::uint8_t* p = stream.data();
    for (int left = static_cast<int>(stream.size()), before = left; left > 0; p += before - left, before = left)
        each(input_korvexb(raw, p, &left));
}

// A frame that is turned away changes nothing but the framing, and the time if the frame was whole.
struct Refusal {
    const char* why;
    FrameBuilder frame;
    int result;
};

void expect_refused(const Refusal& c, raw_t& raw, bool keeps_time = false)
{
    raw_t before = raw;
    EXPECT_EQ(c.result, feed(&raw, c.frame)) << c.why;
    if (!keeps_time) before.week = raw.week, before.tow = raw.tow;
    EXPECT_EQ(0, std::memcmp(&before, &raw, offsetof(raw_t, nbyte))) << c.why;
}

}   // namespace

// ---- Framing ----

TEST(LogFraming, ABitFlipCostsOnlyWhatItTouches)
{
    // Position frames tell by their X which of them came through. A flip in the length field may swallow what follows,
    // at most one buffer of it; any other flip costs its own frame.
    constexpr int kFrames = 80;
    const std::size_t size = position(0).bytes().size();
    const auto reach = 1 + (8192 + size - 1) / size;   // frames that one buffer can touch
    Bytes stream;
    for (int i = 0; i < kFrames; ++i) stream = stream + position(1000 + i).bytes();
    for (std::size_t bit = 0; bit < size * 8; ++bit) {
        stream[size + bit / 8] ^= static_cast<std::uint8_t>(1u << bit % 8);
        auto raw = new_record();
        std::vector<bool> seen(kFrames, false);
        feed_stream(raw.get(), stream, [&](int result) {
            if (result == DECODE_STATION) seen.at(static_cast<std::size_t>(raw->pos[0]) - 1000) = true;
        });
        stream[size + bit / 8] ^= static_cast<std::uint8_t>(1u << bit % 8);
        const bool in_length = bit / 8 == 8 || bit / 8 == 9;
        ASSERT_FALSE(seen[1]) << bit;
        for (std::size_t i = 0; i < kFrames; ++i)
            ASSERT_TRUE(seen[i] || i == 1 || (in_length && i > 1 && i <= 1 + reach)) << "bit " << bit << " frame " << i;
    }
}

TEST(LogFraming, LongestFrameAndFiles)
{
    auto raw = new_record();
    EXPECT_EQ(0, feed(raw.get(), FrameBuilder(9999, 8160)));
    EXPECT_EQ(DECODE_STATION, feed(raw.get(), position(1)));
    const Bytes too_long = FrameBuilder(9999, 8161).bytes();
    int n = static_cast<int>(too_long.size());
    EXPECT_EQ(0, input_korvexb(raw.get(), too_long.data(), &n));
    EXPECT_EQ(static_cast<int>(too_long.size()) - 10, n);

    Bytes stream = Bytes(4097, 0x55) + position(7).bytes() + position(8).bytes() + too_long;
    std::FILE* file = fmemopen(stream.data(), stream.size(), "rb");
    EXPECT_EQ(0, input_korvexf(raw.get(), nullptr, 0));
    EXPECT_EQ(0, input_korvexf(raw.get(), file, 0));   // searched in vain, not at the end
    EXPECT_EQ(4097, std::ftell(file));
    EXPECT_EQ(0, input_korvexf(raw.get(), file, 7));   // steps over one frame
    EXPECT_EQ(1.0, raw->pos[0]);
    EXPECT_EQ(DECODE_STATION, input_korvexf(raw.get(), file, 0));
    EXPECT_EQ(8.0, raw->pos[0]);
    EXPECT_EQ(DECODE_REFUSED, input_korvexf(raw.get(), file, 0));
    std::fclose(file);
    std::FILE* folder = std::fopen("/tmp", "rb");
    EXPECT_EQ(DECODE_EOF, input_korvexf(raw.get(), folder, 0));
    std::fclose(folder);
}

// ---- What is turned away ----

TEST(LogDecode, FramesTurnedAwayLeaveTheTimeAlone)
{
    const FrameBuilder valid = position(1);
    const Refusal cases[] = {
        {"receiver time unknown", FrameBuilder(valid).at<std::uint8_t>(13, 20), 0},
        {"week unknown", FrameBuilder(valid).week(65535), 0},
        {"text format", FrameBuilder(valid).at<std::uint8_t>(6, 0x10), 0},
        {"other format", FrameBuilder(valid).at<std::uint8_t>(6, 0x20), 0},
        {"range message of week 0", range_frame({}).week(0), 0},
        {"before the start time", FrameBuilder(valid).week(2199), 0},
        {"after the end time", FrameBuilder(valid).week(2201), 0},
        {"just before the start time", FrameBuilder(valid).ms(499), 0},
        {"just after the end time", FrameBuilder(valid).ms(604800001), 0},
    };
    auto raw = new_record();
    raw->ts_ena = raw->te_ena = 1;
    raw->ts_week = raw->te_week = 2200;
    raw->ts_tow = 0.5;
    raw->te_tow = 604800.0;
    for (const Refusal& c : cases) expect_refused(c, *raw, true);
    EXPECT_EQ(DECODE_STATION, feed(raw.get(), FrameBuilder(valid).ms(500)));
    EXPECT_EQ(0.5, raw->tow);
}

TEST(LogDecode, CountsThatDoNotFitAreRefused)
{
    auto raw = new_record();
    feed(raw.get(), ranges(7, false));
    for (const std::uint32_t n : {2u, 97612894u, 178956971u, 536870912u, 0xFFFFFFFFu}) {   // a product may wrap
        for (const bool compressed : {false, true})
            expect_refused({"count", ranges(9, compressed).body(0, n).ms(5000), -1}, *raw);
    }
    expect_refused({"no record", FrameBuilder(MSG_STOP_AND_GO, 87).body(0, 1u), -1}, *raw);
}

// ---- Observations ----

TEST(LogRange, EpochsBeginAndJoinByTime)
{
    struct Case {
        bool compressed;
        std::uint32_t later_ms;
        int nobs;
    };
    constexpr Case kCases[] = {{false, 0, 2}, {false, 1, 1}, {true, 0, 2}, {true, 1, 2}, {true, 2, 1}};
    for (const Case& c : kCases) {
        auto raw = new_record();
        feed(raw.get(), ranges(1, c.compressed).ms(5000));
        feed(raw.get(), ranges(2, c.compressed).ms(5000 + c.later_ms));
        EXPECT_EQ(c.nobs, raw->nobs);
        EXPECT_EQ((5000 + c.later_ms) * 0.001, raw->obs_tow);
    }
    auto raw = new_record();   // a new time without a usable record clears the old epoch too
    feed(raw.get(), ranges(1, false));
    EXPECT_EQ(DECODE_OBS, feed(raw.get(), range_frame({signal(0, 1, 1)}).ms(9000)));
    EXPECT_EQ(0, raw->nobs + raw->obs[0].sat);
    EXPECT_EQ(9.0, raw->obs_tow);
    std::vector<sky::range_t> many;
    for (int prn = 1; prn <= kMaxObs / 3 + 1; ++prn)
        many.insert(many.end(), {signal(0, 0, prn), signal(3, 2, prn), signal(4, 0, prn)});
    EXPECT_EQ(DECODE_OBS, feed(raw.get(), range_frame(many)));
    EXPECT_EQ(kMaxObs, raw->nobs);
}

// ---- Ephemerides ----

TEST(WholeEpochs, EachComesOnceWithAllItsMessages)
{
    // Three satellites a second, a message each, the second one damaged every third time and a position in between.
    Bytes log;
    for (int s = 0; s < 9; ++s) {
        for (int prn = 1; prn <= 3; ++prn) {
            Bytes message = ranges(prn, prn == 3).ms(static_cast<std::uint32_t>(s * 1000 + prn / 3)).bytes();
            if (prn == 2 && s % 3 == 2) message.back() ^= 1;
            log = log + message + position(s).ms(static_cast<std::uint32_t>(s * 1000)).bytes();
        }
    }
    struct epoch_t {
        double tow;
        int satellites;
        double x;
        bool operator==(const epoch_t&) const = default;
    };
    std::vector<epoch_t> wanted;
    for (int s = 0; s < 9; ++s) wanted.push_back({1.0 * s, s % 3 == 2 ? 2 : 3, 1.0 * s});

    for (const int way : {0, 1, 2}) {
        auto raw = new_record();
        CEpochCollector epochs;
        std::vector<epoch_t> seen;
        auto taken = std::make_unique<raw_t>();
        const auto take = [&](const raw_t* epoch) {
            if (epoch == nullptr) return;
            epochs.Exchange(taken);
            ASSERT_EQ(epoch, taken.get());
            seen.push_back({std::floor(epoch->obs_tow), epoch->nobs, epoch->pos[0]});
        };
        const auto each = [&](int kind) { take(epochs.Add(raw.get(), kind)); };
        if (way == 0) by_byte(*raw, log, each);
        if (way == 1)
            by_block(
                *raw, log, [] { return 777; }, each);
        if (way == 2) by_file(*raw, log, 0, each);
        EXPECT_TRUE(epochs.Pending());
        EXPECT_EQ(nullptr, epochs.Add(nullptr, DECODE_OBS));   // what is none disturbs nothing
        EXPECT_FALSE(epochs.Continues(nullptr));
        std::unique_ptr<raw_t> none;
        epochs.Exchange(none);
        take(epochs.Flush());
        EXPECT_EQ(nullptr, epochs.Flush());
        EXPECT_TRUE(seen == wanted) << "way " << way;
    }
}

TEST(LogEphemeris, TheTransmittedWeekLiesNearTheReference)
{
    struct Case {
        std::uint32_t reference;
        unsigned ten_bits;
        int week;
    };
    constexpr Case kCases[] = {{2200, 151, 2199}, {2200, 153, 2201}, {2048, 1023, 2047}, {2047, 0, 2048},
                               {2048, 512, 1536}, {2048, 511, 2559}, {0, 1000, 1000}};
    for (const Case& c : kCases) {
        FrameBuilder frame(MSG_RAW_GPS_EPHEMERIS, 102);   // 48 bits into the first subframe
        frame.body(0, 9u).body(4, c.reference).body(18, static_cast<std::uint8_t>(c.ten_bits >> 2));
        auto raw = new_record();
        ASSERT_EQ(DECODE_EPH, feed(raw.get(), frame.body(19, static_cast<std::uint8_t>(c.ten_bits << 6))));
        EXPECT_EQ(c.week, raw->eph[8].week) << c.reference << " " << c.ten_bits;
    }
}

// Deliberate: the bounds with a fraction are single precision.
TEST(LogEphemeris, AccuracyIndexes)
{
    constexpr double kBounds[] = {1, 2.8f, 4, 5.7f, 8, 11.3f, 16, 32, 64, 128, 256, 512, 1024, 2048, 4096};
    const auto index = [](double sigma) {
        auto raw = new_record();
        FrameBuilder frame(MSG_BDS_EPHEMERIS, 196);
        EXPECT_EQ(DECODE_EPH, feed(raw.get(), frame.body(0, 7u).body(8, sigma)));
        return raw->eph[38].ura_index;
    };
    for (int row = 0; row < 15; ++row) {
        EXPECT_EQ(row, index(kBounds[row]));
        EXPECT_EQ(row + 1, index(std::nextafter(kBounds[row], 1e9)));
    }
}

TEST(RawRecord, ModesKeepWhatTheyShould)
{
    auto raw = std::make_unique<raw_t>();
    for (const int mode : {0, 1, 2}) {
        std::memset(static_cast<void*>(raw.get()), 0x11, sizeof *raw);
        Initial_raw(raw.get(), mode);
        EXPECT_EQ(0, raw->nobs + raw->obs[79].code[4] + raw->nbyte + raw->buff[8191] + raw->eph_sat + raw->flag);
        EXPECT_EQ(mode == 2, raw->week != 0);
        EXPECT_EQ(mode == 2, raw->tow != 0.0);
        EXPECT_EQ(mode == 0, raw->eph[3].toe == 0.0 && raw->te_tow == 0.0);
        EXPECT_EQ(mode == 0, std::strcmp(raw->ant_type, "KVRCVMODLA") == 0);
    }
    Initial_raw(nullptr, 0);
}
