#include "sky/simulator.h"

#include <algorithm>

#include "sky/atmosphere.h"

namespace sky {

constexpr double kDegree = kPi / 180.0;

// The receiver clock: offset from GPS time at t = 0 and drift.
constexpr double kClockOffset = 1e-4;   // s
constexpr double kClockDrift = 5e-10;

/// Reception of one satellite.
struct simulator::track_t {
    const vehicle* sent_by;
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

simulator::~simulator() = default;

static int leap_seconds(int week, double tow)
{
    const unsigned short kept = g_curleap;   // the conversion moves the process-wide count
    auto w = static_cast<unsigned short>(week);
    const double leap = timediff(tow, gpst2utc(tow, &w));
    g_curleap = kept;
    return static_cast<int>(std::lround(leap));
}

static std::int64_t epoch_interval(double rate)
{
    return rate < 1.0 ? 1000 * std::llround(1.0 / rate) : std::llround(1000.0 / rate);
}

simulator::simulator(const scenario_t& s)
    : m_scenario(s),
      m_base{s.week, leap_seconds(s.week, s.tow)},
      m_interval(epoch_interval(s.rate)),
      m_epochs(std::max<std::int64_t>(1, (std::llround(s.duration * 1000.0) + m_interval - 1) / m_interval)),
      m_vehicles(make_constellation(s.systems, m_base, s.tow)),
      m_random(s.seed)
{
    const sin_cos_t lat = sin_cos(s.lat * kDegree), lon = sin_cos(s.lon * kDegree);
    const double geodetic[] = {s.lat * kDegree, s.lon * kDegree, s.height};
    m_sine_of_mask = sin_cos(s.mask * kDegree).sin;
    m_fix = {s.lat, s.lon, s.height, {}, 0};
    pos2ecef(geodetic, m_fix.ecef);
    m_antenna = {m_fix.ecef[0], m_fix.ecef[1], m_fix.ecef[2]};
    m_east = {-lon.sin, lon.cos, 0.0};
    m_north = {-lat.sin * lon.cos, -lat.sin * lon.sin, lat.cos};
    m_up = {lat.cos * lon.cos, lat.cos * lon.sin, lat.sin};
    for (const auto& v : m_vehicles) m_tracks.push_back(track_t{v.get()});
}

static double receiver_clock(double t)
{
    return kClockOffset + kClockDrift * t;
}

/// The satellite when it sent what arrives at t, in the Earth-fixed axes of the arrival (Sagnac effect).
static orbit_point_t sent_before(const vehicle& v, const vec3& antenna, double t)
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

/// Finds the satellite, and whether it stands above the mask.
void simulator::look(track_t& track) const
{
    const vehicle& v = *track.sent_by;
    const double true_time = m_t - receiver_clock(m_t);
    const orbit_point_t s = sent_before(v, m_antenna, true_time);
    const vec3 line = s.position - m_antenna;
    const double range = norm(line);
    const double sine = dot(line, m_up) / range;
    track.visible = sine >= m_sine_of_mask;
    if (!track.visible) return;

    const double east = dot(line, m_east), north = dot(line, m_north), flat = std::sqrt(east * east + north * north);
    track.to = {sine, std::asin(sine), flat > 0.0 ? east / flat : 0.0, flat > 0.0 ? north / flat : 1.0};
    track.ionosphere = ionosphere_delay(m_scenario.lat * kDegree, m_scenario.lon * kDegree, track.to, m_now.seconds);
    track.range = range + kLightSpeed * (receiver_clock(m_t) - s.clock) +
                  troposphere_delay(m_scenario.lat * kDegree, m_scenario.height, sine);
    const orbit_point_t before = sent_before(v, m_antenna, true_time - 0.5);
    const orbit_point_t after = sent_before(v, m_antenna, true_time + 0.5);
    track.range_rate = norm(after.position - m_antenna) - norm(before.position - m_antenna) +
                       kLightSpeed * (kClockDrift - (after.clock - before.clock));
}

/// Measures all signals of a visible satellite.
void simulator::measure(const track_t& track)
{
    const vehicle& v = *track.sent_by;
    const int channel = static_cast<int>(&track - m_tracks.data());
    random_t ambiguity(track.lock);
    for (const signal_t& signal : signals()) {
        if (!sent_by(signal, v.system(), v.prn())) continue;
        const double frequency = signal.frequency + v.channel() * signal.channel_step;
        const double wavelength = kLightSpeed / frequency;
        const double delay = track.ionosphere * (kFrequencyL1 / frequency) * (kFrequencyL1 / frequency);
        const double turns = static_cast<double>(ambiguity.below(100001)) - 50000.0;
        range_t r{};
        r.prn = v.prn(), r.channel = v.channel();
        r.pseudorange = track.range + delay + kLightSpeed * v.delay(signal) + m_scenario.code_noise * m_random.normal();
        r.phase = (track.range - delay) / wavelength + turns + m_scenario.phase_noise * m_random.normal();
        r.doppler = -track.range_rate / wavelength;
        r.cn0 = 36.0 + 15.0 * track.to.sin_elevation - (frequency < 1.3e9 ? 2.0 : 0.0) + 0.3 * m_random.normal();
        r.lock_time = m_t - track.locked_since;
        r.status = tracking_status(signal, channel);
        m_ranges.push_back(r);
    }
}

void simulator::observe()
{
    m_ranges.clear();
    for (track_t& track : m_tracks) {
        const bool tracked = track.visible;
        look(track);
        if (!track.visible) continue;
        if (!tracked) track.locked_since = m_t, track.lock = m_random.bits();
        measure(track);
    }
}

void simulator::append(bytes_t& log, frame_t frame) const
{
    frame.append_to(log, m_now.week, std::llround(m_now.seconds * 1000.0));
}

/// True at the first epoch, and at the first one of each period (s) from there on.
bool simulator::due(std::int64_t period) const
{
    const std::int64_t ms = 1000 * period;
    return m_done == 0 || m_done * m_interval / ms != (m_done - 1) * m_interval / ms;
}

std::vector<visible_t> simulator::visible_satellites() const
{
    const auto hundredths = [](double angle) { return std::round(angle / kDegree * 100.0) / 100.0; };
    std::vector<visible_t> seen;
    for (const track_t& track : m_tracks) {
        if (!track.visible) continue;
        const double azimuth = std::atan2(track.to.sin_azimuth, track.to.cos_azimuth);
        seen.push_back({track.sent_by->prn(), hundredths(track.to.elevation), hundredths(azimuth),
                        std::round(-track.range_rate * kFrequencyL1 / kLightSpeed)});
    }
    return seen;
}

void simulator::append_station_messages(bytes_t& log)
{
    m_fix.satellites = static_cast<int>(std::ranges::count_if(m_tracks, &track_t::visible));
    if (due(600)) {
        append(log, receiver_version());
        append(log, antenna_type());
    }
    if (due(300)) append(log, ionosphere_utc(m_now.week, m_base.leap_seconds));
    if (due(10)) {
        append(log, geodetic_position(m_fix));
        append(log, ecef_position(m_fix));
    }
    if (due(60)) append(log, visibility(visible_satellites()));
    if (due(45)) append(log, foreign_message());
    if (m_done > 0 && due(97)) append(log, mark_time(m_now.week, std::max(0.0, m_now.seconds - 0.0125)));
    if (m_done > 0 && m_stops < 4 && due(120)) append(log, stop_and_go(++m_stops % 2, m_fix));
}

void simulator::append_ephemerides(bytes_t& log)
{
    for (track_t& track : m_tracks) {
        if (!track.visible) continue;
        const double reference = track.sent_by->reference();
        if (reference == track.set_reference && m_t < track.set_sent + m_scenario.ephemeris_interval) continue;
        append(log, track.sent_by->ephemeris(m_t));
        track.set_reference = reference;
        track.set_sent = m_t;
    }
}

bool simulator::next(bytes_t& log)
{
    if (m_done >= m_epochs) return false;
    const std::int64_t start = std::llround(m_scenario.tow * 1000.0);
    m_t = static_cast<double>(start + m_done * m_interval) / 1000.0;
    m_now = split(m_base, m_t);
    for (const auto& v : m_vehicles) v->renew(m_t);
    observe();
    append_station_messages(log);
    append_ephemerides(log);
    append_ranges(log, m_scenario.range, m_ranges, m_now.week, std::llround(m_now.seconds * 1000.0));
    ++m_done;
    return true;
}

bytes_t make_log(const scenario_t& scenario)
{
    simulator sim(scenario);
    bytes_t log;
    while (sim.next(log)) {
    }
    return log;
}

}   // namespace sky
