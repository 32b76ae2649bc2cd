#include "quality/computed_position.h"

#include <algorithm>
#include <string_view>

namespace quality {

namespace {

// Bands by system, the best first: those that the clock of the ephemerides is made for.
struct bands_t {
    std::string_view first, second;
};
constexpr bands_t kBands[] = {{"1", "25"}, {"1", "23"}, {"1", "578"}, {"1", "25"}, {"2", "67"}, {"1", "5"}};
constexpr bands_t kOthers[] = {{"25", ""}, {"2", ""}, {"57", ""}, {"25", ""}, {"1", "5"}, {"5", ""}};

const measurement_t* first_of(const carriers_t& carriers, const measurement_t* begin, const measurement_t* end,
                              std::string_view bands)
{
    for (const char band : bands) {
        for (const measurement_t* m = begin; m != end; ++m) {
            if (m->pseudorange() != 0.0 && carriers.code(m->place, m->signal)[0] == band) return m;
        }
    }
    return nullptr;
}

}   // namespace

computed_position_t::computed_position_t(const carriers_t& carriers, const position::broadcast_t& broadcast,
                                         std::vector<position::orbit_t>& orbits)
    : carriers_(carriers), broadcast_(broadcast), orbits_(orbits)
{}

computed_position_t::chosen_t computed_position_t::choose(const measurement_t* begin, const measurement_t* end) const
{
    const auto c = static_cast<std::size_t>(rinex::satellite_at(begin->place).constellation);
    chosen_t chosen;
    for (const bands_t& bands : {kBands[c], kOthers[c]}) {
        const chosen_t these{first_of(carriers_, begin, end, bands.first),
                             first_of(carriers_, begin, end, bands.second)};
        if (these.first != nullptr && these.second != nullptr) return these;
        if (chosen.first == nullptr) chosen.first = these.first;
    }
    return chosen;
}

// Of one carrier as it is, of two without the ionosphere.
void computed_position_t::add_satellite(double time, const chosen_t& chosen, bool two_carriers)
{
    const measurement_t &a = *chosen.first, &b = two_carriers ? *chosen.second : *chosen.first;
    const double f = carriers_.frequency(a.place, a.signal), g = carriers_.frequency(b.place, b.signal);
    position::ranging_t r;
    r.place = a.place;
    const auto sent = time - a.pseudorange() / kLightSpeed;   // by the satellite's clock
    position::orbit_t& orbit = orbits_[a.place];
    const position::ephemeris_t* e = orbit.at(broadcast_, a.place, sent, r.sent_from);
    if (e == nullptr || !e->healthy() || f == 0.0 || g == 0.0) return;
    orbit.at(broadcast_, a.place, sent - r.sent_from.clock, r.sent_from);
    const auto code = [&](const measurement_t& m) {
        return m.pseudorange() - kLightSpeed * e->group_delay(carriers_.code(m.place, m.signal)[0]);
    };
    r.frequency = two_carriers ? 0.0 : f;
    r.pseudorange = two_carriers ? (f * f * code(a) - g * g * code(b)) / (f * f - g * g) : code(a);
    rangings_.push_back(r);
}

const std::optional<position::solution_t>& computed_position_t::add(const measured_epoch_t& epoch,
                                                                    const std::optional<position::vec3_t>& near)
{
    const double time = static_cast<double>(epoch.time) / 1000.0;
    std::array<int, rinex::kConstellationCount> with_two{}, with_any{};
    chosen_.clear();
    const measurement_t* const end = epoch.measurements.data() + epoch.measurements.size();
    for (const measurement_t* m = epoch.measurements.data(); m != end;) {
        const measurement_t* next = std::find_if(m, end, [m](const measurement_t& o) { return o.place != m->place; });
        const chosen_t chosen = choose(m, next);
        const auto c = static_cast<std::size_t>(rinex::satellite_at(m->place).constellation);
        if (chosen.first != nullptr) {
            ++with_any[c];
            with_two[c] += chosen.second != nullptr;
            chosen_.push_back(chosen);
        }
        m = next;
    }
    rangings_.clear();
    for (const chosen_t& chosen : chosen_) {   // a system's satellites all alike: their delays in the receiver are not
        const auto c = static_cast<std::size_t>(rinex::satellite_at(chosen.first->place).constellation);
        const bool two_carriers = 2 * with_two[c] > with_any[c];
        if (!two_carriers || chosen.second != nullptr) add_satellite(time, chosen, two_carriers);
    }
    position::surroundings_t around;
    around.time = time;
    around.ionosphere = ionosphere_;
    around.near = last_ ? last_ : near;
    solution_ = position::single_point(rangings_, around);
    if (solution_) last_ = solution_->position;
    if (!solution_ && last_) last_.reset();   // from another place the next time
    return solution_;
}

}   // namespace quality
