#include "rinex/nav_messages.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "gnss/foundation/satellites.h"
#include "gnss/foundation/time_scales.h"
#include "gnss/log/frame.h"
#include "gnss/log/galileo.h"
#include "gnss/log/glonass.h"
#include "gnss/log/kepler.h"
#include "gnss/log/sbas.h"
#include "gnss/log/station.h"
#include "gnss/log/subframes.h"

namespace rinex {

namespace {

constexpr std::int64_t kWeekSeconds = 604800, kDaySeconds = 86400;
constexpr double kUnknownTime = 0.999999999999e9;   // transmission time
constexpr int kLastWeek = 65534;
constexpr std::uint32_t kMostTimeOffset = 20000;   // GLONASS time - GPS time (s)

// Nominal accuracy (m) of the indices 0 to 15; IS-GPS-200, 20.3.3.3.1.3.
constexpr double kAccuracy[] = {2, 2.8, 4, 5.7, 8, 11.3, 16, 32, 64, 128, 256, 512, 1024, 2048, 4096, 8192};

double nominal_accuracy(double sigma)
{
    for (const double bound : kAccuracy) {
        if (sigma <= bound * 1.001) return bound;   // a root, rounded
    }
    return kAccuracy[15];
}

// Signal-in-space accuracy (m); Galileo OS SIS ICD, 5.1.12.
double galileo_accuracy(int index)
{
    if (index < 50) return index / 100.0;
    if (index < 75) return (50 + 2 * (index - 50)) / 100.0;
    if (index < 100) return (100 + 4 * (index - 75)) / 100.0;
    return index <= 125 ? (200 + 16 * (index - 100)) / 100.0 : -1.0;
}

bool is_second_of_week(double t)
{
    return t >= 0.0 && t <= kWeekSeconds;
}

// Headers and messages that do not know the week have week 0.
bool is_date(std::int64_t seconds)
{
    return seconds >= kWeekSeconds;
}

// The time of the week that lies nearest another time.
std::int64_t nearest(std::int64_t seconds_of_period, std::int64_t to, std::int64_t period)
{
    const std::int64_t t = to - to % period + seconds_of_period;
    if (t - to > period / 2) return t - period;
    return to - t > period / 2 ? t + period : t;
}

// Time of sending, in the week of the ephemeris; trusted when it lies within a day of it.
double transmission_time(double tow, double toe)
{
    if (!is_second_of_week(tow)) return kUnknownTime;
    const double t = tow - std::round((tow - toe) / kWeekSeconds) * kWeekSeconds;
    return std::fabs(t - toe) <= kDaySeconds ? t : kUnknownTime;
}

// Epoch, clock and the four lines that all Keplerian records share.
ephemeris_record_t kepler_record(satellite_t satellite, nav_message_t message, std::int64_t week,
                                 const korvex::orbit_t& o, double toc, double issue, double sqrt_A)
{
    ephemeris_record_t r;
    r.satellite = satellite;
    r.message = message;
    r.reference = week * kWeekSeconds + std::llround(o.toe);
    r.epoch = nearest(std::llround(toc), r.reference, kWeekSeconds);
    r.issue = static_cast<std::uint32_t>(issue);
    r.orbit[0] = {issue, o.crs, o.delta_n, o.M0};
    r.orbit[1] = {o.cuc, o.e, o.cus, sqrt_A};
    r.orbit[2] = {o.toe, o.cic, o.omega0, o.cis};
    r.orbit[3] = {o.i0, o.crc, o.omega, o.omega_dot};
    r.lines = 7;
    return r;
}

using take_t = std::function<void(const ephemeris_record_t&)>;

bool usable(satellite_t satellite, std::int64_t week, double toe, double toc)
{
    return satellite.valid() && week >= 0 && week <= kLastWeek && is_second_of_week(toe) && is_second_of_week(toc);
}

void take_lnav(satellite_t satellite, const korvex::kepler_t& k, double fit, const take_t& take)
{
    if (!usable(satellite, k.week, k.orbit.toe, k.toc)) return;
    ephemeris_record_t r =
        kepler_record(satellite, nav_message_t::lnav, k.week, k.orbit, k.toc, k.iode, std::sqrt(k.A));
    r.health = k.health;
    r.clock = {k.af0, k.af1, k.af2};
    r.orbit[4] = {k.orbit.idot, kBlank, double(k.week), kBlank};
    r.orbit[5] = {nominal_accuracy(std::sqrt(k.ura)), double(k.health), k.tgd, double(k.iodc)};
    r.orbit[6] = {transmission_time(k.tow, k.orbit.toe), fit, kBlank, kBlank};
    take(r);
}

void take_gps(std::int64_t /*sent*/, const std::uint8_t* body, const take_t& take)
{
    const korvex::kepler_t k = korvex::read_gps_ephemeris(body);
    const bool qzss = k.prn > static_cast<std::uint32_t>(kConstellations[kGps].last);   // those of QZSS follow
    take_lnav(qzss ? satellite_of(kQzss, k.prn - kConstellations[kGps].last) : satellite_of(kGps, k.prn), k, kBlank,
              take);
}

void take_qzss(std::int64_t /*sent*/, const std::uint8_t* body, const take_t& take)
{
    const korvex::kepler_t k = korvex::read_qzss_ephemeris(body);
    take_lnav(satellite_of_prn(kQzss, k.prn), k, k.fit, take);
}

void take_subframes(std::int64_t /*sent*/, const std::uint8_t* body, const take_t& take)
{
    const korvex::subframes_t s = korvex::read_subframes(body);
    const std::int64_t week = korvex::full_week(s.ten_bit_week, s.reference_week);
    const satellite_t satellite = satellite_of(kGps, s.prn);
    if (!usable(satellite, week, s.orbit.toe, s.toc)) return;
    ephemeris_record_t r = kepler_record(satellite, nav_message_t::lnav, week, s.orbit, s.toc, s.iode, s.sqrt_A);
    r.health = static_cast<std::uint32_t>(s.health);
    r.clock = {s.af0, s.af1, s.af2};
    r.orbit[4] = {s.orbit.idot, double(s.codes_on_l2), double(week), double(s.l2p_flag)};
    r.orbit[5] = {kAccuracy[s.accuracy_index], double(s.health), s.tgd, double(s.iodc)};
    r.orbit[6] = {transmission_time(s.tow, s.orbit.toe), s.fit_flag != 0 ? 6.0 : 4.0, kBlank, kBlank};
    take(r);
}

// Weeks of BeiDou are counted from 2006 on; dates are of its own time.
void take_beidou(korvex::kepler_t k, double sqrt_A, double sigma, std::int64_t gps_week, double sent,
                 const take_t& take)
{
    if (k.prn >= static_cast<std::uint32_t>(kBdsHighPrn)) k.prn -= kBdsHighPrn;
    const satellite_t satellite = satellite_of(kBeidou, k.prn);
    if (!usable(satellite, gps_week - kBdsWeekOffset, k.orbit.toe, k.toc)) return;
    const bool geostationary = satellite.number <= 5 || satellite.number >= 59;
    ephemeris_record_t r = kepler_record(satellite, geostationary ? nav_message_t::d2 : nav_message_t::d1, gps_week,
                                         k.orbit, k.toc, k.iode, sqrt_A);
    r.health = k.health;
    r.clock = {k.af0, k.af1, k.af2};
    r.orbit[4] = {k.orbit.idot, kBlank, double(gps_week - kBdsWeekOffset), kBlank};
    r.orbit[5] = {nominal_accuracy(sigma), double(k.health), k.tgd, k.tgd2};
    r.orbit[6] = {sent, double(k.iodc), kBlank, kBlank};
    take(r);
}

void take_beidou_first(std::int64_t /*sent*/, const std::uint8_t* body, const take_t& take)
{
    const korvex::kepler_t k = korvex::read_bds_ephemeris(body);
    take_beidou(k, k.sqrt_A, k.ura, std::int64_t{k.week} + kBdsWeekOffset, kUnknownTime, take);
}

void take_beidou_second(std::int64_t /*sent*/, const std::uint8_t* body, const take_t& take)
{
    const korvex::kepler_t k = korvex::read_bds_ephemeris_second(body);
    take_beidou(k, std::sqrt(k.A), std::sqrt(k.ura), k.week, transmission_time(k.tow, k.orbit.toe), take);
}

// Validity and health of E1B, E5a and E5b, three bits each.
int galileo_health(const korvex::galileo_t& g)
{
    int bits = 0;
    for (int i = 0; i < 3; ++i) bits |= ((g.validity[i] & 1) | (g.health[i] & 3) << 1) << 3 * i;
    return bits;
}

// Messages of Galileo name no week: it is the one that the message was sent in, or a neighbour.
void take_galileo(std::int64_t sent, const korvex::galileo_t& g, bool fnav, const take_t& take)
{
    constexpr double kInavSource = 517, kFnavSource = 258;   // I/NAV of E1B and E5b with its clock; F/NAV with its own
    const korvex::clock_polynomial_t& clock = fnav ? g.fnav_clock : g.inav_clock;
    const satellite_t satellite = satellite_of(kGalileo, g.prn);
    if (!usable(satellite, 0, g.orbit.toe, clock.toc)) return;
    const std::int64_t week = nearest(std::llround(g.orbit.toe), sent / 1000, kWeekSeconds) / kWeekSeconds;
    ephemeris_record_t r = kepler_record(satellite, fnav ? nav_message_t::fnav : nav_message_t::inav, week, g.orbit,
                                         clock.toc, g.iodnav, g.sqrt_A);
    r.health = static_cast<std::uint32_t>(galileo_health(g));
    r.clock = {clock.af0, clock.af1, clock.af2};
    r.orbit[4] = {g.orbit.idot, fnav ? kFnavSource : kInavSource, double(week), kBlank};
    r.orbit[5] = {galileo_accuracy(g.sisa), double(r.health), g.bgd_e5a, fnav ? 0.0 : g.bgd_e5b};
    r.orbit[6] = {kUnknownTime, kBlank, kBlank, kBlank};
    take(r);
}

void take_galileo_both(std::int64_t sent, const std::uint8_t* body, const take_t& take)
{
    const korvex::galileo_t g = korvex::read_galileo_ephemeris(body);
    if (g.inav != 0) take_galileo(sent, g, false, take);
    if (g.fnav != 0) take_galileo(sent, g, true, take);
}

void take_galileo_inav(std::int64_t sent, const std::uint8_t* body, const take_t& take)
{
    take_galileo(sent, korvex::read_galileo_inav_ephemeris(body), false, take);
}

// Position, velocity and acceleration along each axis in kilometres, and a fourth field.
void put_state(ephemeris_record_t& r, const double (&pos)[3], const double (&vel)[3], const double (&acc)[3],
               std::array<double, 3> fourth)
{
    for (std::size_t i = 0; i < 3; ++i) r.orbit[i] = {pos[i] / 1000.0, vel[i] / 1000.0, acc[i] / 1000.0, fourth[i]};
}

void take_glonass(std::int64_t /*sent*/, const std::uint8_t* body, const take_t& take)
{
    const korvex::glonass_t g = korvex::read_glonass_ephemeris(body);
    ephemeris_record_t r;
    r.satellite = satellite_of_prn(kGlonass, g.prn);
    if (!r.satellite.valid() || g.week > kLastWeek || g.time_offset > kMostTimeOffset) return;
    if (!is_second_of_week(g.ms / 1000.0)) return;
    constexpr auto kMoscow = static_cast<std::int64_t>(kMoscowTime);
    const std::int64_t reference =
        g.week * kWeekSeconds + std::llround(g.ms / 1000.0) + g.time_offset;                            // GLONASS time
    const std::int64_t frame = nearest(g.frame_time % kDaySeconds, reference, kDaySeconds) - kMoscow;   // UTC
    r.message = nav_message_t::fdma;
    r.epoch = r.reference = reference - kMoscow;
    r.issue = g.issue;
    r.health = g.health;
    r.clock = {-g.taun, g.gamn, double(frame % kWeekSeconds)};
    put_state(r, g.pos, g.vel, g.acc, {double(g.health), double(g.channel), double(g.age)});
    r.orbit[3] = {kBlank, g.dtaun, double(g.accuracy_index), kBlank};
    r.lines = 4;
    take(r);
}

void take_sbas(std::int64_t sent, const std::uint8_t* body, const take_t& take)
{
    constexpr int kNoAccuracy = 15;
    constexpr double kUnknownAccuracy = 32767.0;
    constexpr double kNothingTold = 31, kNothingToldNoAccuracy = 63;   // no message of type 17 behind it
    const korvex::sbas_t s = korvex::read_sbas_ephemeris(body);
    const std::int64_t time_of_day = std::int64_t{16} * s.t0;
    ephemeris_record_t r;
    r.satellite = satellite_of(kSbas, s.index + kConstellations[kSbas].first - 1);
    if (s.index < 1 || !r.satellite.valid() || time_of_day >= kDaySeconds) return;
    const bool known = s.ura < kNoAccuracy;
    const double vel[] = {s.vel[0], s.vel[1], s.vel[2]}, acc[] = {s.acc[0], s.acc[1], s.acc[2]};
    r.message = nav_message_t::sbas;
    r.epoch = r.reference = nearest(time_of_day, sent / 1000, kDaySeconds);
    r.issue = s.iodn;
    r.clock = {s.af0, s.af1, double(sent % (kWeekSeconds * 1000)) / 1000.0};
    put_state(
        r, s.pos, vel, acc,
        {known ? kNothingTold : kNothingToldNoAccuracy, known ? kAccuracy[s.ura] : kUnknownAccuracy, double(s.iodn)});
    r.lines = 3;
    take(r);
}

bool fits(double value)   // into a field; nothing that is no number does
{
    return std::fabs(value) <= kLargestNumber;
}

// Whether the clock and the lines of the orbit that have no room for blanks are whole.
bool is_whole(const ephemeris_record_t& r)
{
    const auto line_fits = [](const auto& line) { return std::all_of(line.begin(), line.end(), fits); };
    const int full_lines = r.lines > 4 ? 4 : 3;   // Keplerian elements; a state
    return line_fits(r.clock) && std::all_of(r.orbit.begin(), r.orbit.begin() + full_lines, line_fits);
}

struct reader_t {
    int id;
    int size;   // least bytes of the body
    void (*read)(std::int64_t sent, const std::uint8_t* body, const take_t& take);
};

// clang-format off
constexpr reader_t kReaders[] = {
    {MSG_GPS_EPHEMERIS,        korvex::kGpsEphemerisSize,       take_gps},
    {MSG_RAW_GPS_EPHEMERIS,    korvex::kRawEphemerisSize,       take_subframes},
    {MSG_SBAS_EPHEMERIS,       korvex::kSbasEphemerisSize,      take_sbas},
    {MSG_GLONASS_EPHEMERIS,    korvex::kGlonassEphemerisSize,   take_glonass},
    {MSG_BDS_EPHEMERIS_SECOND, korvex::kBdsEphemerisSecondSize, take_beidou_second},
    {MSG_GAL_EPHEMERIS,        korvex::kGalEphemerisSize,       take_galileo_both},
    {MSG_GAL_INAV_EPHEMERIS,   korvex::kGalInavEphemerisSize,   take_galileo_inav},
    {MSG_QZSS_EPHEMERIS,       korvex::kQzssEphemerisSize,      take_qzss},
    {MSG_BDS_EPHEMERIS,        korvex::kBdsEphemerisSize,       take_beidou_first},
};
// clang-format on

}   // namespace

nav_result_t read_ephemerides(int id, std::int64_t sent, const std::uint8_t* body, int size, const take_t& take)
{
    for (const reader_t& reader : kReaders) {
        if (reader.id != id) continue;
        bool taken = false;
        const auto take_whole = [&](const ephemeris_record_t& r) {
            if (!is_whole(r) || !is_date(r.reference)) return;
            taken = true;
            take(r);
        };
        if (size >= reader.size) reader.read(sent, body, take_whole);
        return taken ? nav_result_t::taken : nav_result_t::refused;
    }
    return nav_result_t::no_ephemeris;
}

std::optional<ion_utc_record_t> read_ion_utc_record(std::int64_t sent, const std::uint8_t* body, int size)
{
    if (size < korvex::kIonUtcSize || !is_date(sent / 1000)) return std::nullopt;
    const korvex::ion_utc_t u = korvex::read_ion_utc(body);
    ion_utc_record_t r;
    r.sent = sent / 1000;
    for (std::size_t i = 0; i < 4; ++i) {
        if (!fits(u.alpha[i]) || !fits(u.beta[i])) return std::nullopt;
        r.alpha[i] = u.alpha[i];
        r.beta[i] = u.beta[i];
    }
    if (std::cmp_greater(u.leaps, kMostLeapSeconds) || !fits(u.a0) || !fits(u.a1)) return std::nullopt;
    r.a0 = u.a0;
    r.a1 = u.a1;
    r.utc_reference = (u.utc_week & 0xFFFF) * kWeekSeconds + u.utc_second % kWeekSeconds;
    r.leap_seconds = static_cast<int>(u.leaps);
    return r;
}

}   // namespace rinex
