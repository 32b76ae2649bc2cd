#include "convert/selection.h"

#include <fnmatch.h>

#include <algorithm>
#include <limits>

#include "common/systems.h"
#include "rinex/dates.h"

namespace kvx {

namespace {

constexpr std::int64_t kHalfMs = rinex::kTicksPerMs / 2;

}   // namespace

bool matches(const std::vector<std::string>& patterns, const std::string& name)
{
    return std::any_of(patterns.begin(), patterns.end(),
                       [&](const std::string& pattern) { return fnmatch(pattern.c_str(), name.c_str(), 0) == 0; });
}

selection_t::selection_t(const selection_options_t& o)
    : start_(o.start ? rinex::ticks_of_seconds(*o.start) - kHalfMs : std::numeric_limits<std::int64_t>::min()),
      end_(o.end ? rinex::ticks_of_seconds(*o.end) + kHalfMs : std::numeric_limits<std::int64_t>::max())
{
    const int systems = systems_of(o.systems);
    for (int place = 0; place < rinex::kSatellites; ++place) {
        const rinex::satellite_t satellite = rinex::satellite_at(place);
        if ((systems & satellite.system().sys) != 0 &&
            (o.satellites.empty() || matches(o.satellites, satellite.name())))
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

}   // namespace kvx
