#include "sky/simulator.h"

#include <algorithm>
#include <iterator>

#include "gnss/foundation/satellites.h"
#include "sky/atmosphere.h"

namespace sky {

namespace {

// The receiver clock: offset from GPS time at t = 0 and drift.
constexpr double kClockOffset = 1e-4;   // s
constexpr double kClockDrift = 5e-10;

}   // namespace

// Reception of one satellite.
struct simulator_t::track_t {
    const vehicle_t* sent_by;
    bool visible = false;
    double locked_since = 0.0;
    std::uint64_t lock = 0;   // seeds the phase ambiguities of this lock
    double set_sent = -1e9;   // when its ephemeris was last reported, and which
    double set_reference = -1e9;
    direction_t to{};
    double range = 0.0;        // with clocks and troposphere, m
    double range_rate = 0.0;   // with clocks, m/s
    double ionosphere = 0.0;   // at L1, m
};

simulator_t::~simulator_t() = default;

namespace {

int leap_seconds(int week, double tow)
{
    const unsigned short kept = g_curleap;   // the conversion moves the process-wide count
    auto w = static_cast<unsigned short>(week);
    const double leap = timediff(tow, gpst2utc(tow, &w));
    g_curleap = kept;
    return static_cast<int>(std::lround(leap));
}

std::int64_t epoch_interval(double rate)
{
    return rate < 1.0 ? 1000 * std::llround(1.0 / rate) : std::llround(1000.0 / rate);
}

}   // namespace

simulator_t::simulator_t(const scenario_t& s)
    : scenario_(s),
      base_{s.week, leap_seconds(s.week, s.tow)},
      interval_(epoch_interval(s.rate)),
      epochs_(std::max<std::int64_t>(1, (std::llround(s.duration * 1000.0) + interval_ - 1) / interval_)),
      course_(s.lat, s.lon, s.height, s.moving),
      site_(course_.at(s.tow)),
      horizon_(s.mask, s.obstructions),
      multipath_(s.multipath, s.seed),
      slips_(s.slips, epochs_, static_cast<double>(interval_) / 1000.0, s.seed),
      vehicles_(make_constellation(s.systems, base_, s.tow, s.every_signal)),
      random_(s.seed)
{
    for (const auto& v : vehicles_) tracks_.push_back(track_t{v.get()});
}

namespace {

double receiver_clock(double t)
{
    return kClockOffset + kClockDrift * t;
}

// The satellite when it sent what arrives at t, in the Earth-fixed axes of the arrival (Sagnac effect).
orbit_point_t sent_before(const vehicle_t& v, const vec3_t& antenna, double t)
{
    orbit_point_t s{};
    double travel = 0.08;           // s
    for (int i = 0; i < 2; ++i) {   // the second round is right to a micrometre
        s = v.at(t - travel);
        s.position = turn_z(s.position, kEarthRate * travel);
        travel = norm(s.position - antenna) / kLightSpeed;
    }
    return s;
}

}   // namespace

// Finds the satellite, and whether it can be seen.
void simulator_t::look(track_t& track) const
{
    const vehicle_t& v = *track.sent_by;
    const vec3_t& antenna = site_.position;
    const double true_time = t_ - receiver_clock(t_);
    const orbit_point_t s = sent_before(v, antenna, true_time);
    const vec3_t line = s.position - antenna;
    const double range = norm(line);
    const double sine = dot(line, site_.up) / range;
    const double east = dot(line, site_.east), north = dot(line, site_.north);
    const double flat = std::sqrt(east * east + north * north);
    track.to = {sine, std::asin(sine), flat > 0.0 ? east / flat : 0.0, flat > 0.0 ? north / flat : 1.0};
    track.visible = horizon_.open(track.to);
    if (!track.visible) return;

    const double lat = site_.lat * kDegree;
    track.ionosphere = ionosphere_delay(kIonosphere, lat, site_.lon * kDegree, track.to, now_.seconds);
    track.range = range + kLightSpeed * (receiver_clock(t_) - s.clock) + troposphere_delay(lat, site_.height, sine);
    const orbit_point_t before = sent_before(v, antenna, true_time - 0.5);
    const orbit_point_t after = sent_before(v, antenna, true_time + 0.5);
    track.range_rate = norm(after.position - antenna) - norm(before.position - antenna) +
                       kLightSpeed * (kClockDrift - (after.clock - before.clock)) - dot(line, site_.velocity) / range;
}

namespace {

// Tells the signal from all others, of all satellites.
std::uint64_t number_of(const vehicle_t& v, const signal_t& signal)
{
    const int number = (signal.system * 256 + v.prn()) * 32 + signal.type;
    return static_cast<std::uint64_t>(number);
}

}   // namespace

lock_t simulator_t::hold(const track_t& track, const signal_t& signal) const
{
    if (!scenario_.every_signal) return {t_ - track.locked_since};
    const std::uint64_t number = number_of(*track.sent_by, signal);
    return interrupted_lock(scenario_.seed + (number << 32), track.locked_since, t_);
}

namespace {

// Of each satellite the signals of every seventh carrier, in whole MHz, stand in message 140 alone.
bool is_rare(const vehicle_t& v, const signal_t& signal)
{
    return (v.prn() + std::lround(signal.frequency / 1e6)) % 7 == 0;
}

}   // namespace

// Measures all signals of a visible satellite.
void simulator_t::measure(const track_t& track)
{
    const vehicle_t& v = *track.sent_by;
    const int channel = static_cast<int>(&track - tracks_.data());
    random_t ambiguity(track.lock);
    for (const signal_t& signal : signals()) {
        if (!sent_by(signal, v.system(), v.prn()) || (signal.extra && !scenario_.every_signal)) continue;
        const double frequency = signal.frequency + v.channel() * signal.channel_step;
        const double wavelength = kLightSpeed / frequency;
        const double delay = track.ionosphere * (kFrequencyL1 / frequency) * (kFrequencyL1 / frequency);
        const double turns = static_cast<double>(ambiguity.below(100001)) - 50000.0;
        const lock_t lock = hold(track, signal);
        range_t r{};
        r.prn = v.prn(), r.channel = v.channel();
        r.pseudorange = track.range + delay + kLightSpeed * v.delay(signal) + scenario_.code_noise * random_.normal();
        r.pseudorange += multipath_.at(number_of(v, signal), t_);
        r.phase = (track.range - delay) / wavelength + turns + lock.turns + scenario_.phase_noise * random_.normal();
        r.doppler = -track.range_rate / wavelength;
        r.cn0 = 36.0 + 15.0 * track.to.sin_elevation - (frequency < 1.3e9 ? 2.0 : 0.0) + 0.3 * random_.normal();
        r.lock_time = lock.time;
        r.status = tracking_status(signal, channel, lock);
        r.rare = is_rare(v, signal);
        ranges_.push_back(r);
    }
}

void simulator_t::observe()
{
    ranges_.clear();
    for (track_t& track : tracks_) {
        const bool tracked = track.visible;
        look(track);
        if (!track.visible) continue;
        if (!tracked) track.locked_since = t_, track.lock = random_.bits();
        measure(track);
    }
    slips_.apply(ranges_, t_);
}

void simulator_t::append(bytes_t& log, frame_t frame) const
{
    frame.append_to(log, now_.week, std::llround(now_.seconds * 1000.0));
}

// True at the first epoch, and at the first one of each period (s) from there on.
bool simulator_t::due(std::int64_t period) const
{
    const std::int64_t ms = 1000 * period;
    return done_ == 0 || done_ * interval_ / ms != (done_ - 1) * interval_ / ms;
}

fix_t simulator_t::fix() const
{
    const vec3_t& p = site_.position;
    const auto used = static_cast<int>(std::ranges::count_if(tracks_, &track_t::visible));
    return {site_.lat, site_.lon, site_.height, {p.x, p.y, p.z}, used};
}

std::vector<visible_t> simulator_t::visible_satellites() const
{
    const auto hundredths = [](double angle) { return std::round(angle / kDegree * 100.0) / 100.0; };
    std::vector<visible_t> seen;
    for (const track_t& track : tracks_) {
        if (!track.visible) continue;
        const double azimuth = std::atan2(track.to.sin_azimuth, track.to.cos_azimuth);
        seen.push_back({track.sent_by->prn(), hundredths(track.to.elevation), hundredths(azimuth),
                        std::round(-track.range_rate * kFrequencyL1 / kLightSpeed)});
    }
    return seen;
}

void simulator_t::append_station_messages(bytes_t& log)
{
    if (due(600)) {
        append(log, receiver_version());
        append(log, antenna_type());
    }
    if (due(300)) append(log, ionosphere_utc(now_.week, base_.leap_seconds));
    if (scenario_.moving || due(10)) {
        append(log, geodetic_position(fix()));
        append(log, ecef_position(fix()));
    }
    if (due(60)) append(log, visibility(visible_satellites()));
    if (due(45)) append(log, foreign_message());
    if (done_ > 0 && due(97)) append(log, mark_time(now_.week, std::max(0.0, now_.seconds - 0.0125)));
    if (done_ > 0 && stops_ < 4 && due(120)) append(log, stop_and_go(++stops_ % 2, fix()));
}

void simulator_t::append_ephemerides(bytes_t& log)
{
    for (track_t& track : tracks_) {
        if (!track.visible) continue;
        const double reference = track.sent_by->reference();
        if (reference == track.set_reference && t_ < track.set_sent + scenario_.ephemeris_interval) continue;
        append(log, track.sent_by->ephemeris(t_));
        track.set_reference = reference;
        track.set_sent = t_;
    }
}

// An epoch in both messages: they come first in turn, some signals stand in 140 alone, and that one's time may be 1 ms
// late when it comes second.
void simulator_t::append_observations(bytes_t& log) const
{
    const std::int64_t ms = std::llround(now_.seconds * 1000.0);
    if (scenario_.range != kBothRanges) return append_ranges(log, scenario_.range, ranges_, now_.week, ms);
    std::vector<range_t> common;
    std::ranges::copy_if(ranges_, std::back_inserter(common), [](const range_t& r) { return !r.rare; });
    const bool full_first = done_ % 2 == 0;
    if (full_first) append_ranges(log, kFullRange, common, now_.week, ms);
    append_ranges(log, kCompressedRange, ranges_, now_.week, ms + (done_ % 4 == 2 ? 1 : 0));
    if (!full_first) append_ranges(log, kFullRange, common, now_.week, ms);
}

bool simulator_t::next(bytes_t& log)
{
    if (done_ >= epochs_) return false;
    const std::int64_t start = std::llround(scenario_.tow * 1000.0);
    t_ = static_cast<double>(start + done_ * interval_) / 1000.0;
    now_ = split(base_, t_);
    site_ = course_.at(t_);
    for (const auto& v : vehicles_) v->renew(t_);
    observe();
    append_station_messages(log);
    append_ephemerides(log);
    append_observations(log);
    ++done_;
    return true;
}

bytes_t make_log(const scenario_t& scenario)
{
    simulator_t sim(scenario);
    bytes_t log;
    while (sim.next(log)) {
    }
    return log;
}

}   // namespace sky
