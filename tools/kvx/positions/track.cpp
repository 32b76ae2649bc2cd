#include "positions/track.h"

#include <algorithm>

namespace kvx {

namespace {

double between(double a, double b, double share)
{
    return a + share * (b - a);
}

// Across the date line the shorter way.
double longitude_between(double a, double b, double share)
{
    const double turn = 2.0 * sky::kPi;
    if (b - a > sky::kPi) b -= turn;
    if (a - b > sky::kPi) b += turn;
    return between(a, b, share);
}

track_point_t point_at(const std::vector<track_point_t>& points, std::int64_t time)
{
    const auto behind = std::lower_bound(points.begin(), points.end(), time,
                                         [](const track_point_t& p, std::int64_t t) { return p.time < t; });
    if (behind == points.begin()) return points.front();
    if (behind == points.end()) return points.back();
    const track_point_t &a = behind[-1], &b = behind[0];
    const double share = static_cast<double>(time - a.time) / static_cast<double>(b.time - a.time);
    track_point_t p = share < 0.5 ? a : b;
    p.time = time;
    p.at = {between(a.at.lat, b.at.lat, share), longitude_between(a.at.lon, b.at.lon, share),
            between(a.at.height, b.at.height, share)};
    return p;
}

}   // namespace

void place_waypoints(track_t& track)
{
    if (track.points.empty()) return track.waypoints.clear();
    for (waypoint_t& w : track.waypoints) w.at = point_at(track.points, w.time);
}

}   // namespace kvx
