#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "support/frame_builder.h"

namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

FrameBuilder ion_utc(int leaps)
{
    FrameBuilder frame(8, 108);
    for (int i = 0; i < 8; ++i) frame.body(8 * i, i + 0.5);
    return frame.body<std::uint32_t>(96, static_cast<std::uint32_t>(leaps));
}

FrameBuilder gps_ephemeris(std::uint32_t prn, double toe)
{
    return FrameBuilder(7, 224).body<std::uint32_t>(0, prn).body<std::uint32_t>(24, 2199).body(32, toe).body(164, toe);
}

FrameBuilder glonass(int slot, std::uint32_t ms)
{
    FrameBuilder frame(723, 144);
    frame.body<std::uint8_t>(0, static_cast<std::uint8_t>(slot + 37)).body<std::uint16_t>(2, 3);
    frame.body<std::uint16_t>(6, 2200).body<std::uint32_t>(8, ms).body<std::uint32_t>(12, 10782);
    return frame.body<std::uint32_t>(20, 0x1FF).body<std::uint32_t>(24, 4).body(28, 1e7).body(100, 1e-5);
}

}   // namespace

TEST(KorvexDecode, FramesTurnedAwayLeaveTheTimeAlone)
{
    // One row per reason; every row starts from the same valid message.
    struct Case {
        const char* why;
        FrameBuilder frame;
        int result;
    };
    const FrameBuilder valid = ion_utc(18);
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
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.why);
        auto raw = new_record();
        raw->ts_ena = raw->te_ena = 1;
        raw->ts_week = raw->te_week = 2200;
        raw->te_tow = 604800.0;
        EXPECT_EQ(c.result, feed(raw.get(), c.frame));
        EXPECT_EQ(0, raw->week);
        EXPECT_EQ(0.0, raw->tow);
    }
    auto raw = new_record();
    EXPECT_EQ(DECODE_ION_UTC, feed(raw.get(), ion_utc(18)));
    EXPECT_EQ(2200, raw->week);
    EXPECT_EQ(1000.0, raw->tow);
    EXPECT_EQ(7.5, raw->ion_gps[7]);
    EXPECT_EQ(0, feed(raw.get(), ion_utc(18).week(1)) - DECODE_ION_UTC);
}

TEST(KorvexDecode, LeapSecondsOnlyRise)
{
    const unsigned short before = g_curleap;
    auto raw = new_record();
    feed(raw.get(), ion_utc(15));
    EXPECT_EQ(15, raw->leaps);
    EXPECT_EQ(before, g_curleap);
    feed(raw.get(), ion_utc(19 + 65536));
    EXPECT_EQ(19, g_curleap);
    g_curleap = before;
}

// The shortest body that each message is read from; one byte less must change nothing but the time.
TEST(KorvexDecode, ShortBodiesChangeNothing)
{
    struct Case {
        int id, needed, result;
    };
    constexpr Case kCases[] = {{7, 224, -1},   {8, 108, -1},    {37, 104, 0},    {41, 102, -1},   {42, 72, 0},
                               {43, 4, -1},    {140, 4, -1},    {231, 40, -1},   {241, 112, -1},  {601, 63, -1},
                               {723, 144, -1}, {1047, 232, -1}, {1122, 220, -1}, {1309, 184, -1}, {1336, 228, -1},
                               {1421, 12, 0},  {1696, 196, -1}, {11111, 4, -1},  {4711, 1, 0}};
    for (const Case& c : kCases) {
        for (const int size : {0, 1, 3, c.needed - 1}) {
            if (size >= c.needed) continue;
            auto raw = new_record();
            std::memset(raw->buff, 0x01, sizeof raw->buff);   // bytes of an earlier frame are not data
            FrameBuilder frame(c.id, size);
            for (int i = 0; i < size; ++i) frame.body<std::uint8_t>(i, 1);
            const auto before = std::make_unique<raw_t>(*raw);
            EXPECT_EQ(c.result, feed(raw.get(), frame)) << c.id << " with " << size;
            before->week = raw->week;
            before->tow = raw->tow;
            EXPECT_EQ(0, std::memcmp(before.get(), raw.get(), offsetof(raw_t, nbyte))) << c.id << " with " << size;
        }
    }
    auto raw = new_record();   // word 0 says that nothing follows; any other that much does
    EXPECT_EQ(DECODE_STOP_AND_GO, feed(raw.get(), FrameBuilder(11111, 4)));
    EXPECT_EQ(-1, feed(raw.get(), FrameBuilder(11111, 87).body<std::uint32_t>(0, 1)));
    EXPECT_EQ(0, raw->sng_flag);
}

