// Laws of the log decoder, and the cases that are easy to get wrong. What every byte of every message does is kept by
// digests.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "support/frame_builder.h"

namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

FrameBuilder position(double x)
{
    return FrameBuilder(MSG_ECEF_POSITION, 112).body<std::uint32_t>(4, 16).body(8, x).body(16, 2.0).body(24, 3.0);
}

FrameBuilder gps_ephemeris(std::uint32_t prn, double toe)
{
    return FrameBuilder(MSG_GPS_EPHEMERIS, 224).body(0, prn).body(24, 2199u).body(32, toe).body(164, toe);
}

FrameBuilder glonass(int slot, std::uint32_t ms)
{
    FrameBuilder frame(MSG_GLONASS_EPHEMERIS, 144);
    frame.body<std::uint8_t>(0, static_cast<std::uint8_t>(slot + 37)).body<std::uint16_t>(2, 3);
    return frame.body<std::uint16_t>(6, 2200).body(8, ms).body(12, 10782u).body(20, 0x1FFu).body(24, 4u);
}

// Feeds a stream; `each(result)` after every frame.
template <typename Each>
void feed_stream(raw_t* raw, const Bytes& stream, const Each& each)
{
    const std::uint8_t* p = stream.data();
    for (int left = static_cast<int>(stream.size()), before = left; left > 0; p += before - left, before = left)
        each(input_korvexb(raw, p, &left));
}

// Nothing but the time and the framing has changed.
void expect_unchanged(const raw_t& before, raw_t after)
{
    after.week = before.week;
    after.tow = before.tow;
    EXPECT_EQ(0, std::memcmp(&before, &after, offsetof(raw_t, nbyte)));
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
            if (result != DECODE_STATION) return;
            ASSERT_TRUE(raw->pos[0] >= 1000 && raw->pos[1] == 2.0 && raw->pos[2] == 3.0);
            seen.at(static_cast<std::size_t>(raw->pos[0]) - 1000) = true;
        });
        stream[size + bit / 8] ^= static_cast<std::uint8_t>(1u << bit % 8);
        const bool in_length = bit / 8 == 8 || bit / 8 == 9;
        ASSERT_FALSE(seen[1]) << bit;
        for (std::size_t i = 0; i < kFrames; ++i)
            ASSERT_TRUE(seen[i] || i == 1 || (in_length && i > 1 && i <= 1 + reach)) << "bit " << bit << " frame " << i;
    }
}

TEST(LogFraming, LongestFrameAndTornOnes)
{
    auto raw = new_record();
    EXPECT_EQ(0, feed(raw.get(), FrameBuilder(9999, 8160)));
    EXPECT_EQ(DECODE_STATION, feed(raw.get(), position(1)));
    const Bytes too_long = FrameBuilder(9999, 8161).bytes();
    for (std::size_t i = 0; i < 10; ++i) EXPECT_EQ(i == 9 ? DECODE_REFUSED : 0, input_korvex(raw.get(), too_long[i]));
    int n = static_cast<int>(too_long.size());
    EXPECT_EQ(0, input_korvexb(raw.get(), too_long.data(), &n));
    EXPECT_EQ(static_cast<int>(too_long.size()) - 10, n);

    const Bytes frame = position(1).bytes();
    Bytes rest;   // longer than what a torn length field can swallow
    while (rest.size() < 9000) rest = rest + frame;
    for (std::size_t at = 0; at < frame.size(); ++at) {
        const Bytes torn(frame.begin(), frame.begin() + static_cast<long>(at));
        int found = 0;
        feed_stream(new_record().get(), torn + rest, [&](int result) { found += result == DECODE_STATION; });
        EXPECT_GE(found, 1) << at;   // it finds its way again
    }
}

