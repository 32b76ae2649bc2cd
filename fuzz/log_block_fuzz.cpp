// Receiver log in blocks: however it is cut, results and record are those of the byte form.
// Input: options, size of the first block, growth of the next, log.
#include "fuzz_check.h"
#include "fuzz_input.h"
#include "log_feeds.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz_input_t input(data, size);
    const std::uint8_t options = input.byte();
    const unsigned first = input.byte() * 4u;
    const unsigned step = input.byte();

    static raw_t by_blocks, by_bytes;
    const results_t results = feed_blocks(by_blocks, options, input.rest(), first, step);
    check_record(by_blocks);
    FUZZ_CHECK(results == feed_bytes(by_bytes, options, input.rest()));
    FUZZ_CHECK(same_records(by_blocks, by_bytes));
    return 0;
}
