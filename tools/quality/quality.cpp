#include "quality/quality.h"

#include <cmath>

namespace quality {

namespace {

constexpr std::int64_t kLookInterval = 10'000;   // ms: a satellite moves a twelfth of a degree
constexpr double kNearCentre = 1e6;              // m: what is told there is no position
constexpr double kLeastJump = 1e-4;              // s: receivers set their clocks by milliseconds

}   // namespace

quality_t::quality_t(const carriers_t& carriers)
    : carriers_(carriers),
      orbits_(rinex::kSatellites),
      positioning_orbits_(rinex::kSatellites),
      directions_(rinex::kSatellites),
      computed_(carriers, broadcast_, positioning_orbits_),
      finder_(carriers),
      multipath_(carriers),
      signals_(carriers),
      satellites_(rinex::kSatellites)
{
    for (int c = 0; c < rinex::kConstellationCount; ++c)
        strengths_[static_cast<std::size_t>(c)].resize(carriers.codes(c).size());
}

void quality_t::add_fix(const position::vec3_t& ecef, int kind, std::int64_t time)
{
    if (!(norm(ecef) > kNearCentre)) return;
    fixes_.add(ecef);
    ++fix_kinds_[kind];
    receiver_ = ecef;
    last_fixes_[fixes_.count() % last_fixes_.size()] = {time, ecef};
    if (act_on_fix_) act_on_fix_(time, ecef);
}

void quality_t::take_place(const position::vec3_t& ecef)
{
    if (norm(ecef) > kNearCentre) receiver_ = ecef;
}

void quality_t::add(const measured_epoch_t& epoch)
{
    ++epochs_;
    slips_now_.clear();
    solution_ = &computed_.add(epoch, receiver_);
    if (*solution_) receiver_ = (*solution_)->position;
    judge_clock(epoch.time);
    count_solution(epoch.time);
    if (epoch.time - looked_ >= kLookInterval || epoch.time < looked_) look_around(epoch.time);
    directed_epochs_ += receiver_.has_value();
    for (std::size_t place = 0; place < directions_.size(); ++place) {
        const direction_t& to = directions_[place];
        satellites_[place].possible += to.known && static_cast<double>(to.elevation) >= kLowElevation;
    }
    const std::span<const measurement_t> all(epoch.measurements);
    for (std::size_t i = 0; i < all.size();) {
        std::size_t end = i + 1;
        while (end < all.size() && all[end].place == all[i].place) ++end;
        add_satellite(epoch.time, all.subspan(i, end - i), clock_jumped_);
        i = end;
    }
    if (act_) act_({epoch, directions_, *solution_, computed_.rangings(), slips_now_});
}

// Where the satellites stand, from the ephemerides.
void quality_t::look_around(std::int64_t time)
{
    looked_ = time;
    const double t = static_cast<double>(time) / 1000.0;
    broadcast_.leave(t);
    if (!receiver_) return;
    const position::axes_t axes(position::geodetic_of(*receiver_));
    for (int place = 0; place < rinex::kSatellites; ++place) {
        direction_t& to = directions_[static_cast<std::size_t>(place)];
        sky::orbit_point_t point{};
        to.known = orbits_[static_cast<std::size_t>(place)].at(broadcast_, place, t, point) != nullptr;
        if (!to.known) continue;
        const position::vec3_t d = axes.local(point.position - *receiver_);
        to.known = d.x * d.x + d.y * d.y > 0.0;   // not above the pole of the antenna's sky, nor no number
        if (!to.known) continue;
        const double azimuth = std::atan2(d.x, d.y);
        to.elevation = static_cast<float>(std::atan2(d.z, std::hypot(d.x, d.y)));
        to.azimuth = static_cast<float>(azimuth < 0.0 ? azimuth + 2.0 * sky::kPi : azimuth);
    }
}

// Against the drift that it had: a clock that is set moves all ranges at once.
void quality_t::judge_clock(std::int64_t time)
{
    clock_jumped_ = false;
    if (!*solution_) return;
    const auto& clocks = (*solution_)->clocks;
    std::size_t system = clock_.time != 0 && clocks[clock_.system] ? clock_.system : 0;
    while (!clocks[system]) ++system;
    const double offset = *clocks[system] / kLightSpeed, passed = static_cast<double>(time - clock_.time) / 1000.0;
    if (clock_.time != 0 && system == clock_.system && passed > 0.0) {
        const double jump = offset - clock_.offset - clock_.drift * passed;
        clock_jumped_ = std::fabs(jump) >= kLeastJump;
        if (!clock_jumped_) clock_.drift = (offset - clock_.offset) / passed;
        if (clock_jumped_ && ++jump_count_ <= kMostNamed) jumps_.push_back({time, jump});
    }
    clock_.time = time, clock_.offset = offset, clock_.system = system;
}

void quality_t::count_solution(std::int64_t time)
{
    if (!*solution_) return;
    const position::solution_t& s = **solution_;
    computed_positions_.add(s.position);
    for (const timed_fix_t& fix : last_fixes_) {
        if (fix.time == time) distances_.add(norm(s.position - fix.ecef));
    }
    used_.add(s.used);
    pdop_.add(s.pdop), hdop_.add(s.hdop), vdop_.add(s.vdop);
    for (const position::ranging_t& r : computed_.rangings()) {
        satellite_count_t& n = satellites_[static_cast<std::size_t>(r.place)];
        n.used += r.used;
        n.rejected += !r.used && r.elevation >= kLowElevation;
        if (r.used) n.residual_squares += r.residual * r.residual;
    }
}

strengths_t& quality_t::strengths_at(int constellation, int signal)
{
    auto& made = strengths_[static_cast<std::size_t>(constellation)][static_cast<std::size_t>(signal)];
    if (!made) made = std::make_unique<strengths_t>();
    return *made;
}

const strengths_t& quality_t::strengths(int constellation, int signal) const
{
    static const strengths_t kNone;
    const auto& made = strengths_[static_cast<std::size_t>(constellation)][static_cast<std::size_t>(signal)];
    return made ? *made : kNone;
}

void quality_t::add_satellite(std::int64_t time, std::span<const measurement_t> of_satellite, bool clock_jumped)
{
    const int place = of_satellite.front().place, constellation = rinex::satellite_at(place).constellation;
    const direction_t& to = directions_[static_cast<std::size_t>(place)];
    const bool above = to.known && static_cast<double>(to.elevation) >= kLowElevation;
    const std::size_t step = step_of(to);
    const slip_t slip = finder_.add(time, of_satellite, clock_jumped);
    satellite_count_t& satellite = satellites_[static_cast<std::size_t>(place)];
    ++satellite.observed;
    satellite.above += above;
    for (const measurement_t& m : of_satellite) {
        signal_count_t& n = signals_.at(place, m.signal);
        ++n.observed;
        n.above += above;
        n.phases += m.phase() != 0.0;
        n.half_cycles += m.phase() != 0.0 && (m.told & rinex::kHalfCycle) != 0;
        n.slips += slip.signals >> m.signal & 1;
        if (m.strength() > 0.0) strengths_at(constellation, m.signal).add(m.strength(), step);
    }
    multipath_.add(time, of_satellite, slip.signals, to);
    if (slip.signals == 0) return;
    ++satellite.slips;
    slips_now_.push_back(slip);
    if (++slip_count_ <= kMostNamed) slips_.push_back(slip);
}

}   // namespace quality