TEST(LogFraming, Files)
{
    auto raw = new_record();
    EXPECT_EQ(0, input_korvexf(raw.get(), nullptr, 0));
    Bytes stream = Bytes(4097, 0x55) + position(7).bytes() + position(8).bytes() + FrameBuilder(9999, 8161).bytes();
    std::FILE* file = fmemopen(stream.data(), stream.size(), "rb");
    EXPECT_EQ(0, input_korvexf(raw.get(), file, 0));   // searched in vain, not at the end
    EXPECT_EQ(0, std::feof(file));
    EXPECT_EQ(0, input_korvexf(raw.get(), file, 7));   // steps over one frame
    EXPECT_EQ(0.0, raw->pos[0]);
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
    struct Case {
        const char* why;
        FrameBuilder frame;
        int result;
    };
    const FrameBuilder valid = position(1);
    const Case cases[] = {
        {"bad checksum", FrameBuilder(valid).corrupt(), -1},
        {"receiver time unknown", FrameBuilder(valid).time_status(20), 0},
        {"week unknown", FrameBuilder(valid).week(65535), 0},
        {"text format", FrameBuilder(valid).type(0x10), 0},
        {"other format", FrameBuilder(valid).type(0x20), 0},
        {"range message of week 0", range_frame({}).week(0), 0},
        {"before the start time", FrameBuilder(valid).week(2199), 0},
        {"after the end time", FrameBuilder(valid).week(2201), 0},
        {"far before the start time", FrameBuilder(valid).week(1), 0},
        {"just before the start time", FrameBuilder(valid).ms(499), 0},
        {"just after the end time", FrameBuilder(valid).ms(604800001), 0},
    };
    auto raw = new_record();
    raw->ts_ena = raw->te_ena = 1;
    raw->ts_week = raw->te_week = 2200;
    raw->ts_tow = 0.5;
    raw->te_tow = 604800.0;
    for (const Case& c : cases) {
        EXPECT_EQ(c.result, feed(raw.get(), c.frame)) << c.why;
        EXPECT_EQ(0.0, raw->week + raw->tow) << c.why;
    }
    EXPECT_EQ(DECODE_STATION, feed(raw.get(), FrameBuilder(valid).ms(500)));
    EXPECT_EQ(2200, raw->week);
    EXPECT_EQ(0.5, raw->tow);
}

TEST(LogDecode, BytesOfAnEarlierFrameAreNeverData)
{
    constexpr int kIds[] = {7, 8, 37, 41, 42, 43, 140, 231, 241, 601, 723, 1047, 1122, 1309, 1336, 1421, 1696, 11111};
    for (const int id : kIds) {
        for (const int size : {0, 1, 3}) {
            auto raw = new_record();
            std::memset(raw->buff, 0x01, sizeof raw->buff);
            const raw_t before = *raw;
            EXPECT_GE(0, feed(raw.get(), FrameBuilder(id, size))) << id << " with " << size;
            expect_unchanged(before, *raw);
        }
    }
    auto raw = new_record();   // word 0 says that nothing follows, any other that much does
    EXPECT_EQ(DECODE_STOP_AND_GO, feed(raw.get(), FrameBuilder(MSG_STOP_AND_GO, 4)));
    EXPECT_EQ(-1, feed(raw.get(), FrameBuilder(MSG_STOP_AND_GO, 87).body(0, 1u)));
}

TEST(LogDecode, CountsThatDoNotFitAreRefused)
{
    for (const std::uint32_t n : {2u, 97612894u, 178956971u, 536870912u, 0xFFFFFFFFu}) {
        for (FrameBuilder frame : {range_frame({{0, 0, 9}}), compressed_frame({{0, 0, 9}})}) {
            auto raw = new_record();
            feed(raw.get(), range_frame({{0, 0, 7}}));
            const raw_t before = *raw;
            EXPECT_EQ(-1, feed(raw.get(), frame.body(0, n).ms(5000)));
            expect_unchanged(before, *raw);   // a refused message clears nothing
        }
    }
}

TEST(LogDecode, EphemeridesThatCannotBeRightAreRefused)
{
    struct Case {
        const char* why;
        FrameBuilder frame;
        int result;
    };
    const Case cases[] = {
        {"PRN 0", gps_ephemeris(0, 0), -1},
        {"QZSS PRN beyond 7", gps_ephemeris(40, 0), -1},
        {"PRN of 32 bits", gps_ephemeris(0x80000001u, 0), -1},
        {"toe not a number", gps_ephemeris(5, kNan), -1},
        {"toe far away", gps_ephemeris(5, 1e8), -1},
        {"toe infinite", gps_ephemeris(5, -HUGE_VAL), -1},
        {"week beyond 16 bits", gps_ephemeris(5, 0).body(24, 65535u), 0},
        {"BeiDou week that wraps", FrameBuilder(MSG_BDS_EPHEMERIS, 196).body(0, 7u).body(4, 0xFFFFFFFFu), 0},
        {"GLONASS slot 25", glonass(25, 0), -1},
        {"GLONASS slot 0", glonass(0, 0), -1},
        {"GLONASS week unknown", glonass(1, 0).body<std::uint16_t>(6, 65535), -1},
        {"GLONASS time offset", glonass(1, 0).body(12, 20001u), 0},
        {"Galileo PRN 37", FrameBuilder(MSG_GAL_EPHEMERIS, 220).body(0, 37u), -1},
        {"Galileo toe", FrameBuilder(MSG_GAL_INAV_EPHEMERIS, 184).body(0, 3u).body(16, 20000000u), -1},
        {"raw subframes PRN 33", FrameBuilder(MSG_RAW_GPS_EPHEMERIS, 102).body(0, 33u), -1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.why);
        auto raw = new_record();
        const raw_t before = *raw;
        EXPECT_EQ(c.result, feed(raw.get(), c.frame));
        expect_unchanged(before, *raw);
    }
}

