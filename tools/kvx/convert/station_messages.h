/// @file station_messages.h  What the log's messages tell of the station.
#ifndef KVX_STATION_MESSAGES_H
#define KVX_STATION_MESSAGES_H

#include <rtk_gnss.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "convert/convert_options.h"
#include "rinex/observation_header.h"

namespace kvx {

/// Something that happened between the epochs.
struct event_t {
    std::int64_t ticks;   ///< see rinex/dates.h
    int flag;             ///< rinex::epoch_flag_t
    std::vector<std::string> lines;

    bool operator==(const event_t&) const = default;
};

/// A position of the receiver.
struct fix_t {
    std::int64_t time;                ///< ms since the beginning of GPS time
    std::array<double, 3> position;   ///< ECEF (m)
    bool cartesian;                   ///< sent as such
    int type;                         ///< as the message numbers it
    double undulation;                ///< of the geoid (m); of a Cartesian one 0
};

/// Reads positions, antenna, receiver and events, and makes the header's facts of them; the command line goes before.
class station_messages_t {
public:
    explicit station_messages_t(const convert_options_t& options);

    /// Takes a message.
    /// @param time  of its header (ms since the beginning of GPS time)
    /// @return what it was worth; DECODE_NOTHING also for messages that tell nothing of the station
    decode_result_t take(int id, std::int64_t time, const std::uint8_t* body, int size);

    /// GPS - UTC, which more than one message tells.
    void take_leap_seconds(int leaps) { station_.leap_seconds = leaps; }

    const rinex::station_t& facts() const { return station_; }

    /// What the message taken last has told.
    const std::optional<event_t>& event() const { return event_; }
    const std::optional<fix_t>& fix() const { return fix_; }

private:
    decode_result_t take_position(int id, std::int64_t time, const std::uint8_t* body);
    decode_result_t take_version(const std::uint8_t* body);
    decode_result_t take_antenna(const std::uint8_t* body);
    decode_result_t take_mark(std::int64_t time, const std::uint8_t* body);
    decode_result_t take_stop_and_go(std::int64_t time, const std::uint8_t* body, int size);

    const convert_options_t& options_;
    rinex::station_t station_;
    std::optional<event_t> event_;
    std::optional<fix_t> fix_;
};

}   // namespace kvx

#endif
