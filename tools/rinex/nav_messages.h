/// @file nav_messages.h  Navigation data from the receiver's messages.
#ifndef RINEX_NAV_MESSAGES_H
#define RINEX_NAV_MESSAGES_H

#include <functional>
#include <optional>

#include "rinex/nav_record.h"

namespace rinex {

/// What a message was worth.
enum class nav_result_t { no_ephemeris, taken, refused };

/// Reads an ephemeris message and hands out its records, of which a Galileo message may have two.
///
/// @param id    message
/// @param sent  time of its header (ms since the beginning of GPS time)
/// @param size  bytes of the body
nav_result_t read_ephemerides(int id, std::int64_t sent, const std::uint8_t* body, int size,
                              const std::function<void(const ephemeris_record_t&)>& take);

/// Message 8; nothing when it is too short or holds what cannot be.
std::optional<ion_utc_record_t> read_ion_utc_record(std::int64_t sent, const std::uint8_t* body, int size);

}   // namespace rinex

#endif