// ---- Observations ----

TEST(LogRange, CompressedPhaseComesBackFromItsRollOver)
{
    struct Case {
        int system, type, prn, channel;
        double wavelength;
    };
    const Case cases[] = {{0, 0, 5, 0, satwavelen(5, 0, 0)},
                          {3, 20, 5, 0, 0.251547000952345},
                          {1, 0, 40, -7, satwavelen(81, 0, -7)},
                          {1, 1, 40, 6, satwavelen(81, 1, 6)}};
    for (const Case& c : cases) {
        for (const double range : {1.9e7, 2.234567e7, 4.1e7}) {
            const double phase = std::floor(range / c.wavelength * 256.0) / 256.0 + 12345.0;
            Signal s{c.system, c.type, c.prn};
            s.channel = c.channel;
            s.pseudorange = std::floor(range * 128.0) / 128.0;
            s.adr = -std::remainder(phase, 8388608.0);
            auto raw = new_record();
            feed(raw.get(), compressed_frame({s}));
            EXPECT_NEAR(phase, raw->obs[0].L[c.type == 20 ? 3 : c.type], 0.003) << c.system;
        }
    }
}

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
        const auto frame = [&](int prn) {
            return c.compressed ? compressed_frame({{0, 0, prn}}) : range_frame({{0, 0, prn}});
        };
        feed(raw.get(), frame(1).ms(5000));
        feed(raw.get(), frame(2).ms(5000 + c.later_ms));
        EXPECT_EQ(c.nobs, raw->nobs);
        EXPECT_EQ((5000 + c.later_ms) * 0.001, raw->obs_tow);
    }
    auto raw = new_record();   // a new time without a usable record clears the old epoch too
    feed(raw.get(), range_frame({{0, 0, 1}}));
    EXPECT_EQ(DECODE_OBS, feed(raw.get(), range_frame({{0, 1, 1}}).ms(9000)));
    EXPECT_EQ(0, raw->nobs + raw->obs[0].sat);
    EXPECT_EQ(9.0, raw->obs_tow);
}

// ---- Ephemerides ----

TEST(LogEphemeris, AccuracyIndexChangesBehindEveryBound)
{
    constexpr float kBounds[] = {1, 2.8f, 4, 5.7f, 8, 11.3f, 16, 32, 64, 128, 256, 512, 1024, 2048, 4096};
    const auto index = [](double sigma) {   // message 1696 sends the deviation itself
        auto raw = new_record();
        feed(raw.get(), FrameBuilder(MSG_BDS_EPHEMERIS, 196).body(0, 7u).body(8, sigma));
        return raw->eph[38].ura_index;
    };
    for (int i = 0; i < 15; ++i) {
        EXPECT_EQ(i, index(kBounds[i]));
        EXPECT_EQ(i + 1, index(std::nextafter(double{kBounds[i]}, 1e9)));
    }
    for (const double none : {-1.0, kNan, HUGE_VAL}) EXPECT_EQ(15, index(none));
    auto raw = new_record();   // 2.8 itself lies above its bound in single precision
    feed(raw.get(), gps_ephemeris(1, 0).body(216, 7.84).body(12, 0x3Fu));
    EXPECT_EQ(2, raw->eph[0].ura_index);
    EXPECT_EQ(1, raw->eph[0].health);
}

