#include "quality/slips.h"

#include <algorithm>
#include <cmath>

namespace quality {

namespace {

constexpr std::int64_t kLongestOutage = 600'000, kLongestStep = 90'000;   // ms
constexpr double kAgreement = 0.08, kFirstAgreement = 0.15;   // m; first: of a change of the ionosphere unknown
constexpr double kNearWhole = 0.25;                           // cycles

std::uint64_t bit(int signal)
{
    return std::uint64_t{1} << signal;
}

double distance_to_whole(double cycles)
{
    return std::fabs(cycles - std::round(cycles));
}

}   // namespace

slip_t slip_finder_t::add(std::int64_t time, std::span<const measurement_t> of_satellite, bool clock_jumped)
{
    slip_t slip{time, of_satellite.front().place, 0, 0, 0.0};
    satellite_t& satellite = satellites_[slip.place];
    take_told(time, of_satellite, slip);
    const double dt = gather(time, of_satellite, slip.signals);
    // SBAS satellites hand on what a station on the ground makes: their carriers go ways of their own.
    const bool coherent = rinex::satellite_at(slip.place).constellation != rinex::kSbas;
    if (changes_.size() > 1 && coherent) {
        compare(slip, satellite, dt);
        follow_ionosphere(slip, satellite, dt);
    } else if (!clock_jumped) {
        for (const change_t& c : changes_) compare_with_doppler(c, slip, dt);
    }
    if (coherent) follow_wide_lane(of_satellite, slip, satellite.wide_lane);
    keep(time, of_satellite);
    return slip;
}

void slip_finder_t::take_told(std::int64_t time, std::span<const measurement_t> of_satellite, slip_t& slip)
{
    for (const measurement_t& m : of_satellite) {
        if (m.phase() == 0.0 || (m.told & rinex::kSlip) == 0) continue;
        const phase_t& before = phases_.at(m.place, m.signal);
        if (before.time == 0 || time - before.time > kLongestOutage) continue;
        slip.signals |= bit(m.signal);
        slip.signs |= kToldByReceiver;
    }
}

// Takes what can be compared: phases that were there at one earlier epoch, the latest of them.
// @return s since then
double slip_finder_t::gather(std::int64_t time, std::span<const measurement_t> of_satellite, std::uint64_t slipped)
{
    changes_.clear();
    std::int64_t since = 0;
    for (const measurement_t& m : of_satellite) {
        if (m.phase() != 0.0) since = std::max(since, phases_.at(m.place, m.signal).time);
    }
    if (since == 0 || time - since > kLongestStep || time <= since) return 0.0;
    for (const measurement_t& m : of_satellite) {
        const phase_t& before = phases_.at(m.place, m.signal);
        const double f = carriers_.frequency(m.place, m.signal);
        const bool whole = (m.told & rinex::kHalfCycle) == 0 && before.whole;
        if (m.phase() == 0.0 || before.time != since || !whole || f == 0.0 || (slipped & bit(m.signal)) != 0) continue;
        changes_.push_back({&m, f, kLightSpeed / f * m.phase() - before.length, 0.0});
    }
    return static_cast<double>(time - since) / 1000.0;
}

void slip_finder_t::compare(slip_t& slip, satellite_t& satellite, double dt)
{
    const double ionosphere = satellite.rate_known ? satellite.ionosphere_rate * dt : 0.0;
    levels_.clear();
    for (change_t& c : changes_) {
        c.level = c.change + dispersion(c.frequency) * ionosphere;
        levels_.push_back(c.level);
    }
    std::sort(levels_.begin(), levels_.end());
    const double agreement = satellite.rate_known ? kAgreement : kFirstAgreement;
    if (levels_.back() - levels_.front() < agreement) return;
    slip.signs |= kGeometryFree;
    if (changes_.size() == 2) return compare_two(slip);
    const double middle = 0.5 * (levels_[(levels_.size() - 1) / 2] + levels_[levels_.size() / 2]);
    int several = 0;
    for (const change_t& c : changes_) {
        if (std::fabs(c.level - middle) < agreement / 2.0) continue;
        slip.signals |= bit(c.m->signal);
        slip.cycles = several++ == 0 ? (c.level - middle) * c.frequency / kLightSpeed : 0.0;
    }
}

// Of two the one of which the difference is a whole number of cycles; when that is both or neither, their Doppler
// decides, and if that does not, both.
void slip_finder_t::compare_two(slip_t& slip)
{
    const change_t &a = changes_[0], &b = changes_[1];
    const double difference = a.level - b.level;
    const double cycles_a = difference * a.frequency / kLightSpeed, cycles_b = -difference * b.frequency / kLightSpeed;
    const bool may_a = distance_to_whole(cycles_a) < kNearWhole, may_b = distance_to_whole(cycles_b) < kNearWhole;
    slip.signals |= bit(a.m->signal) | bit(b.m->signal);
    if (may_a == may_b) return;
    slip.signals &= ~bit(may_a ? b.m->signal : a.m->signal);
    slip.cycles = may_a ? cycles_a : cycles_b;
}

void slip_finder_t::compare_with_doppler(const change_t& c, slip_t& slip, double dt)
{
    const double wavelength = kLightSpeed / c.frequency;
    phase_t& before = phases_.at(c.m->place, c.m->signal);
    if (c.m->doppler() == 0.0 || before.rate == 0.0) return;
    const double rate = -wavelength * c.m->doppler();
    const double misfit = c.change - 0.5 * (rate + before.rate) * dt;
    constexpr std::uint32_t kFewest = 10;
    constexpr double kUsual = 0.03;   // m/s, until it is known
    const double deviation = (before.fits < kFewest ? kUsual : std::sqrt(before.misfit)) * dt;
    if (std::fabs(misfit) > 0.5 * wavelength + 5.0 * deviation) {
        slip.signs |= kDopplerMisfit;
        slip.signals |= bit(c.m->signal);
        slip.cycles = misfit / wavelength;
        return;
    }
    const double gain = 1.0 / std::min(++before.fits, 100U);
    before.misfit += gain * (misfit * misfit / (dt * dt) - before.misfit);
}

// By the two carriers farthest apart of those that have not slipped.
void slip_finder_t::follow_ionosphere(const slip_t& slip, satellite_t& satellite, double dt)
{
    const change_t *high = nullptr, *low = nullptr;
    for (const change_t& c : changes_) {
        if ((slip.signals & bit(c.m->signal)) != 0) continue;
        if (high == nullptr || c.frequency > high->frequency) high = &c;
        if (low == nullptr || c.frequency < low->frequency) low = &c;
    }
    if (high == nullptr || high->frequency == low->frequency) return;
    const double rate =
        (high->change - low->change) / ((dispersion(low->frequency) - dispersion(high->frequency)) * dt);
    const double gain = satellite.rate_known ? std::clamp(dt / 60.0, 0.03, 0.5) : std::min(1.0, dt / 10.0);
    satellite.ionosphere_rate += gain * (rate - satellite.ionosphere_rate);
    satellite.rate_known = true;
}

// The first signal with code and phase, and the first of another carrier.
void slip_finder_t::follow_wide_lane(std::span<const measurement_t> of_satellite, slip_t& slip, wide_lane_t& lane)
{
    const measurement_t *a = nullptr, *b = nullptr;
    for (const measurement_t& m : of_satellite) {
        const double f = carriers_.frequency(m.place, m.signal);
        if (m.phase() == 0.0 || m.pseudorange() == 0.0 || f == 0.0) continue;
        if (a == nullptr)
            a = &m;
        else if (b == nullptr && f != carriers_.frequency(a->place, a->signal))
            b = &m;
    }
    if (b == nullptr) return;
    const std::uint64_t both = bit(a->signal) | bit(b->signal);
    const bool half = ((a->told | b->told) & rinex::kHalfCycle) != 0;
    const bool away = slip.time - lane.time > kLongestStep;
    if (lane.first != a->signal || lane.second != b->signal || (slip.signals & both) != 0 || half || away)
        lane = {a->signal, b->signal};
    lane.time = slip.time;
    if (half) return;
    const double f = carriers_.frequency(a->place, a->signal), g = carriers_.frequency(b->place, b->signal);
    const double value =
        a->phase() - b->phase() - (f - g) / (f + g) * (f * a->pseudorange() + g * b->pseudorange()) / kLightSpeed;
    constexpr double kFewest = 20.0;
    const double deviation = lane.count > 1.0 ? std::sqrt(lane.squares / (lane.count - 1.0)) : 0.0;
    if (lane.count >= kFewest && std::fabs(value - lane.mean) > std::max(4.0, 6.0 * deviation)) {
        if (++lane.beyond < 2) return;
        slip.signs |= kWideLane;
        slip.signals |= both;
        lane = {a->signal, b->signal, slip.time};
    }
    lane.beyond = 0;
    lane.count += 1.0;
    const double d = value - lane.mean;
    lane.mean += d / lane.count;
    lane.squares += d * (value - lane.mean);
}

void slip_finder_t::keep(std::int64_t time, std::span<const measurement_t> of_satellite)
{
    for (const measurement_t& m : of_satellite) {
        if (m.phase() == 0.0) continue;
        const double wavelength = carriers_.wavelength(m.place, m.signal);
        phase_t& p = phases_.at(m.place, m.signal);
        p.time = time;
        p.length = wavelength * m.phase();
        p.rate = -wavelength * m.doppler();
        p.whole = (m.told & rinex::kHalfCycle) == 0;
    }
}

}   // namespace quality
