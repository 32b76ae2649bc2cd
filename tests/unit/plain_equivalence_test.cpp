// The fast paths against their plain versions: same values, same bytes, over everything that the input can be.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <functional>
#include <numeric>

#include "gnss/rinex/text.h"
#include "gnss_plain.h"
#include "sky/frame.h"
#include "sky/random.h"
#include "support/frame_builder.h"
#include "support/rinex_records.h"
#include "support/text_file.h"

namespace {

using sky::random_t;

bool one_in(std::uint64_t n, random_t& random)
{
    return random.below(n) == 0;
}

int below(int n, random_t& random)
{
    return static_cast<int>(random.below(static_cast<std::uint64_t>(n)));
}

template <class List>
auto pick(const List& list, random_t& random)
{
    return std::data(list)[random.below(std::size(list))];
}

double unit(random_t& random)
{
    return static_cast<double>(random.bits() >> 11) * 0x1p-53;
}

// ---- Checksum ----

TEST(PlainEquivalence, Crc32OfEveryLengthAndAlignment)
{
    constexpr int kLongest = 700, kAlignments = 16;
    random_t random(1);
    std::vector<std::uint8_t> bytes(kLongest + kAlignments);
    for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random.bits());
    for (int at = 0; at < kAlignments; ++at) {
        for (int len = 0; len <= kLongest; ++len) {
            ASSERT_EQ(crc32(bytes.data() + at, len), plain::crc32(bytes.data() + at, len)) << at << ' ' << len;
        }
    }
}

// ---- Observation field ----

struct KindOfValue {
    const char* name;
    double (*draw)(random_t&);   // magnitude below 1e9
};

const KindOfValue kKindsOfValue[] = {
    {"uniform", [](random_t& r) { return unit(r) * 1e9; }},
    {"log-uniform", [](random_t& r) { return std::exp2(unit(r) * 60.0 - 31.0); }},
    {"any bits below 1e9",
     [](random_t& r) { return std::bit_cast<double>(r.bits() % std::bit_cast<std::uint64_t>(1e9)); }},
    {"float", [](random_t& r) { return static_cast<double>(static_cast<float>(std::exp2(unit(r) * 40.0 - 12.0))); }},
    {"next to a tie",
     [](random_t& r) {
         const double tie = (static_cast<double>(r.below(std::uint64_t{1} << (1 + r.below(39)))) + 0.5) / 1000.0;
         const auto step = static_cast<std::int64_t>(r.below(9)) - 4;
         return std::bit_cast<double>(std::bit_cast<std::int64_t>(tie) + step);
     }},
    {"exact tie", [](random_t& r) { return static_cast<double>(2 * r.below(500'000'000) + 1) / 16.0; }},
};

std::string fast_observation(double value)
{
    rinex::text_buffer_t<24> text;
    text.observation(value);
    return std::string(text.view());
}

std::string plain_observation(double value)
{
    char text[24];
    return {text, plain::observation(text, value)};
}

TEST(PlainEquivalence, ObservationFieldPrintsAsPrintfDoes)
{
    random_t random(2);
    for (const auto& kind : kKindsOfValue) {
        for (int i = 0; i < 500'000; ++i) {
            const double magnitude = kind.draw(random);
            const double value = (i & 1) != 0 ? -magnitude : magnitude;
            ASSERT_EQ(fast_observation(value), plain_observation(value)) << kind.name << ' ' << std::hexfloat << value;
        }
    }
    for (const double value : {0.0, -0.0, 5e-324, -0.0004, 0.0005, 999999999.9994, 999999999.9996, -999999999.9996}) {
        EXPECT_EQ(fast_observation(value), plain_observation(value));
    }
}

// ---- Range messages ----

// Receiver PRNs that mean something, and all others.
int any_prn(random_t& random, int system)
{
    constexpr int kFirst[] = {1, 38, 120, 1, 1, 193, 0, 0};
    constexpr int kCount[] = {33, 26, 40, 38, 47, 11, 1, 1};
    if (one_in(4, random)) return below(300, random);
    if (system == 4 && one_in(4, random)) return 155 + below(45, random);
    return kFirst[system] + below(kCount[system], random);
}