TEST(LogEphemeris, TheTransmittedWeekLiesNearTheReference)
{
    struct Case {
        std::uint32_t reference;
        int ten_bits, week;
    };
    constexpr Case kCases[] = {{2200, 152, 2200}, {2200, 151, 2199}, {2200, 153, 2201}, {2048, 1023, 2047},
                               {2047, 0, 2048},   {2048, 512, 1536}, {2048, 511, 2559}, {0, 1000, 1000}};
    for (const Case& c : kCases) {
        unsigned char subframe[30] = {};
        setbitu(subframe, 48, 10, static_cast<unsigned>(c.ten_bits));
        FrameBuilder frame(MSG_RAW_GPS_EPHEMERIS, 102);
        frame.week(0).body(0, 9u).body(4, c.reference);
        for (int i = 0; i < 30; ++i) frame.body(12 + i, subframe[i]);
        auto raw = new_record();
        ASSERT_EQ(DECODE_EPH, feed(raw.get(), frame));
        EXPECT_EQ(c.week, raw->eph[8].week) << c.reference << " " << c.ten_bits;
        EXPECT_EQ(c.ten_bits + 1024, raw->week);
    }
}

TEST(LogEphemeris, GlonassTimesAreMoscowTime)
{
    struct Case {
        std::uint32_t ms, frame_time;
        double toe, tof;
        int week;
    };
    constexpr Case kCases[] = {
        {900000, 11700, 11682, 11700, 2200},      // reference 00:15 UTC
        {900000, 86370, 11682, -30, 2200},        // frame of the evening before
        {604799500, 10800, 10782, 10800, 2201},   // rounds up into the next week
        {86400000 - 10782000 + 30000, 86370, 86430, 86370, 2200},
    };
    for (const Case& c : kCases) {
        auto raw = new_record();
        ASSERT_EQ(DECODE_EPH, feed(raw.get(), glonass(1, c.ms).body(124, c.frame_time)));
        EXPECT_EQ(c.toe, raw->geph[0].toe);
        EXPECT_EQ(c.tof, raw->geph[0].tof);
        EXPECT_EQ(c.week, raw->geph[0].week);
        EXPECT_EQ(0, feed(raw.get(), glonass(1, c.ms)));
        EXPECT_EQ(DECODE_EPH, feed(raw.get(), glonass(1, c.ms).body(24, 3u)));   // health is news
    }
}

TEST(LogEphemeris, GalileoWeekFollowsTheNearestToe)
{
    struct Case {
        std::uint32_t ms, toe;
        int week;
    };
    constexpr Case kCases[] = {{1000000, 600, 2200}, {1000000, 604200, 2199}, {604000000, 600, 2201}};
    for (const Case& c : kCases) {
        auto raw = new_record();
        feed(raw.get(), FrameBuilder(MSG_GAL_EPHEMERIS, 220).ms(c.ms).body(0, 5u).body(24, c.toe));
        EXPECT_EQ(c.week, raw->galeph[4].week);
    }
}

TEST(LogEphemeris, SbasIndexStaysInItsTable)
{
    struct Case {
        int index, eph_sat;
    };
    constexpr Case kCases[] = {{0, 145}, {1, 146}, {25, 170}, {26, 171}, {39, 184}, {40, 0}, {255, 0}};
    for (const Case& c : kCases) {
        auto raw = new_record();
        FrameBuilder frame(MSG_SBAS_EPHEMERIS, 63);
        raw_t before = *raw;
        EXPECT_EQ(DECODE_EPH, feed(raw.get(), frame.body<std::uint8_t>(0, static_cast<std::uint8_t>(c.index))));
        EXPECT_EQ(c.eph_sat, raw->eph_sat) << c.index;
        if (c.index >= 1 && c.index <= 25) before.seph[c.index - 1] = raw->seph[c.index - 1];
        before.eph_sat = raw->eph_sat;
        expect_unchanged(before, *raw);
    }
}

TEST(RawRecord, ModesKeepWhatTheyShould)
{
    auto raw = std::make_unique<raw_t>();
    for (const int mode : {0, 1, 2}) {
        std::memset(static_cast<void*>(raw.get()), 0x11, sizeof *raw);
        Initial_raw(raw.get(), mode);
        EXPECT_EQ(0, raw->nobs + raw->obs[79].code[4] + raw->nbyte + raw->buff[8191] + raw->eph_sat + raw->flag);
        EXPECT_EQ(mode == 2, raw->week != 0 && raw->tow != 0.0);
        EXPECT_EQ(mode == 0, raw->eph[3].toe == 0.0 && raw->te_tow == 0.0);
        EXPECT_EQ(mode == 0, std::strcmp(raw->ant_type, "KVRCVMODLA") == 0);
    }
    Initial_raw(nullptr, 0);
}
