/// @file observation_header.h  Header of an observation file.
#ifndef RINEX_OBSERVATION_HEADER_H
#define RINEX_OBSERVATION_HEADER_H

#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "rinex/columns.h"
#include "rinex/ranges.h"

namespace rinex {

/// What the header tells of station and file. Texts of the log may hold any byte.
struct station_t {
    std::string program, run_by, date;   // date: "20240301 120000 UTC"
    std::string marker, marker_number, marker_type;
    std::string observer, agency;
    std::string receiver_number, receiver_type, receiver_version;
    std::string antenna_number, antenna_type;
    std::array<double, 3> position{};   // ECEF (m)
    std::array<double, 3> delta{};      // height, east, north of the antenna (m)
    std::optional<int> leap_seconds;
};

/// What it tells of the observations.
struct session_t {
    std::int64_t first = 0, last = 0;   // epochs, see dates.h
    double interval = 0.0;              // s, 0: unknown
};

/// @param version  times 100
/// @param seen     satellites that were written
std::string observation_header(int version, const station_t& station, const session_t& session,
                               const columns_t& columns, const places_t& seen, const channels_t& channels);

/// "APPROX POSITION XYZ" and lines like it.
std::string vector_line(const std::array<double, 3>& v, std::string_view label);

}   // namespace rinex

#endif
