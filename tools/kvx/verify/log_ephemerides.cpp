#include "verify/log_ephemerides.h"

#include <cmath>

#include "gnss/foundation/satellites.h"
#include "gnss/foundation/time_scales.h"
#include "gnss/log/galileo.h"
#include "gnss/log/glonass.h"
#include "gnss/log/kepler.h"
#include "gnss/log/sbas.h"
#include "gnss/log/subframes.h"
#include "rinex/navigation_layouts.h"

namespace kvx {

namespace {

constexpr std::int64_t kSecondsOfWeek = 604800, kSecondsOfDay = 86400;
constexpr std::int64_t kLastWeek = 65534;

// Fields of the last three lines of Keplerian records.
constexpr std::size_t kAtRate = 20, kAtHealth = 25, kAtAge = 29;

// The second nearest to another one, of those that a second of a day or week can stand for.
std::int64_t nearest(std::int64_t second, std::int64_t to, std::int64_t period)
{
    const std::int64_t t = to - (to % period + period) % period + second;
    return t - to > period / 2 ? t - period : to - t > period / 2 ? t + period : t;
}

bool in_week(double second)
{
    return second >= 0.0 && second <= double(kSecondsOfWeek);
}

// Time, clock and orbit of a Keplerian record.
struct kepler_clock_t {
    double toc, af0, af1, af2;
};

/// @param week  of toe, as GPS counts
/// @return whether a record can tell these
bool put_kepler(log_ephemeris_t& e, std::int64_t week, const korvex::orbit_t& o, const kepler_clock_t& clock,
                double issue, double sqrt_A)
{
    if (!e.satellite.valid() || week < 0 || week > kLastWeek || !in_week(o.toe) || !in_week(clock.toc)) return false;
    e.reference = week * kSecondsOfWeek + std::llround(o.toe);
    e.time = nearest(std::llround(clock.toc), e.reference, kSecondsOfWeek) * rinex::kTicksPerSecond;
    e.issue = static_cast<std::uint32_t>(issue);
    e.put(1, {clock.af0, clock.af1, clock.af2});
    e.put(4, {issue, o.crs, o.delta_n, o.M0});
    e.put(8, {o.cuc, o.e, o.cus, sqrt_A});
    e.put(12, {o.toe, o.cic, o.omega0, o.cis});
    e.put(16, {o.i0, o.crc, o.omega, o.omega_dot});
    return true;
}

void put_health(log_ephemeris_t& e, std::uint32_t health)
{
    e.health = health;
    e.put(kAtHealth, {double(health)});
}

void take_lnav(log_ephemeris_t& e, const korvex::kepler_t& k, const take_ephemeris_t& take)
{
    e.message = "LNAV";
    if (!put_kepler(e, k.week, k.orbit, {k.toc, k.af0, k.af1, k.af2}, k.iode, std::sqrt(k.A))) return;
    e.put(kAtRate, {k.orbit.idot});
    e.put(rinex::kNavWeek, {double(k.week)});
    put_health(e, k.health);
    e.put(kAtHealth + 1, {k.tgd, double(k.iodc)});
    take(e);
}

// PRNs behind those of GPS are QZSS there.
void take_gps(const message_t& m, log_ephemeris_t& e, const take_ephemeris_t& take)
{
    const korvex::kepler_t k = korvex::read_gps_ephemeris(m.body);
    constexpr std::uint32_t kGpsPrns = 32;
    e.satellite = k.prn <= kGpsPrns ? rinex::satellite_of(rinex::kGps, k.prn)
                                    : rinex::satellite_of(rinex::kQzss, k.prn - kGpsPrns);
    take_lnav(e, k, take);
}

void take_qzss(const message_t& m, log_ephemeris_t& e, const take_ephemeris_t& take)
{
    const korvex::kepler_t k = korvex::read_qzss_ephemeris(m.body);
    e.satellite = rinex::satellite_of_prn(rinex::kQzss, k.prn);
    take_lnav(e, k, take);
}

void take_subframes(const message_t& m, log_ephemeris_t& e, const take_ephemeris_t& take)
{
    const korvex::subframes_t s = korvex::read_subframes(m.body);
    const std::int64_t week = korvex::full_week(s.ten_bit_week, s.reference_week);
    e.satellite = rinex::satellite_of(rinex::kGps, s.prn);
    e.message = "LNAV";
    if (!put_kepler(e, week, s.orbit, {s.toc, s.af0, s.af1, s.af2}, s.iode, s.sqrt_A)) return;
    e.put(kAtRate, {s.orbit.idot, double(s.codes_on_l2), double(week), double(s.l2p_flag)});
    put_health(e, static_cast<std::uint32_t>(s.health));
    e.put(kAtHealth + 1, {s.tgd, double(s.iodc)});
    take(e);
}

/// @param week  of GPS
void take_beidou(log_ephemeris_t& e, const korvex::kepler_t& k, std::int64_t week, double sqrt_A,
                 const take_ephemeris_t& take)
{
    const std::uint32_t number = k.prn >= kBdsHighPrn ? k.prn - kBdsHighPrn : k.prn;
    e.satellite = rinex::satellite_of(rinex::kBeidou, number);
    const bool geostationary = number <= 5 || number >= 59;
    e.message = geostationary ? "D2" : "D1";
    if (week < kBdsWeekOffset || !put_kepler(e, week, k.orbit, {k.toc, k.af0, k.af1, k.af2}, k.iode, sqrt_A)) return;
    e.put(kAtRate, {k.orbit.idot});
    e.put(rinex::kNavWeek, {double(week - kBdsWeekOffset)});
    put_health(e, k.health);
    e.put(kAtHealth + 1, {k.tgd, k.tgd2});
    e.put(kAtAge, {double(k.iodc)});
    take(e);
}

void take_beidou_first(const message_t& m, log_ephemeris_t& e, const take_ephemeris_t& take)
{
    const korvex::kepler_t k = korvex::read_bds_ephemeris(m.body);
    take_beidou(e, k, std::int64_t{k.week} + kBdsWeekOffset, k.sqrt_A, take);
}

void take_beidou_second(const message_t& m, log_ephemeris_t& e, const take_ephemeris_t& take)
{
    const korvex::kepler_t k = korvex::read_bds_ephemeris_second(m.body);
    take_beidou(e, k, k.week, std::sqrt(k.A), take);
}

// E1B from bit 0 on, E5a from 3, E5b from 6: a bit of validity, two of health.
std::uint32_t galileo_health(const korvex::galileo_t& g)
{
    std::uint32_t bits = 0;
    for (std::size_t i = 3; i-- > 0;) bits = bits << 3 | (g.health[i] & 3U) << 1 | (g.validity[i] & 1U);
    return bits;
}

// The week is the one next to the time of sending.
void take_galileo(const message_t& m, const korvex::galileo_t& g, bool fnav, const take_ephemeris_t& take)
{
    log_ephemeris_t e;
    e.satellite = rinex::satellite_of(rinex::kGalileo, g.prn);
    e.message = fnav ? "FNAV" : "INAV";
    const korvex::clock_polynomial_t& clock = fnav ? g.fnav_clock : g.inav_clock;
    if (!in_week(g.orbit.toe)) return;
    const std::int64_t week = nearest(std::llround(g.orbit.toe), m.sent / 1000, kSecondsOfWeek) / kSecondsOfWeek;
    if (!put_kepler(e, week, g.orbit, {clock.toc, clock.af0, clock.af1, clock.af2}, g.iodnav, g.sqrt_A)) return;
    e.put(kAtRate, {g.orbit.idot});
    e.put(rinex::kNavWeek, {double(week)});
    put_health(e, galileo_health(g));
    e.put(kAtHealth + 1, {g.bgd_e5a});
    if (!fnav) e.put(kAtHealth + 2, {g.bgd_e5b});
    take(e);
}

void take_galileo_both(const message_t& m, log_ephemeris_t& /*e*/, const take_ephemeris_t& take)
{
    const korvex::galileo_t g = korvex::read_galileo_ephemeris(m.body);
    if (g.inav != 0) take_galileo(m, g, false, take);
    if (g.fnav != 0) take_galileo(m, g, true, take);
}

void take_galileo_inav(const message_t& m, log_ephemeris_t& /*e*/, const take_ephemeris_t& take)
{
    take_galileo(m, korvex::read_galileo_inav_ephemeris(m.body), false, take);
}

// Metres as kilometres, a line for each axis.
void put_state(log_ephemeris_t& e, const double (&pos)[3], const double (&vel)[3], const double (&acc)[3])
{
    for (std::size_t i = 0; i < 3; ++i) e.put(4 + 4 * i, {pos[i] / 1000.0, vel[i] / 1000.0, acc[i] / 1000.0});
}

// The message's time is GPS time, the record's UTC.
void take_glonass(const message_t& m, log_ephemeris_t& e, const take_ephemeris_t& take)
{
    constexpr std::uint32_t kMostOffset = 20000;   // s, of GLONASS time to GPS time
    const korvex::glonass_t g = korvex::read_glonass_ephemeris(m.body);
    e.satellite = rinex::satellite_of_prn(rinex::kGlonass, g.prn);
    e.message = "FDMA";
    if (!e.satellite.valid() || g.week > kLastWeek || g.time_offset > kMostOffset) return;
    e.reference =
        g.week * kSecondsOfWeek + std::llround(g.ms / 1000.0) + g.time_offset - static_cast<std::int64_t>(kMoscowTime);
    e.time = e.reference * rinex::kTicksPerSecond;
    e.issue = g.issue;
    e.health = g.health;
    e.put(1, {-g.taun, g.gamn});
    put_state(e, g.pos, g.vel, g.acc);
    e.put(7, {double(g.health)});
    e.put(11, {double(g.channel)});
    e.put(15, {double(g.age)});
    e.put(17, {g.dtaun, double(g.accuracy_index)});
    take(e);
}

void take_sbas(const message_t& m, log_ephemeris_t& e, const take_ephemeris_t& take)
{
    const korvex::sbas_t s = korvex::read_sbas_ephemeris(m.body);
    const std::int64_t second = std::int64_t{16} * s.t0;
    e.satellite = rinex::satellite_of(rinex::kSbas, s.index + 19);
    e.message = "SBAS";
    if (!e.satellite.valid() || second >= kSecondsOfDay) return;
    e.reference = nearest(second, m.sent / 1000, kSecondsOfDay);
    e.time = e.reference * rinex::kTicksPerSecond;
    e.issue = s.iodn;
    e.put(1, {s.af0, s.af1});
    put_state(e, s.pos, {s.vel[0], s.vel[1], s.vel[2]}, {s.acc[0], s.acc[1], s.acc[2]});
    e.put(15, {double(s.iodn)});
    take(e);
}

struct reader_t {
    int id;
    int size;   // least bytes of the body
    void (*read)(const message_t& message, log_ephemeris_t& ephemeris, const take_ephemeris_t& take);
};

// clang-format off
constexpr reader_t kReaders[] = {
    {MSG_GPS_EPHEMERIS,        korvex::kGpsEphemerisSize,       take_gps},
    {MSG_RAW_GPS_EPHEMERIS,    korvex::kRawEphemerisSize,       take_subframes},
    {MSG_QZSS_EPHEMERIS,       korvex::kQzssEphemerisSize,      take_qzss},
    {MSG_BDS_EPHEMERIS,        korvex::kBdsEphemerisSize,       take_beidou_first},
    {MSG_BDS_EPHEMERIS_SECOND, korvex::kBdsEphemerisSecondSize, take_beidou_second},
    {MSG_GAL_EPHEMERIS,        korvex::kGalEphemerisSize,       take_galileo_both},
    {MSG_GAL_INAV_EPHEMERIS,   korvex::kGalInavEphemerisSize,   take_galileo_inav},
    {MSG_GLONASS_EPHEMERIS,    korvex::kGlonassEphemerisSize,   take_glonass},
    {MSG_SBAS_EPHEMERIS,       korvex::kSbasEphemerisSize,      take_sbas},
};
// clang-format on

}   // namespace

void log_ephemeris_t::put(std::size_t first, std::initializer_list<double> values)
{
    for (const double value : values) {
        fields[first] = value;
        compared |= std::uint32_t{1} << first++;
    }
}

void read_log_ephemerides(const message_t& message, const take_ephemeris_t& take)
{
    for (const reader_t& reader : kReaders) {
        if (reader.id != message.id || message.size < reader.size) continue;
        log_ephemeris_t ephemeris;
        reader.read(message, ephemeris, take);
    }
}

}   // namespace kvx
