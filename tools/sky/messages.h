/// @file messages.h  Bodies of the board's messages, one function each; range messages have their own file.
#ifndef SKY_MESSAGES_H
#define SKY_MESSAGES_H

#include <span>

#include "rtk_gnss.h"
#include "sky/frame.h"
#include "sky/orbit_glonass.h"
#include "sky/orbit_kepler.h"

namespace sky {

/// A GLONASS broadcast data set as the board reports it.
struct glonass_set_t {
    int slot, channel;          ///< 1..25, -7..6
    int week;                   ///< GPS week of the reference time
    std::uint32_t ms;           ///< reference time, ms of the GPS week
    std::uint32_t offset;       ///< GLONASS time - GPS time (s)
    std::uint32_t frame_time;   ///< second of the day, GLONASS time
    int issue;                  ///< number of the quarter-hour, 1..95
    glonass_state_t state;
    vec3_t accel;               ///< m/s^2
    double taun, dtaun, gamn;   ///< s, s, relative
};

/// Antenna and receiver clock for the position messages.
struct fix_t {
    double lat, lon, height;   ///< degrees, degrees, m above the ellipsoid
    double ecef[3];            ///< m
    int satellites;
};

/// A satellite in the visibility message.
struct visible_t {
    int id;
    double elevation, azimuth;   ///< degrees
    double doppler;              ///< Hz
};

frame_t gps_ephemeris(const kepler_set_t& set);                         // 7; QZSS as PRN 33 and up
frame_t gps_subframes(const kepler_set_t& set, int week, double tow);   // 41, received at (week, tow)
frame_t glonass_ephemeris(const glonass_set_t& set);                    // 723
frame_t galileo_ephemeris(const kepler_set_t& set);                     // 1122
frame_t galileo_inav_ephemeris(const kepler_set_t& set);                // 1309
frame_t qzss_ephemeris(const kepler_set_t& set);                        // 1336
frame_t beidou_ephemeris(const kepler_set_t& set);                      // 1696
frame_t beidou_ephemeris_second(const kepler_set_t& set);               // 1047
frame_t sbas_ephemeris(const seph_t& set);                              // 601
frame_t ionosphere_utc(int week, int leap_seconds);                     // 8
frame_t receiver_version();                                             // 37
frame_t antenna_type();                                                 // 1421
frame_t geodetic_position(const fix_t& fix);                            // 42
frame_t ecef_position(const fix_t& fix);                                // 241
frame_t mark_time(int week, double tow);                                // 231
frame_t stop_and_go(unsigned event, const fix_t& fix);                  // 11111, event 0: none
frame_t visibility(std::span<const visible_t> satellites);              // 1043
frame_t foreign_message();                                              // an ID that nobody decodes

}   // namespace sky

#endif
