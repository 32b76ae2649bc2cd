// Receiver log: byte by byte, in blocks and from a file it gives the same results and the same record, whatever an
// earlier frame left in the buffer. Input: options, size of the blocks, log.
#include <rtk_gnss.h>

#include "fuzz.h"

namespace {

// Results that were not 0. A header that announces too much is left out: only two of the entry points report it.
using results_t = std::vector<int>;

constexpr int kMaxLen = 8188;

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

void note(results_t& results, const raw_t& raw, int result)
{
    FUZZ_CHECK(result >= DECODE_REFUSED && result <= DECODE_STOP_AND_GO);
    const bool too_long = result == DECODE_REFUSED && raw.len > kMaxLen;
    if (result != DECODE_NOTHING && !too_long) results.push_back(result);
}

results_t feed_bytes(raw_t& raw, bytes_t log)
{
    results_t results;
    for (const std::uint8_t byte : log) note(results, raw, input_korvex(&raw, byte));
    return results;
}

results_t feed_blocks(raw_t& raw, bytes_t log, std::size_t block)
{
    results_t results;
    in_pieces(log, block, [&](const std::uint8_t* data, std::size_t size) {
        for (int left = static_cast<int>(size); left > 0;) {
            const int before = left;
            note(results, raw, input_korvexb(&raw, data + size - left, &left));
            FUZZ_CHECK(left >= 0 && left < before);
        }
    });
    return results;
}

results_t feed_file(raw_t& raw, bytes_t log, int mode)
{
    results_t results;
    if (log.empty()) return results;
    std::FILE* file = fmemopen(const_cast<std::uint8_t*>(log.data()), log.size(), "rb");
    std::size_t calls = 0;
    for (int result; (result = input_korvexf(&raw, file, mode)) != DECODE_EOF; ++calls) {
        note(results, raw, result);
        FUZZ_CHECK(calls <= log.size());   // every call reads something
    }
    std::fclose(file);
    return results;
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
    static raw_t by_bytes, other;
    start(by_bytes, options);
    const results_t results = feed_bytes(by_bytes, input);
    check_record(by_bytes);

    start(other, options, 0xFF);
    FUZZ_CHECK(feed_blocks(other, input, block * 4u) == results && same(other, by_bytes, true));
    start(other, options);
    FUZZ_CHECK(feed_file(other, input, kDecode) == results && same(other, by_bytes, false));
    start(other, options);
    start(by_bytes, options);
    FUZZ_CHECK(feed_file(other, input, kSkip).empty() && same(other, by_bytes, false));
    return 0;
}
