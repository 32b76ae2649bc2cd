// Framing laws: how a stream is cut up, damaged or torn never changes what the rest of it says.
#include <gtest/gtest.h>

#include "support/frame_builder.h"

namespace {

/// What one input form made of a stream.
struct Outcome {
    std::vector<int> results;   // other than 0
    std::unique_ptr<raw_t> raw = new_record();

    void add(int result)
    {
        if (result != 0) results.push_back(result);
    }
};

Outcome by_byte(const Bytes& stream)
{
    Outcome o;
    for (const std::uint8_t byte : stream) o.add(input_korvex(o.raw.get(), byte));
    return o;
}

Outcome by_block(const Bytes& stream, std::size_t size)
{
    Outcome o;
    for (std::size_t at = 0; at < stream.size(); at += size) {
        int left = static_cast<int>(std::min(size, stream.size() - at));
        const std::uint8_t* p = stream.data() + at;
        while (left > 0) {
            const int before = left;
            o.add(input_korvexb(o.raw.get(), p, &left));
            p += before - left;
        }
    }
    return o;
}

Outcome by_file(Bytes stream)
{
    Outcome o;
    std::FILE* file = stream.empty() ? std::tmpfile() : fmemopen(stream.data(), stream.size(), "rb");
    int result = 0;
    while ((result = input_korvexf(o.raw.get(), file, 0)) != DECODE_EOF) o.add(result);
    std::fclose(file);
    return o;
}

FrameBuilder position(double x)
{
    return FrameBuilder(241, 112).body<std::uint32_t>(4, 16).body(8, x).body(16, 2.0).body(24, 3.0);
}

/// Frames of several kinds and lengths with rubbish between them, some of it looking like a sync.
Bytes sample_stream()
{
    Bytes stream;
    for (int i = 0; i < 6; ++i) {
        stream = stream + position(i).ms(1000u * i).bytes() + Bytes{0xAA, 0x44, 0xAA} + Bytes(i, 0xAA);
        stream = stream + range_frame({{0, 0, i + 1}, {0, 9, i + 1}, {4, 0, i + 3}}).ms(1000u * i).bytes();
        stream = stream + FrameBuilder(1043, i).bytes();
    }
    return stream;
}

}   // namespace

TEST(KorvexFraming, HoweverCutTheStreamGivesTheSame)
{
    const Bytes stream = sample_stream();
    const Outcome bytes = by_byte(stream);
    EXPECT_EQ(12u, bytes.results.size());
    for (std::size_t size = 1; size <= stream.size(); size += size < 80 ? 1 : 37) {
        const Outcome blocks = by_block(stream, size);
        ASSERT_EQ(bytes.results, blocks.results) << size;
        ASSERT_EQ(0, std::memcmp(bytes.raw.get(), blocks.raw.get(), sizeof(raw_t))) << size;
    }
    const Outcome file = by_file(stream);
    EXPECT_EQ(bytes.results, file.results);
    EXPECT_EQ(0, std::memcmp(bytes.raw.get(), file.raw.get(), sizeof(raw_t)));
}

TEST(KorvexFraming, ABitFlipCostsOnlyWhatItTouches)
{
    // Position frames tell by their X which of them came through. A flip in the length field may swallow
    // what follows, at most one buffer of it; any other flip costs its own frame.
    constexpr int kFrames = 80;
    Bytes stream;
    std::vector<std::size_t> starts;
    for (int i = 0; i < kFrames; ++i) {
        starts.push_back(stream.size());
        stream = stream + position(1000 + i).bytes();
    }
    const std::size_t frame_size = starts[1];
    for (std::size_t bit = 0; bit < frame_size * 8; ++bit) {
        Bytes damaged = stream;
        damaged[starts[1] + bit / 8] ^= static_cast<std::uint8_t>(1u << bit % 8);
        auto raw = new_record();
        std::vector<bool> seen(kFrames, false);
        const std::uint8_t* p = damaged.data();
        for (int left = static_cast<int>(damaged.size()); left > 0;) {
            const int before = left;
            if (input_korvexb(raw.get(), p, &left) == DECODE_STATION) {
                const int which = static_cast<int>(raw->pos[0]) - 1000;
                ASSERT_TRUE(which >= 0 && which < kFrames && raw->pos[1] == 2.0 && raw->pos[2] == 3.0);
                seen[static_cast<std::size_t>(which)] = true;
            }
            p += before - left;
        }
        const bool in_length = bit / 8 == 8 || bit / 8 == 9;
        const auto reach = 1 + (8192 + frame_size - 1) / frame_size;   // frames that one buffer can touch
        ASSERT_FALSE(seen[1]) << bit;
        for (std::size_t i = 0; i < kFrames; ++i) {
            const bool may_be_lost = i == 1 || (in_length && i > 1 && i <= 1 + reach);
            ASSERT_TRUE(seen[i] || may_be_lost) << "bit " << bit << " frame " << i;
        }
    }
}

TEST(KorvexFraming, TornAnywhereItReturns)
{
    const Bytes frame = position(1).bytes();
    Bytes rest;   // longer than what a torn length field can swallow
    while (rest.size() < 9000) rest = rest + frame;
    for (std::size_t n = 0; n < frame.size(); ++n) {
        const Bytes torn(frame.begin(), frame.begin() + static_cast<long>(n));
        EXPECT_TRUE(by_block(torn, 1000).results.empty());
        EXPECT_TRUE(by_file(torn).results.empty());
        EXPECT_TRUE(by_byte(torn + rest).results.size() >= 1);   // it finds its way again
    }
}

TEST(KorvexFraming, LongestFrame)
{
    auto raw = new_record();
    const Bytes longest = FrameBuilder(9999, 8160).bytes();
    EXPECT_EQ(0, feed(raw.get(), longest));
    EXPECT_EQ(DECODE_STATION, feed(raw.get(), position(1)));

    const Bytes too_long = FrameBuilder(9999, 8161).bytes();
    for (std::size_t i = 0; i < 10; ++i) {
        EXPECT_EQ(i == 9 ? DECODE_REFUSED : 0, input_korvex(raw.get(), too_long[i]));
    }
    int n = static_cast<int>(too_long.size());
    EXPECT_EQ(0, input_korvexb(raw.get(), too_long.data(), &n));
    EXPECT_EQ(static_cast<int>(too_long.size()) - 10, n);
    EXPECT_EQ(std::vector<int>{DECODE_REFUSED}, by_file(too_long).results);
}

TEST(KorvexFraming, Files)
{
    auto raw = new_record();
    EXPECT_EQ(0, input_korvexf(raw.get(), nullptr, 0));

    Bytes stream = Bytes(4097, 0x55) + position(7).bytes() + position(8).bytes();
    std::FILE* file = fmemopen(stream.data(), stream.size(), "rb");
    EXPECT_EQ(0, input_korvexf(raw.get(), file, 0));   // searched in vain, not at the end
    EXPECT_EQ(0, std::feof(file));
    EXPECT_EQ(0, input_korvexf(raw.get(), file, 7));   // steps over one frame
    EXPECT_EQ(0.0, raw->pos[0]);
    EXPECT_EQ(DECODE_STATION, input_korvexf(raw.get(), file, 0));
    EXPECT_EQ(8.0, raw->pos[0]);
    EXPECT_EQ(DECODE_EOF, input_korvexf(raw.get(), file, 0));
    std::fclose(file);

    std::FILE* folder = std::fopen("/tmp", "rb");
    ASSERT_NE(nullptr, folder);
    EXPECT_EQ(DECODE_EOF, input_korvexf(raw.get(), folder, 0));
    std::fclose(folder);
}
