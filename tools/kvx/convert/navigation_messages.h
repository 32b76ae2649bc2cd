/// @file navigation_messages.h  What the log's messages tell of satellites' orbits, the ionosphere and leap seconds.
#ifndef KVX_NAVIGATION_MESSAGES_H
#define KVX_NAVIGATION_MESSAGES_H

#include <rtk_gnss.h>

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "rinex/nav_messages.h"
#include "rinex/nav_record.h"

namespace kvx {

/// Reads navigation data and tells what is new of them: receivers repeat them.
class navigation_messages_t {
public:
    using take_t = std::function<void(const rinex::ephemeris_record_t& record, bool repetition)>;

    /// Takes a message that may be one with navigation data.
    /// @param sent     time of its header (ms since the beginning of GPS time)
    /// @param on_each  takes every ephemeris
    /// @return what it was worth; DECODE_NOTHING also for other messages and repetitions
    decode_result_t take(int id, std::int64_t sent, const std::uint8_t* body, int size, const take_t& on_each);

    /// Whether the message taken last has told something new of the ionosphere or UTC.
    bool ion_utc_is_new() const { return ion_utc_is_new_; }
    const std::optional<rinex::ion_utc_record_t>& ion_utc() const { return ion_utc_; }
    std::optional<int> leap_seconds() const { return leap_seconds_; }

private:
    // What tells one data set of a satellite from its others.
    struct key_t {
        rinex::nav_message_t message;
        std::int64_t reference;
        std::uint32_t issue, health;

        bool operator==(const key_t&) const = default;
    };
    decode_result_t take_ion_utc(std::int64_t sent, const std::uint8_t* body, int size);
    bool is_repetition(const rinex::ephemeris_record_t& record);

    std::array<std::vector<key_t>, rinex::kSatellites> known_;   // the latest of each satellite
    std::optional<rinex::ion_utc_record_t> ion_utc_;
    std::optional<int> leap_seconds_;
    bool ion_utc_is_new_ = false;
};

}   // namespace kvx

#endif
