/// @file gps_time.h  GPS time in seconds, as dates and back.
#ifndef KVX_GPS_TIME_H
#define KVX_GPS_TIME_H

#include <optional>
#include <string>

namespace kvx {

struct gps_time_t {
    int week;
    double tow;   ///< s
};

/// Seconds since the start of GPS time.
double gps_seconds(int week, double tow);

/// Week and second of the week of them.
gps_time_t gps_time_of(double gps_seconds);

/// "2024-03-10 12:00:00.00" of them.
std::string date_text(double gps_seconds);

/// GPS time of "YYYY-MM-DD", "YYYY-MM-DD HH:MM" or "YYYY-MM-DD HH:MM:SS[.sss]", a T allowed between; nothing for
/// another text or a date that the calendar does not have.
std::optional<gps_time_t> parse_gps_time(const std::string& text);

}   // namespace kvx

#endif