TEST(KorvexDecode, CountsThatDoNotFitAreRefused)
{
    for (const std::uint32_t n : {2u, 97612894u, 178956971u, 536870912u, 0xFFFFFFFFu}) {
        for (const int id : {43, 140}) {
            auto raw = new_record();
            feed(raw.get(), range_frame({{0, 0, 7}}));
            FrameBuilder frame = id == 43 ? range_frame({{0, 0, 9}}) : compressed_frame({{0, 0, 9}});
            EXPECT_EQ(-1, feed(raw.get(), frame.body(0, n).ms(5000)));
            EXPECT_EQ(1, raw->nobs);   // a refused message clears nothing
            EXPECT_EQ(7, raw->obs[0].sat);
        }
    }
}

TEST(KorvexRange, SignalsFindTheirSlots)
{
    struct Case {
        int system, type, prn, sat, slot, code;   // slot -1: not used
    };
    constexpr Case kCases[] = {
        {0, 0, 32, 32, 0, 1},   {0, 5, 1, 1, 1, 19},      {0, 9, 1, 1, 1, 19},    {0, 17, 1, 1, 1, 14},
        {0, 6, 1, 1, 2, 24},    {0, 14, 1, 1, 2, 25},     {0, 16, 1, 1, 3, 8},    {0, 1, 1, 0, -1, 0},
        {1, 0, 38, 79, 0, 1},   {1, 1, 61, 102, 1, 14},   {1, 5, 45, 86, 1, 19},  {1, 0, 37, 0, -1, 0},
        {2, 0, 120, 146, 0, 1}, {2, 5, 144, 170, 1, 24},  {2, 0, 145, 0, -1, 0},  {3, 1, 1, 103, 0, 11},
        {3, 2, 36, 138, 0, 1},  {3, 17, 2, 104, 1, 28},   {3, 12, 2, 104, 2, 25}, {3, 20, 2, 104, 3, 37},
        {3, 7, 2, 104, 4, 32},  {3, 7, 37, 0, -1, 0},     {4, 0, 1, 33, 0, 47},   {4, 4, 46, 78, 0, 47},
        {4, 17, 9, 41, 1, 27},  {4, 9, 30, 62, 1, 52},    {4, 12, 30, 62, 1, 52}, {4, 2, 9, 41, 2, 42},
        {4, 21, 9, 41, 2, 42},  {4, 6, 9, 41, 2, 43},     {4, 7, 30, 62, 3, 51},  {4, 8, 30, 62, 3, 51},
        {5, 0, 193, 139, 0, 1}, {5, 14, 199, 145, 2, 25}, {5, 0, 192, 0, -1, 0},  {6, 0, 1, 0, -1, 0},
        {7, 0, 1, 0, -1, 0},    {1, 0, 62, 103, 0, 1},    {5, 0, 200, 146, 0, 1},
    };
    for (const Case& c : kCases) {
        for (const bool compressed : {false, true}) {
            SCOPED_TRACE(testing::Message() << "system " << c.system << " type " << c.type << " PRN " << c.prn);
            auto raw = new_record();
            const Signal s{c.system, c.type, c.prn};
            EXPECT_EQ(DECODE_OBS, feed(raw.get(), compressed ? compressed_frame({s}) : range_frame({s})));
            ASSERT_EQ(c.slot < 0 ? 0 : 1, raw->nobs);
            if (c.slot < 0) continue;
            const obsd_t& obs = raw->obs[0];
            EXPECT_EQ(c.sat, obs.sat);
            EXPECT_EQ(s.pseudorange, obs.P[c.slot]);
            EXPECT_EQ(s.doppler, obs.D[c.slot]);
            EXPECT_EQ(compressed ? 180.0 : 181.0, obs.SNR[c.slot]);
            EXPECT_EQ(compressed ? c.code : 0, obs.code[c.slot]);
            EXPECT_EQ(s.locktime, raw->locktime[c.sat - 1][c.slot]);
        }
    }
}