// Phase and code lock and parity mostly known; signal types that the system has, and all others.
std::uint32_t any_status(random_t& random, int system)
{
    static const std::vector<int> kTypes[] = {
        {0, 5, 9, 17, 6, 14, 16}, {0, 1, 5}, {0, 5}, {1, 2, 17, 12, 20, 7}, {0, 4, 1, 5, 17, 9, 12, 2, 21, 6, 7, 8},
        {0, 5, 9, 17, 6, 14, 16}, {0},       {0}};
    const int type = one_in(4, random) ? below(32, random) : pick(kTypes[system], random);
    std::uint32_t status = static_cast<std::uint32_t>(random.bits()) & 0xFC00E3FFu;
    for (const int bit : {10, 11, 12}) status |= std::uint32_t{!one_in(8, random)} << bit;
    return status | std::uint32_t{one_in(4, random)} << 19 | static_cast<std::uint32_t>(system << 16 | type << 21);
}

double any_double(random_t& random)
{
    return one_in(8, random) ? std::bit_cast<double>(random.bits()) : (unit(random) - 0.2) * 3e8;
}

float any_float(random_t& random)
{
    constexpr float kEdges[] = {0.0f, -0.0f, 254.9f, 255.0f, 1e-40f, -1e-40f};
    if (one_in(8, random)) return std::bit_cast<float>(static_cast<std::uint32_t>(random.bits()));
    return one_in(8, random) ? pick(kEdges, random) : static_cast<float>((unit(random) - 0.2) * 300.0);
}

void put_full(sky::frame_t& frame, std::size_t at, random_t& random)
{
    const int system = below(8, random);
    frame.u16(at, any_prn(random, system) + (one_in(64, random) ? 65200 : 0)).u16(at + 2, below(16, random));
    frame.f64(at + 4, any_double(random)).f64(at + 16, any_double(random));
    frame.f32(at + 28, any_float(random)).f32(at + 32, any_float(random)).f32(at + 36, any_float(random));
    frame.u32(at + 40, any_status(random, system));
}

void put_compressed(sky::frame_t& frame, std::size_t at, random_t& random)
{
    const int system = below(8, random);
    frame.u32(at, any_status(random, system));
    for (std::size_t i = 4; i < 24; i += 4) frame.u32(at + i, static_cast<std::uint32_t>(random.bits()));
    if (one_in(16, random)) frame.u32(at + 4, 0x8000000);   // the lowest Doppler
    frame.u8(at + 17, any_prn(random, system)).u8(at + 21, below(one_in(4, random) ? 256 : 64, random));
}

// A range message with up to 180 records; now and then damaged, cut short, of an unknown time or another kind.
sky::bytes_t any_frame(random_t& random, std::int64_t ms)
{
    constexpr int kWeeks[] = {0, 65535, 2305, 2306};
    const bool full = one_in(2, random);
    const int size = full ? 44 : 24, records = below(one_in(3, random) ? 180 : 40, random);
    const int to_the_limit = 8160 - 4 - records * size;
    const int spare = !one_in(8, random) ? 0 : one_in(8, random) ? to_the_limit : below(30, random);
    sky::frame_t frame(one_in(32, random) ? 1273 : full ? 43 : 140, 4 + records * size + spare);
    frame.u32(0, one_in(32, random) ? static_cast<std::uint32_t>(random.bits()) : records);
    for (int i = 0; i < records; ++i) (full ? put_full : put_compressed)(frame, 4 + i * size, random);

    sky::bytes_t bytes;
    frame.append_to(bytes, one_in(16, random) ? pick(kWeeks, random) : 2305, ms);
    if (one_in(32, random)) bytes[random.below(bytes.size())] ^= static_cast<std::uint8_t>(1 << below(8, random));
    return bytes;
}

// Feeds one frame in pieces; the result is the last one that is not 0.
int feed_blocks(raw_t* raw, const sky::bytes_t& bytes, random_t& random)
{
    int result = 0;
    for (std::size_t at = 0; at < bytes.size();) {
        const int size = std::min(static_cast<int>(bytes.size() - at), 1 + below(4000, random));
        int left = size;
        if (const int got = input_korvexb(raw, bytes.data() + at, &left); got != 0) result = got;
        at += size - left;
    }
    return result;
}

int feed_bytes(raw_t* raw, const sky::bytes_t& bytes, const std::function<int(raw_t*, std::uint8_t)>& input)
{
    int result = 0;
    for (const std::uint8_t byte : bytes) {
        const int got = input(raw, byte);
        const bool too_long = got == DECODE_REFUSED && raw->len > 8188;   // to which the block form says 0
        if (got != 0 && !too_long) result = got;
    }
    return result;
}

