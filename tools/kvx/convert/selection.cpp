#include "convert/selection.h"

#include <fnmatch.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "rinex/dates.h"

namespace kvx {

namespace {

constexpr std::int64_t kHalfMs = rinex::kTicksPerMs / 2;
constexpr double kOnGrid = 0.005;   // s, for a log whose own interval is not known

bool matches(const std::vector<std::string>& patterns, const std::string& name)
{
    return std::any_of(patterns.begin(), patterns.end(),
                       [&](const std::string& pattern) { return fnmatch(pattern.c_str(), name.c_str(), 0) == 0; });
}

}   // namespace

selection_t::selection_t(const convert_options_t& o)
    : start_(o.start ? rinex::ticks_of_seconds(*o.start) - kHalfMs : std::numeric_limits<std::int64_t>::min()),
      end_(o.end ? rinex::ticks_of_seconds(*o.end) + kHalfMs : std::numeric_limits<std::int64_t>::max())
{
    for (int place = 0; place < rinex::kSatellites; ++place) {
        const rinex::satellite_t satellite = rinex::satellite_at(place);
        if (o.wants(satellite.system().sys) && (o.satellites.empty() || matches(o.satellites, satellite.name())))
            satellites_.set(place);
    }
    for (int c = 0; c < rinex::kConstellationCount; ++c) {
        const auto& codes = o.names.codes(c);
        for (std::size_t i = 0; i < codes.size(); ++i) {
            if (o.signals.empty() || matches(o.signals, codes[i]) ||
                matches(o.signals, rinex::kConstellations[c].letter + codes[i]))
                signals_[static_cast<std::size_t>(c)] =
                    static_cast<std::uint16_t>(signals_[static_cast<std::size_t>(c)] | 1u << i);
        }
    }
    everything_ = satellites_.count() == rinex::kSatellites && o.signals.empty();
}

bool selection_t::in_window(std::int64_t ticks) const
{
    return ticks >= start_ && ticks <= end_;
}

bool selection_t::wants(const rinex::satellite_t& satellite) const
{
    return satellites_.has(rinex::place_of(satellite));
}

void selection_t::apply(rinex::epoch_t& epoch, rinex::ledger_t& ledger) const
{
    if (everything_) return;
    epoch.each([&](int place, int signal) {
        const auto c = static_cast<std::size_t>(rinex::satellite_at(place).constellation);
        if (satellites_.has(place) && (signals_[c] >> signal & 1) != 0) return;
        ledger.add(epoch.at(place, signal).tracking_key, rinex::fate_t::not_asked);
        epoch.drop(place, signal);
    });
}

thinning_t::thinning_t(double interval, bool anchor_first, release_t release)
    : interval_(std::llround(interval * 1000.0)),
      anchor_first_(anchor_first),
      release_(std::move(release)),
      held_(std::make_unique<rinex::epoch_t>())
{}

// From the nearest point of the grid, before it or behind it.
std::int64_t thinning_t::distance(std::int64_t time) const
{
    const std::int64_t behind = ((time - anchor_) % interval_ + interval_) % interval_;
    return behind <= interval_ / 2 ? behind : behind - interval_;
}

void thinning_t::add(std::unique_ptr<rinex::epoch_t>& epoch)
{
    if (interval_ == 0) return release_(*epoch, true);
    const std::int64_t time = epoch->time;
    if (last_ < 0 && anchor_first_) anchor_ = time;
    if (last_ >= 0) steps_.add(static_cast<double>(time - last_) / 1000.0);
    last_ = time;
    const std::int64_t point = time - distance(time);
    const bool nearer = !holding_ || std::llabs(distance(time)) < std::llabs(distance(held_->time));
    if (point != point_) flush();
    if (point == point_ && (!holding_ || !nearer)) {   // the point has its epoch
        flush();
        return release_(*epoch, false);
    }
    if (holding_) release_(*held_, false);
    std::swap(held_, epoch);
    holding_ = true;
    point_ = point;
}

void thinning_t::flush()
{
    if (!holding_) return;
    holding_ = false;
    const double usual = steps_.usual();
    const double within = anchor_first_ || usual == 0.0 ? kOnGrid : usual / 2.0;
    release_(*held_, static_cast<double>(std::llabs(distance(held_->time))) / 1000.0 <= within);
}

}   // namespace kvx
