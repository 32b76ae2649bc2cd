// A user under the built-in sky: decodes the log and computes where it is, with its own formulas.
#include <gtest/gtest.h>

#include <map>

#include "support/feed_log.h"
#include "support/frame_builder.h"

namespace {

using sky::vec3_t;

constexpr double kC = 299792458.0;
constexpr double kOmega = 7.2921151467e-5;
constexpr double kSemicircle = 3.14159265358979323846;

/// Broadcast orbit of IS-GPS-200 table 20-IV, for BeiDou's geostationary satellites with the rotation of its interface
/// document; the clock is that of the signal in slot 0, whose group delay is `delay`.
template <class Eph>
sky::orbit_point_t FromKepler(const Eph& e, double A, const gal_clock_t& clock, double delay, int sys, int prn,
                              double t)
{
    const double mu = sys == SYS_GPS || sys == SYS_QZS ? 3.986005e14 : 3.986004418e14;
    const double rate = sys == SYS_BDS ? 7.2921150e-5 : kOmega;
    const bool geo = sys == SYS_BDS && prn <= 5;
    const double tk = timediff(t, e.toe), tc = timediff(t, clock.toc);
    const double M = e.M0 + (std::sqrt(mu / A / A / A) + e.delta_n) * tk;
    double E = M;
    for (int i = 0; i < 30; ++i) E = M + e.e * std::sin(E);
    const double relativity = -2.0 * std::sqrt(mu * A) * e.e * std::sin(E) / kC / kC;
    const double phi = std::atan2(std::sqrt(1 - e.e * e.e) * std::sin(E), std::cos(E) - e.e) + e.omega;
    const double s2 = std::sin(2 * phi), c2 = std::cos(2 * phi);
    const double u = phi + e.cus * s2 + e.cuc * c2;
    const double r = A * (1 - e.e * std::cos(E)) + e.crs * s2 + e.crc * c2;
    const double i = e.i0 + e.idot * tk + e.cis * s2 + e.cic * c2;
    const double O = e.omega0 + e.omega_dot * tk - rate * e.toe - (geo ? 0.0 : rate * tk);
    const double x = r * std::cos(u), y = r * std::sin(u);
    vec3_t p = {x * std::cos(O) - y * std::cos(i) * std::sin(O), x * std::sin(O) + y * std::cos(i) * std::cos(O),
                y * std::sin(i)};
    if (geo) {
        const double c5 = std::cos(-5 * kSemicircle / 180), s5 = std::sin(-5 * kSemicircle / 180);
        const double ca = std::cos(rate * tk), sa = std::sin(rate * tk), tilted = c5 * p.y + s5 * p.z;
        p = {ca * p.x + sa * tilted, -sa * p.x + ca * tilted, -s5 * p.y + c5 * p.z};
    }
    return {p, clock.af0 + clock.af1 * tc + clock.af2 * tc * tc + relativity - delay};
}

/// The equations of motion of the GLONASS interface document, by the midpoint rule in steps short enough for it.
sky::orbit_point_t FromGlonass(const geph_t& g, double tow)
{
    const auto force = [&g](const vec3_t& p, const vec3_t& v) {
        const double r = norm(p), a = -3.986004418e14 / (r * r * r), z = 5 * p.z * p.z / r / r;
        const double b = 1.5 * 1.08262575e-3 * -a * 6378136.0 * 6378136.0 / r / r;
        return vec3_t{(a - b * (1 - z) + kOmega * kOmega) * p.x + 2 * kOmega * v.y + g.acc[0],
                      (a - b * (1 - z) + kOmega * kOmega) * p.y - 2 * kOmega * v.x + g.acc[1],
                      (a - b * (3 - z)) * p.z + g.acc[2]};
    };
    const double dt = timediff(gpst2glot(tow, nullptr), g.toe);
    const int steps = 1 + static_cast<int>(std::fabs(dt) / 2.0);
    const double h = dt / steps;
    vec3_t p = {g.pos[0], g.pos[1], g.pos[2]}, v = {g.vel[0], g.vel[1], g.vel[2]};
    for (int i = 0; i < steps; ++i) {
        const vec3_t middle = p + h / 2 * v, speed = v + h / 2 * force(p, v);
        p = p + h * speed, v = v + h * force(middle, speed);
    }
    return {p, -g.taun + g.gamn * dt};
}

sky::orbit_point_t FromSbas(const seph_t& e, double tow)
{
    const double dt = std::remainder(tow - 16.0 * e.t0, 86400.0);
    const auto at = [&](int k) { return e.pos[k] + e.vel[k] * dt + e.acc[k] * dt * dt / 2; };
    return {{at(0), at(1), at(2)}, double{e.af0} + double{e.af1} * dt};
}

/// False when the record holds no ephemeris of the satellite.
bool Broadcast(const raw_t& raw, int sat, double tow, sky::orbit_point_t* out)
{
    int prn = 0;
    const int sys = satsys(sat, &prn);
    if (sys == SYS_GLO) return raw.geph[prn - 1].sat == sat && (*out = FromGlonass(raw.geph[prn - 1], tow), true);
    if (sys == SYS_SBS) return raw.seph[prn - 1].index == prn && (*out = FromSbas(raw.seph[prn - 1], tow), true);
    if (sys == SYS_GAL) {
        const galeph_t& e = raw.galeph[prn - 1];
        *out = FromKepler(e, e.sqrtA * e.sqrtA, e.inav_clock, e.bgd_e5b, sys, prn, tow);
        return e.sat == sat;
    }
    const eph_t& e = raw.eph[sys == SYS_QZS ? 77 + prn : sat - 1];
    const double t = sys == SYS_BDS ? gpst2bdt(tow, nullptr) : tow;
    *out = FromKepler(e, e.A, {e.toc, e.af0, e.af1, e.af2}, e.tgd, sys, prn, t);
    return e.sat == sat;
}

/// The antenna with its local axes.
struct Site {
    explicit Site(const sky::scenario_t& s)
        : lat(s.lat * kSemicircle / 180), lon(s.lon * kSemicircle / 180), height(s.height)
    {
        const double llh[] = {lat, lon, height};
        double p[3];
        pos2ecef(llh, p);
        antenna = {p[0], p[1], p[2]};
        up = {std::cos(lat) * std::cos(lon), std::cos(lat) * std::sin(lon), std::sin(lat)};
        east = {-std::sin(lon), std::cos(lon), 0};
        north = {-std::sin(lat) * std::cos(lon), -std::sin(lat) * std::sin(lon), std::cos(lat)};
    }
    double lat, lon, height;
    vec3_t antenna, up, east, north;
};

/// Klobuchar's algorithm in the steps of IS-GPS-200 20.3.3.5.2.5, at L1 (m).
double Klobuchar(const double* ion, const Site& site, double az, double el, double tow)
{
    const double E = el / kSemicircle, psi = 0.0137 / (E + 0.11) - 0.022;
    const double phi = std::fmin(std::fmax(site.lat / kSemicircle + psi * std::cos(az), -0.416), 0.416);
    const double lam = site.lon / kSemicircle + psi * std::sin(az) / std::cos(phi * kSemicircle);
    const double pm = phi + 0.064 * std::cos((lam - 1.617) * kSemicircle);
    const double t = std::fmod(43200 * lam + tow + 864000, 86400);
    double amp = 0, per = 0;
    for (int n = 3; n >= 0; --n) amp = amp * pm + ion[n], per = per * pm + ion[4 + n];
    const double x = 2 * kSemicircle * (t - 50400) / std::fmax(per, 72000);
    const double F = 1 + 16 * std::pow(0.53 - E, 3);
    return kC * F * (5e-9 + (std::fabs(x) < 1.57 ? std::fmax(amp, 0) * (1 - x * x / 2 + std::pow(x, 4) / 24) : 0));
}

/// Zenith delay of the standard atmosphere, nearly enough for a user: 2.3 m dry and 0.1 m wet at sea level.
double Troposphere(double height, double el)
{
    return (2.31 * std::exp(-height / 8430) + 0.12 * std::exp(-height / 2000)) /
           std::sqrt(0.002 + std::pow(std::sin(el), 2));
}

vec3_t cross(const vec3_t& a, const vec3_t& b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

struct Row {
    vec3_t direction;
    double residual;
};

/// Least squares for a position. What all rows of a system have in common is the receiver's clock: the mean takes it
/// out.
vec3_t Solve(const std::map<int, std::vector<Row>>& systems)
{
    vec3_t column[3] = {}, right = {};
    for (const auto& [system, rows] : systems) {
        Row mean = {};
        for (const Row& row : rows) mean = {mean.direction + row.direction, mean.residual + row.residual};
        const double part = 1.0 / static_cast<double>(rows.size());
        for (const Row& row : rows) {
            const vec3_t d = row.direction - part * mean.direction;
            column[0] = column[0] + d.x * d, column[1] = column[1] + d.y * d, column[2] = column[2] + d.z * d;
            right = right + (row.residual - part * mean.residual) * d;
        }
    }
    const vec3_t yz = cross(column[1], column[2]);
    return 1 / dot(column[0], yz) *
           vec3_t{dot(right, yz), dot(column[0], cross(right, column[2])), dot(column[0], cross(column[1], right))};
}

/// Single-point positioning on slot 0, from the middle of the Earth.
vec3_t Position(const raw_t& raw, int systems, const Site& site)
{
    vec3_t x = {};
    for (int round = 0; round < 10; ++round) {
        std::map<int, std::vector<Row>> rows;
        for (int i = 0; i < raw.nobs; ++i) {
            const obsd_t& o = raw.obs[i];
            const int sys = satsys(o.sat, nullptr);
            const double sent = raw.obs_tow - o.P[0] / kC;
            sky::orbit_point_t s{};
            if ((systems & sys) == 0 || o.P[0] == 0 || !Broadcast(raw, o.sat, sent, &s)) continue;
            Broadcast(raw, o.sat, sent - s.clock, &s);
            const vec3_t& p = s.position;
            const double turn = kOmega * norm(p - x) / kC;
            const vec3_t d = vec3_t{p.x + turn * p.y, p.y - turn * p.x, p.z} - x;
            const double range = norm(d);
            const double el = std::asin(dot(d, site.up) / range),
                         az = std::atan2(dot(d, site.east), dot(d, site.north));
            const double wave = satwavelen(o.sat, 0, sys == SYS_GLO ? raw.geph[o.sat - 79].frq : 0) * 1575.42e6 / kC;
            double delay = 0;   // not before the direction is known
            if (round > 5)
                delay = Klobuchar(raw.ion_gps, site, az, el, raw.obs_tow) * wave * wave + Troposphere(site.height, el);
            rows[sys].push_back({-1 / range * d, o.P[0] - (range - kC * s.clock + delay)});
        }
        x = x + Solve(rows);
    }
    return x;
}

TEST(SkyPositioning, FindsTheAntennaWithTheBroadcastData)
{
    const struct {
        const char* why;
        double tow, lat, lon, height;
        sky::range_form_t range = sky::kFullRange;
        double duration = 60, rate = 1;
    } cases[] = {
        {"plain", 43200, 31.2, 121.5, 30},
        {"every ephemeris changes, compressed", 50380, 35.7, 139.8, 60, sky::kCompressedRange},
        {"the week changes", 604770, 47.0, 8.5, 1500},
        {"south and west", 310000, -33.4, -70.6, 560},
        {"a whole day", 561600, 35.7, 139.8, 60, sky::kFullRange, 86400, 1.0 / 300},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        sky::scenario_t scenario;
        scenario.tow = c.tow, scenario.duration = c.duration, scenario.rate = c.rate;
        scenario.lat = c.lat, scenario.lon = c.lon, scenario.height = c.height, scenario.range = c.range;
        const Site site(scenario);
        const auto raw = new_record();
        feed_scenario(*raw, scenario, [&](const sky::simulator_t& sim) {
            if (sim.done() % 3 != 1) return;
            for (const int systems : {int{SYS_GPS}, int{SYS_GAL}, int{SYS_BDS}, int{SYS_GLO}, sky::kAllSystems}) {
                const double error = norm(Position(*raw, systems, site) - site.antenna);
                EXPECT_LT(error, systems == sky::kAllSystems ? 2.5 : 5.0) << systems << " at " << raw->obs_tow;
            }
        });
    }
}

/// A pseudorange freed from satellite clock and group delay of its slot, by the convention of its system:
/// IS-GPS-200 20.3.3.3.3.2; Galileo OS SIS ICD 5.1.5; BeiDou OS SIS ICD (B1I) 5.2.4.10. False: not broadcast.
bool WithoutClock(const raw_t& raw, const obsd_t& o, int slot, double* out)
{
    const int sys = satsys(o.sat, nullptr);
    sky::orbit_point_t s{};
    if ((sys != SYS_GPS && sys != SYS_GAL && sys != SYS_BDS) || o.P[slot] == 0) return false;
    if (!Broadcast(raw, o.sat, raw.obs_tow - o.P[0] / kC, &s)) return false;
    const double wave = satwavelen(o.sat, slot, 0) / satwavelen(1, 0, 0), gamma = wave * wave;
    double delay = 0, clock = s.clock;   // of slot 0, with its delay
    if (sys == SYS_GAL) {
        const galeph_t& e = raw.galeph[o.sat - 103];
        if (slot == 2 && e.fnav == 0) return false;
        clock += e.bgd_e5b + (slot == 2 ? e.fnav_clock.af0 - e.inav_clock.af0 : 0);
        delay = slot == 0 ? e.bgd_e5b : gamma * (slot == 1 ? e.bgd_e5b : e.bgd_e5a);
    } else {
        const eph_t& e = raw.eph[o.sat - 1];
        if (slot > 1 && sys == SYS_GPS) return false;
        if (slot == 1 && sys == SYS_BDS && o.sat > 32 + 16) return false;   // B2a
        clock += e.tgd;
        const double bds[] = {e.tgd, e.tgd2, 0};
        delay = sys == SYS_BDS ? bds[slot] : e.tgd * gamma;
    }
    *out = o.P[slot] + kC * (clock - delay);
    return true;
}

TEST(SkyPositioning, EveryPairOfFrequenciesSeesTheSameIonosphere)
{
    sky::scenario_t scenario;
    scenario.duration = 1, scenario.code_noise = 0;
    const auto raw = new_record();
    feed_log(*raw, sky::make_log(scenario));
    std::map<int, int> pairs;
    for (int i = 0; i < raw->nobs; ++i) {
        const obsd_t& o = raw->obs[i];
        double first = 0, other = 0, at_l1 = 0;
        if (!WithoutClock(*raw, o, 0, &first)) continue;
        for (int slot = 1; slot <= 2; ++slot) {
            if (!WithoutClock(*raw, o, slot, &other)) continue;
            const double a = satwavelen(o.sat, 0, 0), b = satwavelen(o.sat, slot, 0), l1 = satwavelen(1, 0, 0);
            const double delay = (other - first) / (b * b - a * a) * l1 * l1;
            if (at_l1 == 0) at_l1 = delay;
            EXPECT_NEAR(delay, at_l1, 1e-4) << int{o.sat} << " slot " << slot;
            EXPECT_TRUE(delay > 1.0 && delay < 30.0) << delay;
            ++pairs[satsys(o.sat, nullptr)];
        }
    }
    EXPECT_GE(pairs[SYS_GPS], 6);
    EXPECT_GE(pairs[SYS_GAL], 9);
    EXPECT_GE(pairs[SYS_BDS], 20);
}

TEST(SkyPositioning, PhasesRunSmoothlyWithTheirDopplerThroughEphemerisChanges)
{
    sky::scenario_t scenario;
    scenario.tow = 50380, scenario.duration = 60;   // all systems change at 50400..50418
    const auto raw = new_record();
    std::map<std::pair<int, int>, std::pair<double, double>> before;   // satellite and slot: phase, Doppler
    int compared = 0;
    feed_scenario(*raw, scenario, [&](const sky::simulator_t&) {
        for (int i = 0; i < raw->nobs; ++i) {
            const obsd_t& o = raw->obs[i];
            for (int slot = 0; slot < kNumSlots; ++slot) {
                if (o.L[slot] == 0) continue;
                const auto [last, fresh] = before.try_emplace({o.sat, slot}, o.L[slot], o.D[slot]);
                if (!fresh && raw->locktime[o.sat - 1][slot] >= 1) {
                    const double run = o.L[slot] - last->second.first + (o.D[slot] + last->second.second) / 2;
                    EXPECT_LT(std::fabs(run), 0.15) << int{o.sat} << " slot " << slot << " at " << raw->obs_tow;
                    ++compared;
                }
                last->second = {o.L[slot], o.D[slot]};
            }
        }
    });
    EXPECT_GT(compared, 5000);
}

}   // namespace