TEST(KorvexRange, PhaseNeedsLockAndParity)
{
    constexpr std::uint32_t kPhase = 1u << 10, kParity = 1u << 11, kCode = 1u << 12;
    struct Case {
        std::uint32_t flags;
        float locktime;
        bool used, phase;
        int lli;
    };
    constexpr Case kCases[] = {
        {kPhase | kParity | kCode, 5, true, true, 0}, {kPhase | kParity | kCode, -1, true, true, 1},
        {kPhase | kCode, 5, true, false, 2},          {kCode, -1, true, false, 3},
        {kParity | kCode, 5, true, false, 0},         {kPhase | kParity, 5, false, false, 0},
    };
    for (const Case& c : kCases) {
        Signal s{0, 0, 3};
        s.flags = c.flags | 1u << 28;
        s.locktime = c.locktime;
        auto raw = new_record();
        feed(raw.get(), range_frame({s}));
        ASSERT_EQ(c.used, raw->nobs == 1);
        if (!c.used) continue;
        EXPECT_EQ(c.phase ? 1.0e8 : 0.0, raw->obs[0].L[0]);
        EXPECT_EQ(c.lli, raw->obs[0].LLI[0]);
        EXPECT_EQ(1, raw->halfc[2][0]);
    }
}

TEST(KorvexRange, CompressedPhaseComesBackFromItsRollOver)
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
            const int sat = raw->obs[0].sat, slot = c.type == 20 ? 3 : c.type;
            EXPECT_NEAR(phase, raw->obs[0].L[slot], 0.003) << sat;
        }
    }
    Signal moved{1, 0, 40};   // GLONASS has no carrier in slot 2
    moved.flags |= 1u << 19;
    auto raw = new_record();
    feed(raw.get(), compressed_frame({moved}));
    EXPECT_EQ(0, raw->nobs);
}

TEST(KorvexRange, EpochsBeginAndJoinByTime)
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
    // A new time without a usable record clears the old epoch too.
    auto raw = new_record();
    feed(raw.get(), range_frame({{0, 0, 1}}));
    EXPECT_EQ(DECODE_OBS, feed(raw.get(), range_frame({{0, 1, 1}}).ms(9000)));
    EXPECT_EQ(0, raw->nobs);
    EXPECT_EQ(0, raw->obs[0].sat);
    EXPECT_EQ(9.0, raw->obs_tow);
    EXPECT_EQ(DECODE_OBS, feed(raw.get(), range_frame({}).ms(9500)));
    EXPECT_EQ(9.5, raw->obs_tow);
}

TEST(KorvexRange, AFullEpochTakesNothingMore)
{
    std::vector<Signal> signals;
    for (int prn = 1; prn <= 32; ++prn) signals.push_back({0, 0, prn});
    for (int prn = 1; prn <= 46; ++prn) signals.push_back({4, 0, prn});
    for (int prn = 1; prn <= 3; ++prn) signals.push_back({3, 2, prn});
    Signal late{0, 5, 1};
    signals.push_back(late);
    auto raw = new_record();
    feed(raw.get(), range_frame(signals));
    EXPECT_EQ(80, raw->nobs);
    EXPECT_EQ(104, raw->obs[79].sat);
    EXPECT_EQ(0.0, raw->obs[0].P[1]);   // not even for a satellite that is in it
}

