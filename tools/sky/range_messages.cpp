#include "sky/range_messages.h"

#include <algorithm>
#include <cmath>

#include "gnss/log/range.h"

namespace sky {

namespace {

// 44 bytes: all values as they are.
void put_full(frame_t& frame, std::size_t at, const range_t& r)
{
    frame.u16(at, static_cast<unsigned>(r.prn)).u16(at + 2, static_cast<unsigned>(r.channel + 7));
    frame.f64(at + 4, r.pseudorange).f32(at + 12, 0.3f);
    frame.f64(at + 16, -r.phase).f32(at + 24, 0.01f);   // the board's Doppler range falls while the range grows
    frame.f32(at + 28, static_cast<float>(r.doppler)).f32(at + 32, static_cast<float>(r.cn0));
    frame.f32(at + 36, static_cast<float>(r.lock_time)).u32(at + 40, r.status);
}

// 24 bytes: fixed-point values that share bytes, the phase in 32 bits.
void put_compressed(frame_t& frame, std::size_t at, const range_t& r)
{
    const auto doppler = static_cast<std::uint64_t>(std::llround(r.doppler * 256.0)) & 0xFFFFFFF;
    const auto range = static_cast<std::uint64_t>(std::llround(r.pseudorange * 128.0)) & 0xFFFFFFFFF;
    const std::uint64_t word = doppler | range << 28;
    const auto phase = static_cast<std::uint64_t>(std::llround(-r.phase * 256.0));
    const auto lock = static_cast<std::uint32_t>(std::min(std::llround(r.lock_time * 32.0), 0x1FFFFFLL));
    const auto cn0 = static_cast<std::uint32_t>(std::clamp(std::llround(r.cn0), 20LL, 51LL) - 20);
    const auto channel = static_cast<std::uint32_t>(r.channel + 7);
    frame.u32(at, r.status);
    frame.u32(at + 4, static_cast<std::uint32_t>(word)).u32(at + 8, static_cast<std::uint32_t>(word >> 32));
    frame.u32(at + 12, static_cast<std::uint32_t>(phase)).u8(at + 17, static_cast<unsigned>(r.prn));
    frame.u32(at + 18, lock | cn0 << 21 | channel << 26);
}

struct layout_t {
    std::size_t record;
    void (*put)(frame_t&, std::size_t, const range_t&);
};

}   // namespace

void append_ranges(bytes_t& log, range_form_t form, std::span<const range_t> ranges, int week, std::int64_t ms)
{
    const layout_t layout = form == kFullRange ? layout_t{korvex::kRangeSize, put_full}
                                               : layout_t{korvex::kRangeCompressedSize, put_compressed};
    const std::size_t most = (korvex::kMaxLen - korvex::kHeaderSize - korvex::kCountSize) / layout.record;
    do {
        const std::span<const range_t> part = ranges.first(std::min(most, ranges.size()));
        ranges = ranges.subspan(part.size());
        frame_t frame(static_cast<std::uint16_t>(form), korvex::kCountSize + layout.record * part.size());
        frame.u32(0, static_cast<std::uint32_t>(part.size()));
        std::size_t at = korvex::kCountSize;
        for (const range_t& r : part) {
            layout.put(frame, at, r);
            at += layout.record;
        }
        frame.append_to(log, week, ms);
    } while (!ranges.empty());
}

}   // namespace sky
