#include "quality/multipath.h"

namespace quality {

namespace {

constexpr std::int64_t kLongestBreak = 120'000, kLongestArc = 4 * 3'600'000, kShortestArc = 600'000;   // ms
constexpr double kFewestEpochs = 20.0;

}   // namespace

// The one that the arc began with; else that of the farthest carrier, with which the noise of phases matters least.
const measurement_t* multipath_t::partner_of(const measurement_t& m, std::span<const measurement_t> of_satellite,
                                             const arc_t& arc) const
{
    const double own = carriers_.frequency(m.place, m.signal);
    const measurement_t* farthest = nullptr;
    double most = 0.0;
    for (const measurement_t& other : of_satellite) {
        if (other.phase() == 0.0) continue;
        if (other.signal == arc.partner) return &other;
        const double f = carriers_.frequency(other.place, other.signal);
        const double distance = std::fabs(f - own);
        if (f > 0.0 && distance > most) farthest = &other, most = distance;
    }
    return arc.partner == kNoPartner ? farthest : nullptr;
}

void multipath_t::add(std::int64_t time, std::span<const measurement_t> of_satellite, std::uint64_t slipped,
                      const direction_t& to)
{
    if (rinex::satellite_at(of_satellite.front().place).constellation == rinex::kSbas) return;   // see slip_finder_t
    const std::size_t step = step_of(to);
    for (const measurement_t& m : of_satellite) {
        const double f = carriers_.frequency(m.place, m.signal);
        if (m.pseudorange() == 0.0 || m.phase() == 0.0 || f == 0.0) continue;
        arc_t& arc = arcs_.at(m.place, m.signal);
        const auto slips = [&](int signal) { return signal >= 0 && (slipped >> signal & 1) != 0; };
        const bool over = time <= arc.last || time - arc.last > kLongestBreak || time - arc.begin > kLongestArc;
        if (over || slips(m.signal) || slips(arc.partner)) close(m.place, m.signal, arc);
        const measurement_t* second = partner_of(m, of_satellite, arc);
        if (second == nullptr) continue;
        const double g = carriers_.frequency(second->place, second->signal);
        const double own = kLightSpeed / f * m.phase(), other = kLightSpeed / g * second->phase();
        const double value = m.pseudorange() - own - 2.0 * g * g / (f * f - g * g) * (own - other);
        if (arc.partner == kNoPartner) arc = {time, time, second->signal, value, {}};
        arc.last = time;
        sums_t& sums = arc.sums[step];
        const double d = value - arc.level;
        sums.n += 1.0, sums.sum += d, sums.squares += d * d;
        if (on_value) on_value(m, to, d);
    }
}

// Its mean goes; each elevation bears its part of the degree of freedom.
void multipath_t::close(int place, int signal, arc_t& arc)
{
    double n = 0.0, sum = 0.0;
    for (const sums_t& s : arc.sums) n += s.n, sum += s.sum;
    const bool tells = n >= kFewestEpochs && arc.last - arc.begin >= kShortestArc;
    if (on_arc && n > 0.0) on_arc(place, signal, tells ? std::optional(sum / n) : std::nullopt);
    if (tells) {
        const double mean = sum / n;
        multipath_count_t& counts = counts_.at(place, signal);
        for (std::size_t step = 0; step < arc.sums.size(); ++step) {
            const sums_t& s = arc.sums[step];
            counts.steps[step] += {s.squares - 2.0 * mean * s.sum + s.n * mean * mean, s.n * (1.0 - 1.0 / n),
                                   static_cast<std::uint64_t>(s.n)};
        }
    }
    arc = {};
}

void multipath_t::finish()
{
    arcs_.each([this](int place, int signal, arc_t& arc) { close(place, signal, arc); });
}

}   // namespace quality
