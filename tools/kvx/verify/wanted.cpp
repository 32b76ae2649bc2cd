#include "verify/wanted.h"

#include <fnmatch.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace kvx {

namespace {

constexpr double kHalfMs = 0.0005;    // s: times on the command line have no more digits
constexpr std::int64_t kOnGrid = 5;   // ms, for a log whose usual step is not known or has its own anchor
constexpr double kMsPerHalfSecond = 500.0;

bool is_among(const std::string& name, const std::vector<std::string>& patterns)
{
    return std::any_of(patterns.begin(), patterns.end(),
                       [&name](const std::string& pattern) { return fnmatch(pattern.c_str(), name.c_str(), 0) == 0; });
}

}   // namespace

wanted_t::wanted_t(const selection_options_t& o) : start_(o.start), end_(o.end)
{
    for (int place = 0; place < rinex::kSatellites; ++place) {
        const rinex::satellite_t satellite = rinex::satellite_at(place);
        satellites_[static_cast<std::size_t>(place)] =
            o.systems.find(satellite.letter()) != std::string::npos &&
            (o.satellites.empty() || is_among(satellite.name(), o.satellites));
    }
    for (int c = 0; c < rinex::kConstellationCount; ++c) {
        const std::vector<std::string>& codes = o.names.codes(c);
        for (std::size_t i = 0; i < codes.size(); ++i) {
            signals_[static_cast<std::size_t>(c)][i] = o.signals.empty() || is_among(codes[i], o.signals) ||
                                                       is_among(rinex::kConstellations[c].letter + codes[i], o.signals);
        }
    }
}

bool wanted_t::time(std::int64_t ms) const
{
    const double seconds = static_cast<double>(ms) / 1000.0;
    return (!start_ || seconds >= *start_ - kHalfMs) && (!end_ || seconds <= *end_ + kHalfMs);
}

grid_t::grid_t(const selection_options_t& o)
    : interval_(std::llround(o.interval * 1000.0)), anchor_first_(o.anchor_first)
{}

void grid_t::add(std::int64_t time, bool first)
{
    if (first) {
        steps_ = {};
        if (anchor_first_) anchor_ = time;
    } else {
        steps_.add(static_cast<double>(time - last_) / 1000.0);
    }
    last_ = time;
}

// The nearest one, of two the earlier.
std::int64_t grid_t::point(std::int64_t time) const
{
    const std::int64_t since = time - anchor_;
    const std::int64_t earlier = since - (since % interval_ + interval_) % interval_;
    return anchor_ + (since - earlier <= interval_ / 2 ? earlier : earlier + interval_);
}

bool grid_t::is_nearer(std::int64_t other, std::int64_t time, bool or_as_near) const
{
    if (other == time || point(other) != point(time)) return false;
    const std::int64_t its = std::llabs(other - point(time)), own = std::llabs(time - point(time));
    return its < own || (or_as_near && its == own);
}

bool grid_t::judge(std::int64_t before, std::int64_t time, std::int64_t after) const
{
    if (interval_ == 0) return true;
    if (is_nearer(before, time, true) || is_nearer(after, time, false)) return false;
    const std::int64_t off = std::llabs(time - point(time));
    const double usual = anchor_first_ ? 0.0 : steps_.usual();
    return usual > 0.0 ? static_cast<double>(off) <= usual * kMsPerHalfSecond : off <= kOnGrid;
}

}   // namespace kvx