TEST(KorvexRange, OptionsMoveSignalsAndSatellites)
{
    struct Case {
        int nosigmap, rawprn;
        bool compressed;
        int slot;
    };
    constexpr Case kCases[] = {{0, 0, false, 0}, {0, 1, false, 2}, {1, 1, false, 0},
                               {0, 0, true, 2},  {0, 1, true, 2},  {1, 0, true, 0}};
    for (const Case& c : kCases) {
        Signal s{0, 0, 4};
        s.flags |= 1u << 19;
        auto raw = new_record();
        raw->opt_nosigmap = static_cast<std::uint8_t>(c.nosigmap);
        raw->opt_rawprn = static_cast<std::uint8_t>(c.rawprn);
        feed(raw.get(), c.compressed ? compressed_frame({s}) : range_frame({s}));
        EXPECT_NE(0.0, raw->obs[0].P[c.slot]);
    }

    struct Prn {
        int system, prn, sat43, sat140;   // 0: dropped
    };
    constexpr Prn kPrns[] = {{0, 32, 32, 32},    {0, 33, 0, 0},  {1, 62, 103, 103}, {3, 1, 34, 34},
                             {3, 137, 170, 170}, {3, 138, 0, 0}, {3, 255, 0, 0},    {4, 29, 61, 61},
                             {4, 30, 62, 0},     {4, 37, 69, 0}, {4, 38, 0, 0},     {4, 161, 33, 33},
                             {4, 197, 69, 69},   {4, 198, 0, 0}, {5, 193, 0, 0},    {2, 120, 0, 0}};
    for (const Prn& p : kPrns) {
        for (const bool compressed : {false, true}) {
            const Signal s{p.system, p.system == 3 ? 2 : 0, p.prn};
            auto raw = new_record();
            raw->opt_rawprn = 1;
            feed(raw.get(), compressed ? compressed_frame({s}) : range_frame({s}));
            EXPECT_EQ(compressed ? p.sat140 : p.sat43, raw->obs[0].sat) << p.system << " " << p.prn;
        }
    }
}

TEST(KorvexRange, GlonassChannelsAreKnownBeforeTheirEphemerides)
{
    auto raw = new_record();
    Signal s{1, 0, 40};
    s.channel = -7;
    Signal beyond{1, 0, 62};
    beyond.channel = 5;
    const auto before = *raw->seph;
    feed(raw.get(), range_frame({s, beyond}));
    EXPECT_EQ(-7, raw->geph[2].frq);
    EXPECT_EQ(0, std::memcmp(&before, raw->seph, sizeof before));   // PRN 62 has no place in the table
    feed(raw.get(), glonass(3, 900000));
    EXPECT_EQ(-4, raw->geph[2].frq);
    feed(raw.get(), range_frame({s}));
    EXPECT_EQ(-4, raw->geph[2].frq);
}

TEST(KorvexEphemeris, KeplerianFieldsAndWhereTheyGo)
{
    struct Case {
        int id, size;
        std::uint32_t prn;
        int sat, entry, toe_at, week_at;
        bool toe_is_integer;
        int week, tow;   // of the record after storing; week before is 0
    };
    constexpr Case kCases[] = {
        {7, 224, 32, 32, 31, 32, 24, false, 2100, 7200},      {7, 224, 33, 139, 78, 32, 24, false, 2100, 7200},
        {1336, 228, 199, 145, 84, 32, 24, false, 2100, 7200}, {1047, 232, 46, 78, 77, 32, 24, false, 2100, 5},
        {1696, 196, 161, 33, 32, 72, 4, true, 3456, 7200},    {1696, 196, 6, 38, 37, 72, 4, true, 3456, 7200},
    };
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.id);
        auto raw = new_record();
        FrameBuilder frame(c.id, c.size);
        frame.week(0).ms(5000).body(0, c.prn).body<std::uint32_t>(c.week_at, 2100);
        c.toe_is_integer ? frame.body<std::uint32_t>(c.toe_at, 7200) : frame.body(c.toe_at, 7200.0);
        EXPECT_EQ(DECODE_EPH, feed(raw.get(), frame));
        EXPECT_EQ(c.sat, raw->eph_sat);
        EXPECT_EQ(c.sat, raw->eph[c.entry].sat);
        EXPECT_EQ(7200.0, raw->eph[c.entry].toe);
        EXPECT_EQ(c.week, raw->week);
        EXPECT_EQ(c.tow, raw->tow);
        EXPECT_EQ(0, feed(raw.get(), frame));   // nothing new in it
    }
}

