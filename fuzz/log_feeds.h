/// @file log_feeds.h  A receiver log through each of the decoder's three entry points, for comparison.
#ifndef LOG_FEEDS_H
#define LOG_FEEDS_H

#include <cstdint>
#include <span>
#include <vector>

#include "rtk_gnss.h"

using log_t = std::span<const std::uint8_t>;

/// Results that were not 0. A header that announces too much is left out: only two of the entry points report it.
using results_t = std::vector<int>;

/// Each starts with a fresh record under the options of the host that the bits name.
results_t feed_bytes(raw_t& raw, std::uint8_t options, log_t log);

/// @param first, step  size of the first block, and by how much each next one grows modulo 1024
results_t feed_blocks(raw_t& raw, std::uint8_t options, log_t log, unsigned first, unsigned step);

/// @param mode  as input_korvexf()
results_t feed_file(raw_t& raw, std::uint8_t options, log_t log, int mode);

/// True when two records are the same in every byte.
bool same_records(const raw_t& a, const raw_t& b);

/// Checks what holds after any input.
void check_record(const raw_t& raw);

#endif
