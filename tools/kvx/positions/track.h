/// @file track.h  Positions in the order of time, with the marks and sites among them.
#ifndef KVX_TRACK_H
#define KVX_TRACK_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "position/geodetic.h"

namespace kvx {

struct track_point_t {
    std::int64_t time;   ///< ms since the beginning of GPS time
    position::geodetic_t at;
    std::optional<float> undulation;   ///< of the geoid above the ellipsoid (m), where the receiver tells it
    int satellites;                    ///< 0: unknown
    float hdop;                        ///< 0: unknown
};

/// Something that happened at a place.
struct waypoint_t {
    std::int64_t time;
    std::string name;   ///< "mark 1", "site 2"
    track_point_t at;
};

struct track_t {
    std::string name;     ///< of the input
    std::string source;   ///< whose positions these are: "receiver", "computed"
    std::vector<track_point_t> points;
    std::vector<waypoint_t> waypoints;
};

/// Gives the waypoints, which have times alone, their places between the points: on the line between the two around
/// them, or the nearest one at the ends.
void place_waypoints(track_t& track);

}   // namespace kvx

#endif
