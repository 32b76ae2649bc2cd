/// @file station.h  Messages about the station, their known fields as sent and as the record keeps them: position,
/// antenna, receiver, ionosphere, events.
#ifndef RTK_LOG_STATION_H
#define RTK_LOG_STATION_H

#include <cstdint>

struct raw_t;

namespace korvex {

// Body sizes (bytes) that the readers read without asking.
inline constexpr int kIonUtcSize = 108;
inline constexpr int kVersionSize = 104;
inline constexpr int kPositionSize = 72;
inline constexpr int kMarkTimeSize = 40;
inline constexpr int kEcefPositionSize = 112;
inline constexpr int kAntennaSize = 12;
inline constexpr int kStopAndGoSize = 4;        // without data
inline constexpr int kStopAndGoFullSize = 88;   // with data

/// Klobuchar coefficients and GPS - UTC, as message 8 sends them.
struct ion_utc_t {
    double alpha[4], beta[4];     // s, s/semicircle, ...
    std::uint32_t utc_week;       // of the UTC parameters
    std::uint32_t utc_second;     // of the UTC parameters, s of week
    double a0, a1;                // UTC parameters (s, s/s)
    std::uint32_t leap_week;      // of the leap second to come, or the last one
    std::uint32_t leap_day;       // its day in that week
    std::uint32_t leaps;          // GPS - UTC before it (s)
    std::uint32_t future_leaps;   // and after it (s)
};

/// Texts of the receiver version, not terminated; raw_t::rcv_text has them under the same numbers.
struct version_t {
    char text1[8], text2[4], text3[19];
};

/// Position by message 42 (geodetic) or 241 (ECEF).
struct position_t {
    std::uint32_t status;    // of the solution, 0: computed
    std::uint32_t type;      // of the position, 0: none
    double coordinates[3];   // geodetic: latitude, longitude (degrees), height (m); ECEF: X, Y, Z (m)
    double undulation;       // geodetic: of the geoid (m); ECEF: 0

    bool is_known() const { return status == 0 && type != 0; }
};

/// Time of an event at the receiver's input.
struct mark_time_t {
    double tow;                   // s of week
    std::uint32_t clock_status;   // of the receiver, 0 or 1: the time is good
};

struct antenna_t {
    std::uint32_t type;
    std::uint32_t words[2];
};

/// Stop-and-go record. Without data all but `word` are 0.
struct stop_and_go_record_t {
    std::uint32_t word;   // 0: no data
    double values[7];
    std::uint32_t last_word;
    double antenna_delta[3];   // height, east, north (m)
};

ion_utc_t read_ion_utc(const std::uint8_t* body);
version_t read_version(const std::uint8_t* body);
position_t read_position(const std::uint8_t* body);
position_t read_ecef_position(const std::uint8_t* body);
mark_time_t read_mark_time(const std::uint8_t* body);
antenna_t read_antenna(const std::uint8_t* body);

/// Name of an antenna type.
const char* antenna_name(std::uint32_t type);

/// @param size  bytes of the body; data are read from kStopAndGoFullSize of them
stop_and_go_record_t read_stop_and_go(const std::uint8_t* body, int size);

// ---- The record's share ----

/// Each stores one message into the record; results as decode_result_t.
int decode_ion_utc(raw_t* raw, const std::uint8_t* body);
int decode_version(raw_t* raw, const std::uint8_t* body);
int decode_position(raw_t* raw, const std::uint8_t* body);
int decode_ecef_position(raw_t* raw, const std::uint8_t* body);
int decode_mark_time(raw_t* raw, const std::uint8_t* body);
int decode_antenna(raw_t* raw, const std::uint8_t* body);
int decode_stop_and_go(raw_t* raw, const std::uint8_t* body);

}   // namespace korvex

#endif
