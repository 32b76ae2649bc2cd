// Receiver log: the ways in give the same results and the same record, whatever an earlier frame left in the buffer;
// and what the tool makes of it keeps the rules. Input: way and options, size of the blocks, log.
#include <rtk_gnss.h>
#include <sanitizer/asan_interface.h>

#include "fuzz.h"
#include "gnss/log/frame.h"
#include "log_to_files.h"
#include "support/log_ways.h"

namespace {

// Results that were not 0. A header that announces too much is left out: only two of the entry points report it.
using results_t = std::vector<int>;

// What a log may change. Behind it lies the host's own area, which nobody may so much as read.
constexpr std::size_t kDecoded = offsetof(raw_t, host_area);

// Options of the host by bits; the leap seconds of an earlier input are forgotten.
void start(raw_t& raw, std::uint8_t options, int earlier_frame = 0)
{
    static const raw_t fresh = [] {
        raw_t r;
        Initial_raw(&r, 0);
        return r;
    }();
    g_curleap = 18;
    ASAN_POISON_MEMORY_REGION(raw.host_area, sizeof raw.host_area);
    std::memcpy(static_cast<void*>(&raw), &fresh, kDecoded);
    std::memset(raw.buff, earlier_frame, sizeof raw.buff);
    raw.opt_rawprn = options & 1;
    raw.opt_nosigmap = options >> 1 & 1;
    raw.ts_ena = options >> 2 & 1;
    raw.te_ena = options >> 3 & 1;
    raw.ts_week = (options & 0x10) != 0 ? -2147483647 : 2300;
    raw.te_week = (options & 0x20) != 0 ? 2147483647 : 2310;
}

// Takes down the results of one way in.
auto noting(results_t& results, const raw_t& raw)
{
    return [&](int result) {
        if (result == DECODE_NOTHING) return;
        FUZZ_CHECK(result >= DECODE_REFUSED && result <= DECODE_STOP_AND_GO);
        if (result != DECODE_REFUSED || raw.len <= korvex::kMaxLen) results.push_back(result);
    };
}

void check_record(const raw_t& raw)
{
    FUZZ_CHECK(raw.nobs <= kMaxObs && raw.nbyte < sizeof raw.buff);
    FUZZ_CHECK(raw.eph_sat <= kMaxSat + 14);   // SBAS indices up to 39 are reported
    for (int i = 0; i < kMaxObs; ++i) FUZZ_CHECK((raw.obs[i].sat != 0) == (i < raw.nobs));
    for (const char(&text)[31] : raw.rcv_text) FUZZ_CHECK(text[30] == '\0');
}

// Of the framing only what is in hand counts.
bool same(raw_t& a, raw_t& b, bool framing)
{
    for (raw_t* raw : {&a, &b}) {
        if (!framing) raw->nbyte = 0, raw->len = 0;
        std::memset(raw->buff + raw->nbyte, 0, sizeof raw->buff - raw->nbyte);
    }
    return std::memcmp(&a, &b, kDecoded) == 0;
}

enum way_t { kByBlock, kByFile, kSkipped, kTool };

}   // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr int kDecode = 0, kSkip = 7;   // modes of input_korvexf()
    bytes_t input(data, size);
    const auto options = take<std::uint8_t>(input), block = take<std::uint8_t>(input);
    const auto way = static_cast<way_t>(options >> 6);
    const std::size_t block_size = block * 4u + 1;
    static raw_t first, other;
    start(first, options);
    if (way == kTool) {
        log_to_files(first, input, block_size, options);
        return check_record(first), 0;
    }

    results_t results, others;
    if (way != kSkipped) by_byte(first, input, noting(results, first));
    check_record(first);
    const unsigned leap_seconds = g_curleap;

    start(other, options, 0xFF);
    const auto note = noting(others, other);
    if (way == kByBlock) {
        by_block(
            other, input, [&] { return block_size; }, note);
    } else {
        by_file(other, input, way == kSkipped ? kSkip : kDecode, note);
    }
    FUZZ_CHECK(others == results && g_curleap == leap_seconds);
    FUZZ_CHECK(same(other, first, way == kByBlock));
    return 0;
}
