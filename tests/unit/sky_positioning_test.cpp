// A user under the built-in sky: decodes the log and computes where it is, with its own formulas.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <map>
#include <memory>
#include <string>

#include "rtk_gnss.h"
#include "sky/simulator.h"

namespace {

constexpr double kC = 299792458.0;
constexpr double kOmega = 7.2921151467e-5;
constexpr double kSemicircle = 3.14159265358979323846;

using Vec = std::array<double, 3>;

struct Sat {
    Vec pos;        // ECEF at the time of sending
    double clock;   // s, with group delay: for the signal in slot 0
};

double Length(const Vec& v)
{
    return std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
}

/// Broadcast orbit of IS-GPS-200 table 20-IV with the true anomaly as an angle; `geo`: BeiDou's rotation.
struct Kepler {
    double mu, rate, toe, A, e, i0, omega0, omega, M0, dn, odot, idot, crc, crs, cuc, cus, cic, cis;
    bool geo;

    Vec at(double tow, double* relativity) const
    {
        const double tk = timediff(tow, toe);
        const double M = M0 + (std::sqrt(mu / A / A / A) + dn) * tk;
        double E = M;
        for (int i = 0; i < 30; ++i) E = M + e * std::sin(E);
        *relativity = -2.0 * std::sqrt(mu * A) * e * std::sin(E) / kC / kC;
        const double phi = std::atan2(std::sqrt(1 - e * e) * std::sin(E), std::cos(E) - e) + omega;
        const double s2 = std::sin(2 * phi), c2 = std::cos(2 * phi);
        const double u = phi + cus * s2 + cuc * c2;
        const double r = A * (1 - e * std::cos(E)) + crs * s2 + crc * c2;
        const double i = i0 + idot * tk + cis * s2 + cic * c2;
        const double O = omega0 + odot * tk - rate * toe - (geo ? 0.0 : rate * tk);
        const double x = r * std::cos(u), y = r * std::sin(u);
        const Vec p = {x * std::cos(O) - y * std::cos(i) * std::sin(O), x * std::sin(O) + y * std::cos(i) * std::cos(O),
                       y * std::sin(i)};
        if (!geo) return p;
        const double c5 = std::cos(-5 * kSemicircle / 180), s5 = std::sin(-5 * kSemicircle / 180);
        const double ca = std::cos(rate * tk), sa = std::sin(rate * tk);
        return {ca * p[0] + sa * c5 * p[1] + sa * s5 * p[2], -sa * p[0] + ca * c5 * p[1] + ca * s5 * p[2],
                -s5 * p[1] + c5 * p[2]};
    }
};

double Polynomial(double tow, double toc, double af0, double af1, double af2)
{
    const double dt = timediff(tow, toc);
    return af0 + af1 * dt + af2 * dt * dt;
}

Sat FromKepler(const eph_t& e, double tow, int sys, int prn)
{
    const bool bds = sys == SYS_BDS;
    const double t = bds ? gpst2bdt(tow, nullptr) : tow;
    const Kepler k = {bds ? 3.986004418e14 : 3.986005e14,
                      bds ? 7.2921150e-5 : kOmega,
                      e.toe,
                      e.A,
                      e.e,
                      e.i0,
                      e.omega0,
                      e.omega,
                      e.M0,
                      e.delta_n,
                      e.omega_dot,
                      e.idot,
                      e.crc,
                      e.crs,
                      e.cuc,
                      e.cus,
                      e.cic,
                      e.cis,
                      bds && prn <= 5};
    double relativity = 0;
    const Vec p = k.at(t, &relativity);
    return {p, Polynomial(t, e.toc, e.af0, e.af1, e.af2) + relativity - e.tgd};
}

Sat FromGalileo(const galeph_t& e, double tow)
{
    const Kepler k = {3.986004418e14,
                      kOmega,
                      e.toe,
                      e.sqrtA * e.sqrtA,
                      e.e,
                      e.i0,
                      e.omega0,
                      e.omega,
                      e.M0,
                      e.delta_n,
                      e.omega_dot,
                      e.idot,
                      e.crc,
                      e.crs,
                      e.cuc,
                      e.cus,
                      e.cic,
                      e.cis,
                      false};
    double relativity = 0;
    const Vec p = k.at(tow, &relativity);
    const gal_clock_t& c = e.inav_clock;
    return {p, Polynomial(tow, c.toc, c.af0, c.af1, c.af2) + relativity - e.bgd_e5b};
}

/// Runge-Kutta over the six equations of the GLONASS interface document, in one array.
Sat FromGlonass(const geph_t& g, double tow)
{
    using State = std::array<double, 6>;
    const auto f = [&g](const State& s) {
        const double mu = 3.986004418e14, ae = 6378136.0, j2 = 1.08262575e-3, w = kOmega;
        const double r = std::hypot(s[0], s[1], s[2]);
        const double a = -mu / std::pow(r, 3), b = 1.5 * j2 * mu * ae * ae / std::pow(r, 5),
                     z = 5 * s[2] * s[2] / r / r;
        return State{s[3],
                     s[4],
                     s[5],
                     (a - b * (1 - z) + w * w) * s[0] + 2 * w * s[4] + g.acc[0],
                     (a - b * (1 - z) + w * w) * s[1] - 2 * w * s[3] + g.acc[1],
                     (a - b * (3 - z)) * s[2] + g.acc[2]};
    };
    const auto plus = [](const State& s, const State& d, double h) {
        State out = s;
        for (int i = 0; i < 6; ++i) out[i] += h * d[i];
        return out;
    };
    const double dt = timediff(gpst2glot(tow, nullptr), g.toe);
    const int steps = 1 + static_cast<int>(std::fabs(dt) / 30.0);
    const double h = dt / steps;
    State s = {g.pos[0], g.pos[1], g.pos[2], g.vel[0], g.vel[1], g.vel[2]};
    for (int i = 0; i < steps; ++i) {
        const State a = f(s), b = f(plus(s, a, h / 2)), c = f(plus(s, b, h / 2)), d = f(plus(s, c, h));
        s = plus(plus(plus(plus(s, a, h / 6), b, h / 3), c, h / 3), d, h / 6);
    }
    return {{s[0], s[1], s[2]}, -g.taun + g.gamn * dt};
}

Sat FromSbas(const seph_t& e, double tow)
{
    const double dt = std::remainder(tow - 16.0 * e.t0, 86400.0);
    Sat s{{}, double{e.af0} + double{e.af1} * dt};
    for (int i = 0; i < 3; ++i) s.pos[i] = e.pos[i] + e.vel[i] * dt + e.acc[i] * dt * dt / 2;
    return s;
}

/// False when the record holds no ephemeris of the satellite.
bool Broadcast(const raw_t& raw, int sat, double tow, Sat* out)
{
    int prn = 0;
    const int sys = satsys(sat, &prn);
    switch (sys) {
        case SYS_GLO:
            return raw.geph[prn - 1].sat == sat && (*out = FromGlonass(raw.geph[prn - 1], tow), true);
        case SYS_GAL:
            return raw.galeph[prn - 1].sat == sat && (*out = FromGalileo(raw.galeph[prn - 1], tow), true);
        case SYS_SBS:
            return raw.seph[prn - 1].index == prn && (*out = FromSbas(raw.seph[prn - 1], tow), true);
        default: {
            const eph_t& e = raw.eph[sys == SYS_QZS ? 77 + prn : sat - 1];
            return e.sat == sat && (*out = FromKepler(e, tow, sys, prn), true);
        }
    }
}

/// Geodetic latitude, longitude and height by iteration.
Vec Geodetic(const Vec& p)
{
    const double e2 = 0.0066943799901413165, flat = std::hypot(p[0], p[1]);
    double lat = std::atan2(p[2], flat), n = 0;
    for (int i = 0; i < 10; ++i) {
        n = 6378137.0 / std::sqrt(1 - e2 * std::sin(lat) * std::sin(lat));
        lat = std::atan2(p[2] + e2 * n * std::sin(lat), flat);
    }
    return {lat, std::atan2(p[1], p[0]), flat / std::cos(lat) - n};
}

/// Klobuchar's algorithm in the steps of IS-GPS-200 20.3.3.5.2.5, at L1 (m).
double Klobuchar(const double* ion, const Vec& llh, double az, double el, double tow)
{
    const double E = el / kSemicircle, psi = 0.0137 / (E + 0.11) - 0.022;
    const double phi = std::fmin(std::fmax(llh[0] / kSemicircle + psi * std::cos(az), -0.416), 0.416);
    const double lam = llh[1] / kSemicircle + psi * std::sin(az) / std::cos(phi * kSemicircle);
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

/// Solves n normal equations in place by elimination with pivots; false when they are singular.
template <int N>
bool Solve(double (&a)[N][N + 1], int n)
{
    for (int c = 0; c < n; ++c) {
        int p = c;
        for (int r = c + 1; r < n; ++r)
            if (std::fabs(a[r][c]) > std::fabs(a[p][c])) p = r;
        if (std::fabs(a[p][c]) < 1e-9) return false;
        for (int k = 0; k <= N; ++k) std::swap(a[c][k], a[p][k]);
        for (int r = 0; r < n; ++r) {
            if (r == c) continue;
            const double m = a[r][c] / a[c][c];
            for (int k = 0; k <= N; ++k) a[r][k] -= m * a[c][k];
        }
    }
    for (int r = 0; r < n; ++r) a[r][N] /= a[r][r];
    return true;
}

/// Single-point positioning by least squares on slot 0, one receiver clock per system.
bool Position(const raw_t& raw, int systems, Vec* result)
{
    constexpr int kMost = 9;
    Vec x = {-2.8e6, 4.6e6, 3.2e6};   // anywhere
    if (raw.pos[0] != 0) x = {raw.pos[0] + 3e4, raw.pos[1] - 5e4, raw.pos[2] + 4e4};
    std::map<int, double> clocks;
    for (int round = 0; round < 10; ++round) {
        std::map<int, int> column;
        double normal[kMost][kMost + 1] = {};
        int used = 0;
        for (int i = 0; i < raw.nobs; ++i) {
            const obsd_t& o = raw.obs[i];
            const int sys = satsys(o.sat, nullptr);
            Sat s{};
            if ((systems & sys) == 0 || o.P[0] == 0 || !Broadcast(raw, o.sat, raw.obs_tow - o.P[0] / kC, &s)) continue;
            Broadcast(raw, o.sat, raw.obs_tow - o.P[0] / kC - s.clock, &s);
            const double turn = kOmega * Length({s.pos[0] - x[0], s.pos[1] - x[1], s.pos[2] - x[2]}) / kC;
            const Vec p = {s.pos[0] + turn * s.pos[1], s.pos[1] - turn * s.pos[0], s.pos[2]};
            const Vec d = {p[0] - x[0], p[1] - x[1], p[2] - x[2]};
            const double range = Length(d);
            const Vec g = Geodetic(x);
            const double up = (std::cos(g[0]) * std::cos(g[1]) * d[0] + std::cos(g[0]) * std::sin(g[1]) * d[1] +
                               std::sin(g[0]) * d[2]) /
                              range;
            const double east = -std::sin(g[1]) * d[0] + std::cos(g[1]) * d[1];
            const double north = -std::sin(g[0]) * std::cos(g[1]) * d[0] - std::sin(g[0]) * std::sin(g[1]) * d[1] +
                                 std::cos(g[0]) * d[2];
            const double el = std::asin(up);
            const double wave = satwavelen(o.sat, 0, sys == SYS_GLO ? raw.geph[o.sat - 79].frq : 0) * 1575.42e6 / kC;
            double delay = 0;
            if (round > 1)
                delay = Klobuchar(raw.ion_gps, g, std::atan2(east, north), el, raw.obs_tow) * wave * wave +
                        Troposphere(g[2], el);
            const int col = column.try_emplace(sys, 3 + static_cast<int>(column.size())).first->second;
            const double residual = o.P[0] - (range + clocks[sys] - kC * s.clock + delay);
            double row[kMost] = {-d[0] / range, -d[1] / range, -d[2] / range};
            row[col] = 1;
            for (int r = 0; r < kMost; ++r) {
                for (int c = 0; c < kMost; ++c) normal[r][c] += row[r] * row[c];
                normal[r][kMost] += row[r] * residual;
            }
            ++used;
        }
        const int unknowns = 3 + static_cast<int>(column.size());
        if (used < unknowns || !Solve<kMost>(normal, unknowns)) return false;
        for (int k = 0; k < 3; ++k) x[k] += normal[k][kMost];
        for (const auto& [sys, col] : column) clocks[sys] += normal[col][kMost];
    }
    *result = x;
    return true;
}

struct Case {
    const char* why;
    double tow;
    double lat, lon, height;
    sky::range_form_t range;
    double duration = 60, rate = 1;
};

const Case kCases[] = {
    {"plain", 43200, 31.2, 121.5, 30, sky::kFullRange},
    {"every ephemeris changes, compressed", 50380, 35.7, 139.8, 60, sky::kCompressedRange},
    {"the week changes", 604770, 47.0, 8.5, 1500, sky::kFullRange},
    {"south and west", 310000, -33.4, -70.6, 560, sky::kFullRange},
    {"a whole day", 561600, 35.7, 139.8, 60, sky::kFullRange, 86400, 1.0 / 300},
};

TEST(SkyPositioning, FindsTheAntennaWithTheBroadcastData)
{
    const std::pair<const char*, int> kSets[] = {
        {"GPS", SYS_GPS}, {"Galileo", SYS_GAL}, {"BeiDou", SYS_BDS}, {"GLONASS", SYS_GLO}, {"all", sky::kAllSystems}};
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.why);
        sky::scenario_t scenario;
        scenario.tow = c.tow, scenario.duration = c.duration, scenario.rate = c.rate;
        scenario.lat = c.lat, scenario.lon = c.lon, scenario.height = c.height, scenario.range = c.range;
        const double llh[] = {c.lat * kSemicircle / 180, c.lon * kSemicircle / 180, c.height};
        Vec truth{};
        pos2ecef(llh, truth.data());

        auto raw = std::make_unique<raw_t>();
        Initial_raw(raw.get(), 0);
        sky::simulator sim(scenario);
        std::map<std::string, double> worst;
        std::vector<std::uint8_t> log;
        while (log.clear(), sim.next(log)) {
            for (int left = static_cast<int>(log.size()); left > 0;)
                ASSERT_LE(0, input_korvexb(raw.get(), log.data() + log.size() - left, &left));
            if (sim.done() % 3 != 1) continue;
            for (const auto& [name, systems] : kSets) {
                Vec x{};
                ASSERT_TRUE(Position(*raw, systems, &x)) << name;
                const double error = Length({x[0] - truth[0], x[1] - truth[1], x[2] - truth[2]});
                ASSERT_LT(error, 5.0) << name << " at " << raw->obs_tow;
                worst[name] = std::fmax(worst[name], error);
            }
        }
        EXPECT_LT(worst["all"], 2.5);
        for (const auto& [name, error] : worst) RecordProperty(std::string(c.why) + " " + name, std::to_string(error));
    }
}

