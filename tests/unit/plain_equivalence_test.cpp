// The fast paths against their plain versions: same values, same bytes, over everything that the input can be.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <functional>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

#include "gnss_plain.h"
#include "rinex_text.h"
#include "rtk_gnss.h"
#include "sky/frame.h"
#include "sky/random.h"

namespace {

using sky::random_t;

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

double unit(random_t& random)
{
    return static_cast<double>(random.bits() >> 11) * 0x1p-53;
}

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
int any_prn(random_t& random, unsigned system)
{
    constexpr int kFirst[] = {1, 38, 120, 1, 1, 193, 0, 0};
    constexpr int kCount[] = {33, 26, 40, 38, 47, 11, 1, 1};
    if (random.below(4) == 0) return static_cast<int>(random.below(300));
    if (system == 4 && random.below(4) == 0) return static_cast<int>(155 + random.below(45));
    return kFirst[system] + static_cast<int>(random.below(static_cast<std::uint64_t>(kCount[system])));
}

// Signal types that the system has, and all others.
std::uint32_t any_type(random_t& random, unsigned system)
{
    static const std::vector<std::uint32_t> kTypes[] = {
        {0, 5, 9, 17, 6, 14, 16}, {0, 1, 5}, {0, 5}, {1, 2, 17, 12, 20, 7}, {0, 4, 1, 5, 17, 9, 12, 2, 21, 6, 7, 8},
        {0, 5, 9, 17, 6, 14, 16}, {0},       {0}};
    if (random.below(4) == 0) return static_cast<std::uint32_t>(random.below(32));
    return kTypes[system][random.below(kTypes[system].size())];
}

std::uint32_t any_status(random_t& random, unsigned system)
{
    const std::uint32_t noise = static_cast<std::uint32_t>(random.bits()) & 0xFC00E3FFu;
    std::uint32_t status = noise | system << 16 | any_type(random, system) << 21;
    for (const int bit : {10, 11, 12}) status |= static_cast<std::uint32_t>(random.below(8) != 0) << bit;
    return status | static_cast<std::uint32_t>(random.below(4) == 0) << 19;
}

double any_double(random_t& random)
{
    return random.below(8) == 0 ? std::bit_cast<double>(random.bits()) : (unit(random) - 0.2) * 3e8;
}

float any_float(random_t& random)
{
    constexpr float kEdges[] = {0.0f, -0.0f, 254.9f, 255.0f, 1e-40f, -1e-40f};
    switch (random.below(8)) {
        case 0:
            return std::bit_cast<float>(static_cast<std::uint32_t>(random.bits()));
        case 1:
            return kEdges[random.below(std::size(kEdges))];
        default:
            return static_cast<float>((unit(random) - 0.2) * 300.0);
    }
}

void put_full(sky::frame_t& frame, std::size_t at, random_t& random)
{
    const auto system = static_cast<unsigned>(random.below(8));
    const auto prn = static_cast<unsigned>(any_prn(random, system) + (random.below(64) == 0 ? 65200 : 0));
    frame.u16(at, prn).u16(at + 2, static_cast<unsigned>(random.below(16)));
    frame.f64(at + 4, any_double(random)).f64(at + 16, any_double(random));
    frame.f32(at + 28, any_float(random)).f32(at + 32, any_float(random)).f32(at + 36, any_float(random));
    frame.u32(at + 40, any_status(random, system));
}

void put_compressed(sky::frame_t& frame, std::size_t at, random_t& random)
{
    const auto system = static_cast<unsigned>(random.below(8));
    frame.u32(at, any_status(random, system));
    for (std::size_t i = 4; i < 24; i += 4) frame.u32(at + i, static_cast<std::uint32_t>(random.bits()));
    if (random.below(16) == 0) frame.u32(at + 4, 0x8000000);   // the lowest Doppler
    frame.u8(at + 17, static_cast<unsigned>(any_prn(random, system)));
    frame.u8(at + 21, static_cast<unsigned>(random.below(16)) << 2 | static_cast<unsigned>(random.below(4)));
}

// A range message with up to 180 records; now and then damaged, cut short, of an unknown time or another kind.
sky::bytes_t any_frame(random_t& random, std::int64_t ms)
{
    const bool full = random.below(2) == 0;
    const std::size_t size = full ? 44 : 24;
    const std::size_t records = random.below(random.below(3) == 0 ? 180 : 40);
    const std::size_t to_the_limit = 8160 - 4 - records * size;
    const std::size_t spare = random.below(8) != 0 ? 0 : random.below(8) == 0 ? to_the_limit : random.below(30);
    const int id = random.below(32) == 0 ? 1273 : full ? 43 : 140;
    sky::frame_t frame(static_cast<std::uint16_t>(id), 4 + records * size + spare);
    frame.u32(0, static_cast<std::uint32_t>(random.below(32) == 0 ? random.bits() : records));
    for (std::size_t i = 0; i < records; ++i) (full ? put_full : put_compressed)(frame, 4 + i * size, random);

    constexpr int kWeeks[] = {0, 65535, 2305, 2306};
    sky::bytes_t bytes;
    frame.append_to(bytes, random.below(16) == 0 ? kWeeks[random.below(4)] : 2305, ms);
    if (random.below(32) == 0) bytes[random.below(bytes.size())] ^= static_cast<std::uint8_t>(1 << random.below(8));
    return bytes;
}

// Feeds one frame in pieces; the result is the last one that is not 0.
int feed_blocks(raw_t* raw, const sky::bytes_t& bytes, random_t& random)
{
    int result = 0;
    for (std::size_t at = 0; at < bytes.size();) {
        const int size = static_cast<int>(std::min<std::size_t>(bytes.size() - at, 1 + random.below(4000)));
        int left = size;
        if (const int got = input_korvexb(raw, bytes.data() + at, &left); got != 0) result = got;
        at += static_cast<std::size_t>(size - left);
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
    const auto by_byte = std::make_unique<raw_t>(), by_block = std::make_unique<raw_t>(),
               by_plain = std::make_unique<raw_t>();
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
        ms = (ms + 604'800'000 + kSteps[random.below(std::size(kSteps))]) % 604'800'000;
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

std::string written(const std::function<void(std::FILE*)>& write)
{
    char* text = nullptr;
    std::size_t size = 0;
    std::FILE* fp = open_memstream(&text, &size);
    write(fp);
    std::fclose(fp);
    std::string result(text, size);
    std::free(text);
    return result;
}

void fill_epoch(raw_t& raw, random_t& random)
{
    Initial_raw(&raw, 0);
    raw.week = static_cast<std::uint16_t>(1000 + random.below(2000));
    raw.tow = static_cast<double>(random.below(604'800'000)) * 0.001;
    raw.nobs = static_cast<std::uint8_t>(random.below(kMaxObs + 1));
    raw.opt_nosigmap = static_cast<std::uint8_t>(random.below(2));
    for (int i = 0; i < raw.nobs; ++i) {
        obsd_t& obs = raw.obs[i];
        obs.sat = static_cast<std::uint8_t>(1 + random.below(kMaxSat));
        for (int slot = 0; slot < kNumSlots; ++slot) {
            const double scale = std::exp2(static_cast<double>(random.below(12)));
            obs.P[slot] = random.below(8) == 0 ? 0.0 : any_double(random);
            obs.L[slot] = random.below(8) == 0 ? unit(random) * 0.02 : any_double(random) * 4.0;
            obs.D[slot] = static_cast<float>((unit(random) - 0.5) * scale);
            obs.SNR[slot] = unit(random) * 260.0;
            obs.LLI[slot] = static_cast<std::uint8_t>(random.below(4));
        }
    }
}

rnx_t any_options(random_t& random)
{
    constexpr const char* kBoards[] = {"", "KV3A0", "KV4A0", "board KV4A0 rev 2"};
    constexpr int kKinds[] = {0, 1, 2, 5, 6, 9};
    rnx_t opt{};
    Initial_Rnx(&opt);
    opt.version = static_cast<int>(302 + random.below(3));
    opt.rcvkind = kKinds[random.below(std::size(kKinds))];
    std::strcpy(opt.rectype, kBoards[random.below(std::size(kBoards))]);
    for (std::int32_t* on : {&opt.sys_gps, &opt.sys_glo, &opt.sys_bds, &opt.sys_gal, &opt.sys_sbs}) {
        *on = random.below(4) != 0;
    }
    return opt;
}

TEST(PlainEquivalence, EpochsOfRinex3AreTheSameBytes)
{
    random_t random(4);
    const auto raw = std::make_unique<raw_t>();
    std::size_t bytes = 0;
    for (int i = 0; i < 400; ++i) {
        fill_epoch(*raw, random);
        rnx_t opt = any_options(random);
        const std::string plainly = written([&](std::FILE* fp) { plain::write_epoch3(fp, *raw, opt); });
        const std::string fast = written([&](std::FILE* fp) { WriteRinexObsRec(fp, raw.get(), &opt, 0.0); });
        ASSERT_EQ(fast, plainly) << "epoch " << i;
        bytes += fast.size();
    }
    EXPECT_GT(bytes, 400u * 2000u);
}

}   // namespace