TEST(PlainEquivalence, RangeMessagesLeaveTheSameRecord)
{
    random_t random(3);
    const auto by_byte = new_record(), by_block = new_record(), by_plain = new_record();
    std::int64_t ms = 604'000'000;
    int epochs = 0, refused = 0, full = 0;
    for (int i = 0; i < 4000; ++i) {
        if (i % 40 == 0) {
            const auto options = static_cast<std::uint8_t>(random.bits());
            for (raw_t* raw : {by_byte.get(), by_block.get(), by_plain.get()}) {
                Initial_raw(raw, 0);
                raw->opt_rawprn = options & 1;
                raw->opt_nosigmap = options >> 1 & 1;
                raw->ts_ena = raw->te_ena = (options >> 2 & 7) == 0;
                raw->ts_week = 2305, raw->ts_tow = static_cast<double>(ms) * 0.001;
                raw->te_week = 2305, raw->te_tow = static_cast<double>(ms + 1000) * 0.001;
            }
        }
        constexpr int kSteps[] = {0, 0, 0, 0, 0, 0, 0, 1, 2, 1000, -1000, 100'000};   // mostly more of the same epoch
        ms = (ms + 604'800'000 + pick(kSteps, random)) % 604'800'000;
        const sky::bytes_t frame = any_frame(random, ms);

        const int expected = feed_bytes(by_plain.get(), frame, plain::input_byte);
        ASSERT_EQ(feed_bytes(by_byte.get(), frame, input_korvex), expected) << "frame " << i;
        ASSERT_EQ(feed_blocks(by_block.get(), frame, random), expected) << "frame " << i;
        ASSERT_EQ(std::memcmp(by_byte.get(), by_plain.get(), sizeof(raw_t)), 0) << "frame " << i;
        ASSERT_EQ(std::memcmp(by_block.get(), by_plain.get(), sizeof(raw_t)), 0) << "frame " << i;
        epochs += expected == DECODE_OBS;
        refused += expected == DECODE_REFUSED;
        full += by_plain->nobs == kMaxObs;
    }
    EXPECT_GT(epochs, 2000);   // the frames were not all turned away
    EXPECT_GT(refused, 50);
    EXPECT_GT(full, 20);
}

// ---- RINEX 3 epoch ----

void fill_epoch(raw_t& raw, random_t& random)
{
    Initial_raw(&raw, 0);
    raw.week = static_cast<std::uint16_t>(1000 + below(2000, random));
    raw.tow = below(604'800'000, random) * 0.001;
    raw.nobs = static_cast<std::uint8_t>(below(kMaxObs + 1, random));
    raw.opt_nosigmap = one_in(2, random);
    for (int i = 0; i < raw.nobs; ++i) {
        obsd_t& obs = raw.obs[i];
        obs.sat = static_cast<std::uint8_t>(1 + below(kMaxSat, random));
        for (int slot = 0; slot < kNumSlots; ++slot) {
            obs.P[slot] = one_in(8, random) ? 0.0 : any_double(random);
            obs.L[slot] = one_in(8, random) ? unit(random) * 0.02 : any_double(random) * 4.0;
            obs.D[slot] = static_cast<float>((unit(random) - 0.5) * std::exp2(below(12, random)));
            obs.SNR[slot] = unit(random) * 260.0;
            obs.LLI[slot] = static_cast<std::uint8_t>(below(4, random));
        }
    }
}

rnx_t any_options(random_t& random)
{
    constexpr const char* kBoards[] = {"", "KV3A0", "KV4A0", "board KV4A0 rev 2"};
    constexpr int kKinds[] = {0, 1, 2, 5, 6, 9};
    rnx_t opt = options(302 + below(3, random), pick(kKinds, random), pick(kBoards, random));
    for (std::int32_t* on : {&opt.sys_gps, &opt.sys_glo, &opt.sys_bds, &opt.sys_gal, &opt.sys_sbs})
        *on = !one_in(4, random);
    return opt;
}

TEST(PlainEquivalence, EpochsOfRinex3AreTheSameBytes)
{
    random_t random(4);
    const auto raw = new_record();
    std::size_t bytes = 0;
    for (int i = 0; i < 400; ++i) {
        fill_epoch(*raw, random);
        rnx_t opt = any_options(random);
        const FilePtr plainly = new_file(), fast = new_file();
        plain::write_epoch3(plainly.get(), *raw, opt);
        WriteRinexObsRec(fast.get(), raw.get(), &opt, 0.0);
        ASSERT_EQ(contents(fast.get()), contents(plainly.get())) << "epoch " << i;
        bytes += contents(fast.get()).size();
    }
    EXPECT_GT(bytes, 400u * 2000u);
}

}   // namespace