/// A pseudorange freed from satellite clock and group delay of its slot, by the convention of its system:
/// IS-GPS-200 20.3.3.3.3.2; Galileo OS SIS ICD 5.1.5; BeiDou OS SIS ICD (B1I) 5.2.4.10. False: not broadcast.
bool WithoutClock(const raw_t& raw, const obsd_t& o, int slot, double* out)
{
    const int sys = satsys(o.sat, nullptr);
    if ((sys != SYS_GPS && sys != SYS_GAL && sys != SYS_BDS) || o.P[slot] == 0) return false;
    const double wave = satwavelen(o.sat, slot, 0) / satwavelen(1, 0, 0), gamma = wave * wave;
    Sat s{};
    if (!Broadcast(raw, o.sat, raw.obs_tow - o.P[0] / kC, &s)) return false;
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
    const std::vector<std::uint8_t> log = sky::make_log(scenario);
    auto raw = std::make_unique<raw_t>();
    Initial_raw(raw.get(), 0);
    for (int left = static_cast<int>(log.size()); left > 0;)
        input_korvexb(raw.get(), log.data() + log.size() - left, &left);
    int pairs[65] = {};
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
            EXPECT_GT(delay, 1.0);
            EXPECT_LT(delay, 30.0);
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
    auto raw = std::make_unique<raw_t>();
    Initial_raw(raw.get(), 0);
    sky::simulator sim(scenario);
    std::map<std::pair<int, int>, std::pair<double, double>> before;   // satellite and slot: phase, Doppler
    int compared = 0;
    std::vector<std::uint8_t> log;
    while (log.clear(), sim.next(log)) {
        for (int left = static_cast<int>(log.size()); left > 0;)
            input_korvexb(raw.get(), log.data() + log.size() - left, &left);
        for (int i = 0; i < raw->nobs; ++i) {
            const obsd_t& o = raw->obs[i];
            for (int slot = 0; slot < kNumSlots; ++slot) {
                if (o.L[slot] == 0) continue;
                const auto [last, fresh] = before.try_emplace({o.sat, slot}, o.L[slot], o.D[slot]);
                if (!fresh && raw->locktime[o.sat - 1][slot] >= 1) {
                    const double run = o.L[slot] - last->second.first + (o.D[slot] + last->second.second) / 2;
                    ASSERT_LT(std::fabs(run), 0.15) << int{o.sat} << " slot " << slot << " at " << raw->obs_tow;
                    ++compared;
                }
                last->second = {o.L[slot], o.D[slot]};
            }
        }
    }
    EXPECT_GT(compared, 5000);
}

}   // namespace
