// Receiver log byte by byte. Input: options, log.
#include "fuzz_input.h"
#include "log_feeds.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz_input_t input(data, size);
    const std::uint8_t options = input.byte();
    static raw_t raw;
    feed_bytes(raw, options, input.rest());
    check_record(raw);
    return 0;
}
