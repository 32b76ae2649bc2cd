/// @file log_ways.h  The decoder's three ways in: `each(result)` follows every call.
#ifndef TESTS_LOG_WAYS_H
#define TESTS_LOG_WAYS_H

#include <rtk_gnss.h>

#include <algorithm>
#include <span>
#include <vector>

using log_bytes_t = std::span<const std::uint8_t>;

template <class Each>
void by_byte(raw_t& raw, log_bytes_t log, const Each& each)
{
    for (const std::uint8_t byte : log) each(input_korvex(&raw, byte));
}

/// @param size  gives the size of the next block; each ends where its memory ends, so that a read behind it is seen
template <class Size, class Each>
void by_block(raw_t& raw, log_bytes_t log, const Size& size, const Each& each)
{
    std::vector<std::uint8_t> memory(log.size());
    const std::uint8_t* const end = memory.data() + memory.size();
    while (!log.empty()) {
        const auto block = log.first(std::min<std::size_t>(size(), log.size()));
        std::copy_backward(block.begin(), block.end(), memory.end());
        log = log.subspan(block.size());
        for (int left = static_cast<int>(block.size()); left > 0;) each(input_korvexb(&raw, end - left, &left));
    }
}

/// @param mode  as input_korvexf()
template <class Each>
void by_file(raw_t& raw, log_bytes_t log, int mode, const Each& each)
{
    std::FILE* file = fmemopen(const_cast<std::uint8_t*>(log.data()), std::max<std::size_t>(log.size(), 1), "rb");
    if (log.empty()) std::fgetc(file);
    for (int result; (result = input_korvexf(&raw, file, mode)) != DECODE_EOF;) each(result);
    std::fclose(file);
}

#endif