TEST(KorvexEphemeris, InvalidOnesAreRefused)
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
        {"week beyond 16 bits", gps_ephemeris(5, 0).body<std::uint32_t>(24, 65535), 0},
        {"BeiDou week that wraps", FrameBuilder(1696, 196).body(0, 7u).body(4, 0xFFFFFFFFu), 0},
        {"GLONASS slot 25", glonass(25, 0), -1},
        {"GLONASS slot 0", glonass(0, 0), -1},
        {"GLONASS week unknown", glonass(1, 0).body<std::uint16_t>(6, 65535), -1},
        {"GLONASS time offset", glonass(1, 0).body<std::uint32_t>(12, 20001), 0},
        {"Galileo PRN 37", FrameBuilder(1122, 220).body(0, 37u), -1},
        {"Galileo toe", FrameBuilder(1309, 184).body(0, 3u).body<std::uint32_t>(16, 20000000), -1},
        {"raw subframes PRN 33", FrameBuilder(41, 102).body(0, 33u), -1},
    };
    for (const Case& c : cases) {
        auto raw = new_record();
        const auto before = std::make_unique<raw_t>(*raw);
        EXPECT_EQ(c.result, feed(raw.get(), c.frame)) << c.why;
        EXPECT_EQ(0, std::memcmp(before->eph, raw->eph, offsetof(raw_t, nbyte) - offsetof(raw_t, eph))) << c.why;
    }
}

TEST(KorvexEphemeris, AccuracyIndexHasSinglePrecisionBounds)
{
    struct Case {
        double variance;
        int index;
    };
    constexpr Case kCases[] = {{0, 0},    {1, 0},   {7.83, 1},  {7.84, 2},     {16, 2}, {4096.0 * 4096.0, 14},
                               {1e9, 15}, {-1, 15}, {kNan, 15}, {HUGE_VAL, 15}};
    for (const Case& c : kCases) {
        auto raw = new_record();
        ASSERT_EQ(DECODE_EPH, feed(raw.get(), gps_ephemeris(1, 0).body(216, c.variance).body(12, 0x3Fu)));
        EXPECT_EQ(c.index, raw->eph[0].ura_index) << c.variance;
        EXPECT_EQ(1, raw->eph[0].health);
    }
}

TEST(KorvexEphemeris, RawSubframesUnpackTheirBits)
{
    FrameBuilder frame(41, 102);
    frame.body(0, 9u).body(4, 2200u).week(0);
    unsigned char s[3][30] = {};
    setbitu(s[0], 48, 10, 2201 % 1024);
    setbitu(s[0], 60, 4, 3);
    setbitu(s[0], 64, 6, 0x2A);
    setbitu(s[0], 70, 2, 2);
    setbitu(s[0], 168, 8, 0x55);
    setbitu(s[0], 176, 16, 7200 / 16);
    setbitu(s[0], 216, 22, 0x3FFFFF);   // af0 = -2^-31
    setbitu(s[1], 48, 8, 0x55);
    setbitu(s[1], 88, 32, 0x80000000u);    // M0 = -pi
    setbitu(s[1], 136, 32, 0x02000000u);   // e = 2^-8
    setbitu(s[1], 184, 32, 5153u << 19);
    setbitu(s[1], 216, 16, 7216 / 16);
    setbitu(s[2], 192, 24, 0xFFFFFF);
    setbitu(s[2], 224, 14, 0x2000);
    for (int i = 0; i < 90; ++i) frame.body(12 + i, s[i / 30][i % 30]);

    auto raw = new_record();
    ASSERT_EQ(DECODE_EPH, feed(raw.get(), frame));
    const eph_t& e = raw->eph[8];
    EXPECT_EQ(2201, e.week);
    EXPECT_EQ(2201 % 1024 + 1024, raw->week);
    EXPECT_EQ(3, e.ura_index);
    EXPECT_EQ(0x2A, e.health);
    EXPECT_EQ(0x255, e.iodc);
    EXPECT_EQ(7200.0, e.toc);
    EXPECT_EQ(7216.0, e.toe);
    EXPECT_EQ(-std::ldexp(1.0, -31), e.af0);
    EXPECT_EQ(-3.1415926535898, e.M0);
    EXPECT_EQ(std::ldexp(1.0, -8), e.e);
    EXPECT_EQ(5153.0 * 5153.0, e.A);
    EXPECT_EQ(-std::ldexp(3.1415926535898, -43), e.omega_dot);
    EXPECT_EQ(-std::ldexp(3.1415926535898, -30), e.idot);
}

