/// @file glonass.h  GLONASS ephemeris message: as sent, and what the record keeps of it.
#ifndef RTK_LOG_GLONASS_H
#define RTK_LOG_GLONASS_H

#include <cstdint>

struct raw_t;

namespace korvex {

inline constexpr int kGlonassEphemerisSize = 144;   // body (bytes)

/// The message as it was sent: the fields that are known, whole.
struct glonass_t {
    int prn;                     // receiver PRN: slot + 37
    int channel;                 // frequency channel
    std::uint8_t type;           // of the satellite
    int week;                    // GPS week of the reference time, kWeekUnknown if unknown
    std::uint32_t ms;            // reference time, GPS, ms of the week
    std::uint32_t time_offset;   // GLONASS time - GPS time (s)
    int day;                     // N_T: day in the four-year interval
    std::uint32_t issue;         // all bits
    std::uint32_t health;        // B_n, all bits
    double pos[3];               // m
    double vel[3];               // m/s
    double acc[3];               // m/s^2
    double taun, dtaun;          // s
    double gamn;
    std::uint32_t frame_time;       // t_k: s of day, GLONASS time
    std::uint32_t flags;            // P
    std::uint32_t accuracy_index;   // F_T
    std::uint32_t age;              // E_n: days
};

glonass_t read_glonass_ephemeris(const std::uint8_t* body);

// ---- The record's share ----

/// Stores the message into the record; result as decode_result_t.
int decode_glonass_ephemeris(raw_t* raw, const std::uint8_t* body);

}   // namespace korvex

#endif
