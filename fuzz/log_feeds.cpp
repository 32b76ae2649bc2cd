#include "log_feeds.h"

#include <algorithm>
#include <cstring>

#include "fuzz_check.h"

namespace {

constexpr int kMaxLen = 8188;

// Options of the host by bits; the leap seconds of an earlier input are forgotten.
void start(raw_t& raw, std::uint8_t options)
{
    g_curleap = 18;
    Initial_raw(&raw, 0);
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

}   // namespace

results_t feed_bytes(raw_t& raw, std::uint8_t options, log_t log)
{
    start(raw, options);
    results_t results;
    for (const std::uint8_t byte : log) note(results, raw, input_korvex(&raw, byte));
    return results;
}

results_t feed_blocks(raw_t& raw, std::uint8_t options, log_t log, unsigned first, unsigned step)
{
    start(raw, options);
    results_t results;
    for (unsigned block = first; !log.empty(); block = (block + step) % 1024) {
        // In memory of its own, so that a read behind the block is seen.
        const std::vector<std::uint8_t> bytes(log.begin(), log.begin() + std::min<long>(std::ssize(log), block + 1L));
        log = log.subspan(bytes.size());
        for (int left = static_cast<int>(bytes.size()); left > 0;) {
            const int before = left;
            note(results, raw, input_korvexb(&raw, bytes.data() + bytes.size() - left, &left));
            FUZZ_CHECK(left >= 0 && left < before);
        }
    }
    return results;
}

results_t feed_file(raw_t& raw, std::uint8_t options, log_t log, int mode)
{
    start(raw, options);
    results_t results;
    if (log.empty()) return results;
    std::FILE* fp = fmemopen(const_cast<std::uint8_t*>(log.data()), log.size(), "rb");
    FUZZ_CHECK(fp != nullptr);
    for (std::size_t calls = 0;; ++calls) {
        const int result = input_korvexf(&raw, fp, mode);
        if (result == DECODE_EOF) break;
        note(results, raw, result);
        FUZZ_CHECK(calls <= log.size());   // every call reads something
    }
    std::fclose(fp);
    return results;
}

bool same_records(const raw_t& a, const raw_t& b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

void check_record(const raw_t& raw)
{
    FUZZ_CHECK(raw.nobs <= kMaxObs);
    FUZZ_CHECK(raw.nbyte < sizeof raw.buff);
    FUZZ_CHECK(raw.eph_sat <= kMaxSat + 14);   // SBAS indices up to 39 are reported
    for (int i = 0; i < kMaxObs; ++i) FUZZ_CHECK((raw.obs[i].sat != 0) == (i < raw.nobs));
    for (const char(&text)[31] : raw.rcv_text) FUZZ_CHECK(text[30] == '\0');
    static const std::uint8_t kUntouched[sizeof raw.host_area] = {};
    FUZZ_CHECK(std::memcmp(raw.host_area, kUntouched, sizeof kUntouched) == 0);
}
