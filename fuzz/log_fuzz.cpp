// Receiver log: byte by byte, in blocks and from a file it gives the same results and the same record, whatever an
// earlier frame left in the buffer. Input: options, size of the blocks, log.
#include <rtk_gnss.h>

#include "fuzz.h"
#include "gnss/log/frame.h"
#include "support/log_ways.h"

namespace {

// Results that were not 0. A header that announces too much is left out: only two of the entry points report it.
using results_t = std::vector<int>;

// Options of the host by bits; the leap seconds of an earlier input are forgotten.
void start(raw_t& raw, std::uint8_t options, int earlier_frame = 0)
{
    g_curleap = 18;
    Initial_raw(&raw, 0);
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
        FUZZ_CHECK(result >= DECODE_REFUSED && result <= DECODE_STOP_AND_GO);
        const bool too_long = result == DECODE_REFUSED && raw.len > korvex::kMaxLen;
        if (result != DECODE_NOTHING && !too_long) results.push_back(result);
    };
}

void check_record(const raw_t& raw)
{
    static const std::uint8_t kUntouched[sizeof raw.host_area] = {};
    FUZZ_CHECK(raw.nobs <= kMaxObs && raw.nbyte < sizeof raw.buff);
    FUZZ_CHECK(raw.eph_sat <= kMaxSat + 14);   // SBAS indices up to 39 are reported
    for (int i = 0; i < kMaxObs; ++i) FUZZ_CHECK((raw.obs[i].sat != 0) == (i < raw.nobs));
    for (const char(&text)[31] : raw.rcv_text) FUZZ_CHECK(text[30] == '\0');
    FUZZ_CHECK(std::memcmp(raw.host_area, kUntouched, sizeof kUntouched) == 0);
}

// Of the framing only what is in hand counts.
bool same(raw_t& a, raw_t& b, bool framing)
{
    for (raw_t* raw : {&a, &b}) {
        if (!framing) raw->nbyte = 0, raw->len = 0;
        std::memset(raw->buff + raw->nbyte, 0, sizeof raw->buff - raw->nbyte);
    }
    return std::memcmp(&a, &b, sizeof a) == 0;
}

}   // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr int kDecode = 0, kSkip = 7;   // modes of input_korvexf()
    bytes_t input(data, size);
    const auto options = take<std::uint8_t>(input), block = take<std::uint8_t>(input);
    static raw_t first, other;
    results_t results, others[3];
    start(first, options);
    by_byte(first, input, noting(results, first));
    check_record(first);

    start(other, options, 0xFF);
    by_block(
        other, input, [&] { return block * 4u + 1; }, noting(others[0], other));
    FUZZ_CHECK(others[0] == results && same(other, first, true));
    start(other, options);
    by_file(other, input, kDecode, noting(others[1], other));
    FUZZ_CHECK(others[1] == results && same(other, first, false));
    start(other, options);
    start(first, options);
    by_file(other, input, kSkip, noting(others[2], other));
    FUZZ_CHECK(others[2].empty() && same(other, first, false));
    return 0;
}
