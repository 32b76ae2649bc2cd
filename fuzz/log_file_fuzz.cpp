// Receiver log from a file: the block form's results, and its record but for the frame in hand at the end.
// Input: options, log. The highest bit of the options steps over all frames.
#include "fuzz_check.h"
#include "fuzz_input.h"
#include "log_feeds.h"

namespace {

constexpr int kDecode = 0, kSkip = 7;   // modes of input_korvexf()

void clear_framing(raw_t& raw)
{
    raw.nbyte = 0;
    raw.len = 0;
    std::memset(raw.buff, 0, sizeof raw.buff);
}

}   // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz_input_t input(data, size);
    const std::uint8_t options = input.byte();
    const bool skip = (options & 0x80) != 0;

    static raw_t by_file, by_blocks;
    const results_t results = feed_file(by_file, options, input.rest(), skip ? kSkip : kDecode);
    check_record(by_file);
    FUZZ_CHECK(results == feed_blocks(by_blocks, options, skip ? log_t() : input.rest(), 1023, 0));
    clear_framing(by_file);
    clear_framing(by_blocks);
    FUZZ_CHECK(same_records(by_file, by_blocks));
    return 0;
}
