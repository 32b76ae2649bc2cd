/// @file relay.h  Puts the columns of an observation file into another order.
#ifndef RINEX_RELAY_H
#define RINEX_RELAY_H

#include <cstdint>
#include <cstdio>
#include <functional>

#include "rinex/columns.h"

namespace rinex {

/// Copies epochs and events from one stream to another. Columns that were never used go, the others take the order of
/// the published format.
///
/// @param from  behind the header
/// @param to    where the text goes
/// @param on_read  told how many bytes have been read so far
/// @note Errors stay with the streams.
void copy_in_order(std::FILE* from, std::FILE* to, const columns_t& columns,
                   const std::function<void(std::uint64_t bytes)>& on_read = {});

}   // namespace rinex

#endif
