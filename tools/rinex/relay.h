/// @file relay.h  Puts the columns of an observation file into another order.
#ifndef RINEX_RELAY_H
#define RINEX_RELAY_H

#include <array>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <vector>

#include "rinex/columns.h"
#include "rinex/observation_codes.h"

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

/// Places of columns that stay, in their new order.
struct column_orders_t {
    bool one_list;                                               ///< RINEX 2: the first one is for all systems
    std::size_t columns;                                         ///< of a satellite in RINEX 2, as it was
    std::array<std::vector<std::size_t>, kSystemCount> orders;   ///< by place in kSystems
};
void copy_in_order(std::FILE* from, std::FILE* to, const column_orders_t& columns,
                   const std::function<void(std::uint64_t bytes)>& on_read = {});

}   // namespace rinex

#endif