TEST(KorvexEphemeris, TheTransmittedWeekLiesNearTheReference)
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
        FrameBuilder frame(41, 102);
        frame.body(0, 9u).body(4, c.reference);
        for (int i = 0; i < 30; ++i) frame.body(12 + i, subframe[i]);
        auto raw = new_record();
        ASSERT_EQ(DECODE_EPH, feed(raw.get(), frame));
        EXPECT_EQ(c.week, raw->eph[8].week) << c.reference << " " << c.ten_bits;
    }
}

TEST(KorvexEphemeris, GlonassTimesAreMoscowTime)
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
        EXPECT_EQ(0x7F, raw->geph[0].iode);
        EXPECT_EQ(1, raw->geph[0].svh);
        EXPECT_EQ(0, feed(raw.get(), glonass(1, c.ms).body(124, c.frame_time)));
        EXPECT_EQ(DECODE_EPH, feed(raw.get(), glonass(1, c.ms).body(24, 3u)));   // health is news
    }
}

TEST(KorvexEphemeris, GalileoWeekFollowsTheNearestToe)
{
    struct Case {
        std::uint32_t ms, toe;
        int week;
    };
    constexpr Case kCases[] = {{1000000, 600, 2200}, {1000000, 604200, 2199}, {604000000, 600, 2201}};
    for (const Case& c : kCases) {
        auto raw = new_record();
        ASSERT_EQ(DECODE_EPH, feed(raw.get(), FrameBuilder(1122, 220).ms(c.ms).body(0, 5u).body(24, c.toe)));
        EXPECT_EQ(c.week, raw->galeph[4].week);
        EXPECT_EQ(c.ms * 0.001, raw->tow);
        ASSERT_EQ(DECODE_EPH, feed(raw.get(), FrameBuilder(1309, 184).ms(c.ms).body(0, 6u).body(16, c.toe)));
        EXPECT_EQ(c.week, raw->galeph[5].week);
        EXPECT_EQ(c.toe, raw->tow);
    }
}

TEST(KorvexEphemeris, SbasIndexStaysInItsTable)
{
    struct Case {
        int index, eph_sat;
    };
    constexpr Case kCases[] = {{0, 145}, {1, 146}, {25, 170}, {26, 171}, {39, 184}, {40, 0}, {255, 0}};
    for (const Case& c : kCases) {
        auto raw = new_record();
        const auto before = std::make_unique<raw_t>(*raw);
        const FrameBuilder frame = FrameBuilder(601, 63).body<std::uint8_t>(0, static_cast<std::uint8_t>(c.index));
        EXPECT_EQ(DECODE_EPH, feed(raw.get(), frame)) << c.index;
        EXPECT_EQ(c.eph_sat, raw->eph_sat) << c.index;
        const bool fits = c.index >= 1 && c.index <= 25;
        EXPECT_EQ(fits ? 0 : DECODE_EPH, feed(raw.get(), frame));
        EXPECT_EQ(!fits, std::memcmp(before->eph, raw->eph, offsetof(raw_t, eph_sat) - offsetof(raw_t, eph)) == 0);
    }
}

