/// @file log_ephemerides.h  The records that ephemeris messages must give.
#ifndef KVX_VERIFY_LOG_EPHEMERIDES_H
#define KVX_VERIFY_LOG_EPHEMERIDES_H

#include <functional>
#include <initializer_list>
#include <string_view>

#include "rinex/calendar.h"
#include "rinex/satellites.h"
#include "verify/log_messages.h"

namespace kvx {

/// An ephemeris as a record of a file must tell it.
struct log_ephemeris_t {
    static constexpr std::size_t kFields = 32;   // four a line; the first stands for the time

    rinex::satellite_t satellite;
    std::string_view message;      ///< its name in RINEX 4
    rinex::ticks_t time = 0;       ///< of the clock, in the time scale of the file
    std::uint32_t compared = 0;    ///< bits of the fields that must agree
    double fields[kFields] = {};   ///< in the units of the files
    std::int64_t reference = 0;    ///< s; with the next two it tells data sets apart
    std::uint32_t issue = 0, health = 0;
    log_place_t place;

    /// Whether it tells the same data set of its satellite and time.
    bool same_set(const log_ephemeris_t& other) const
    {
        return message == other.message && reference == other.reference && issue == other.issue &&
               health == other.health;
    }

    /// Gives fields from one on.
    void put(std::size_t first, std::initializer_list<double> values);
};

using take_ephemeris_t = std::function<void(const log_ephemeris_t& ephemeris)>;

/// Reads a message with ephemerides; others, and what no record can tell, give none.
void read_log_ephemerides(const message_t& message, const take_ephemeris_t& take);

}   // namespace kvx

#endif