TEST(KorvexStation, AntennaVersionPositionAndMarks)
{
    auto raw = new_record();
    const char* names[] = {"ADVNULLANTENNA", "ADVNULLANTENNA", "KVANT1100", "KVANT1200",     "KVANT1300",
                           "KVRCVMODLA",     "KVANT2100",      "KVMODL7",   "ADVNULLANTENNA"};
    for (std::uint32_t value = 0; value < 9; ++value) {
        EXPECT_EQ(DECODE_STATION, feed(raw.get(), FrameBuilder(1421, 12).body(0, value).body(8, 1.5f)));
        EXPECT_STREQ(names[value], raw->ant_type);
    }
    EXPECT_EQ(1.5f, ant_height(raw.get()));

    FrameBuilder version(37, 108);
    for (int i = 0; i < 108; ++i) version.body<std::uint8_t>(i, static_cast<std::uint8_t>('!' + i % 90));
    EXPECT_EQ(DECODE_STATION, feed(raw.get(), version));
    EXPECT_EQ(std::string("%&'()*+,"), raw->rcv_text[1]);
    EXPECT_EQ(std::string("QRST"), raw->rcv_text[2]);
    EXPECT_EQ(19u, std::strlen(raw->rcv_text[3]));

    const FrameBuilder fix =
        FrameBuilder(42, 72).body<std::uint32_t>(4, 16).body(16, 90.0).body(24, 100.0).body(32, 5.0f);
    EXPECT_EQ(DECODE_STATION, feed(raw.get(), fix));
    EXPECT_NEAR(6378242.0, raw->pos[1], 1e-6);
    EXPECT_EQ(0, feed(raw.get(), FrameBuilder(fix).body(0, 1u)));
    EXPECT_EQ(0, feed(raw.get(), FrameBuilder(fix).body(4, 0u)));

    EXPECT_EQ(DECODE_MARK, feed(raw.get(), FrameBuilder(231, 40).body(4, 123.25).body(36, 1u)));
    EXPECT_EQ(123.25, raw->tow);
    EXPECT_EQ(-1, feed(raw.get(), FrameBuilder(231, 40).body(36, 2u)));
    EXPECT_EQ(-1, feed(raw.get(), FrameBuilder(231, 40).body(4, kNan)));
    EXPECT_EQ(1000.0, raw->tow);

    FrameBuilder site(11111, 88);
    site.body(0, 3u).body(4, 11.0).body(52, 17.0).body(60, 99u).body(64, 1.5).body(72, 2.5).body(80, 1e300);
    EXPECT_EQ(DECODE_STOP_AND_GO, feed(raw.get(), site));
    EXPECT_EQ(1, raw->sng_flag);
    EXPECT_EQ(17.0, raw->sng.value[6]);
    EXPECT_EQ(2.5f, raw->sng_f[0]);
    EXPECT_EQ(HUGE_VALF, raw->sng_f[1]);
    EXPECT_EQ(1.5f, raw->sng_f[2]);
}

TEST(RawRecord, ModesKeepWhatTheyShould)
{
    auto raw = std::make_unique<raw_t>();
    for (const int mode : {0, 1, 2}) {
        std::memset(static_cast<void*>(raw.get()), 0x11, sizeof *raw);
        Initial_raw(raw.get(), mode);
        EXPECT_EQ(0, raw->nobs);
        EXPECT_EQ(0, raw->obs[79].code[4]);
        EXPECT_EQ(0, raw->nbyte);
        EXPECT_EQ(0, raw->buff[8191]);
        EXPECT_EQ(0, raw->eph_sat);
        EXPECT_EQ(mode == 2, raw->week != 0);
        EXPECT_EQ(mode == 0, raw->eph[3].toe == 0.0);
        EXPECT_EQ(mode == 0, raw->te_tow == 0.0);
        EXPECT_EQ(mode == 0, std::strcmp(raw->ant_type, "KVRCVMODLA") == 0);
    }
    Initial_raw(nullptr, 0);
}
