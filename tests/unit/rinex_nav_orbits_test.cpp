// Navigation files of the built-in sky, read back as text: the satellites are where they were.
#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cmath>
#include <map>
#include <string>

#include "sky/constellation.h"
#include "support/navigation_records.h"

namespace {

using vec_t = std::array<double, 3>;

double distance(const vec_t& a, const sky::vec3_t& b)
{
    return std::hypot(a[0] - b.x, a[1] - b.y, a[2] - b.z);
}

/// Seconds since 1980-01-06 of an epoch line.
double seconds_of(const std::string& epoch, bool rinex3)
{
    using namespace std::chrono;
    int y = 0, mon = 0, d = 0, h = 0, min = 0;
    double s = 0;
    if (std::sscanf(epoch.c_str() + (rinex3 ? 4 : 2), "%d %d %d %d %d %lf", &y, &mon, &d, &h, &min, &s) != 6) return -1;
    const sys_days day = year(rinex3 ? y : 2000 + y) / mon / d;
    return static_cast<double>((day - sys_days(year(1980) / 1 / 6)).count()) * 86400.0 + h * 3600 + min * 60 + s;
}

/// Broadcast orbit of a Keplerian record, by the user algorithm of IS-GPS-200, table 20-IV, and of the BeiDou
/// interface document for geostationary satellites.
vec_t kepler_position(const nav_fields_t& f, int system, bool geostationary, double tk)
{
    const auto& l = f.lines;
    const double mu = system == SYS_GPS || system == SYS_QZS ? 3.986005e14 : 3.986004418e14;
    const double rate = system == SYS_BDS ? 7.2921150e-5 : 7.2921151467e-5;
    const double A = l[2][3] * l[2][3], e = l[2][1], toe = l[3][0];
    const double M = l[1][3] + (std::sqrt(mu / A / A / A) + l[1][2]) * tk;
    double E = M;
    for (int i = 0; i < 50; ++i) E = M + e * std::sin(E);
    const double phi = std::atan2(std::sqrt(1 - e * e) * std::sin(E), std::cos(E) - e) + l[4][2];
    const double s2 = std::sin(2 * phi), c2 = std::cos(2 * phi);
    const double u = phi + l[2][2] * s2 + l[2][0] * c2;
    const double r = A * (1 - e * std::cos(E)) + l[1][1] * s2 + l[4][1] * c2;
    const double i = l[4][0] + l[5][0] * tk + l[3][3] * s2 + l[3][1] * c2;
    const double node = l[3][2] + l[4][3] * tk - rate * toe - (geostationary ? 0 : rate * tk);
    const double x = r * std::cos(u), y = r * std::sin(u);
    const vec_t p = {x * std::cos(node) - y * std::cos(i) * std::sin(node),
                     x * std::sin(node) + y * std::cos(i) * std::cos(node), y * std::sin(i)};
    if (!geostationary) return p;
    const double tilt = -5 * std::acos(-1.0) / 180, c = std::cos(tilt), s = std::sin(tilt);
    const double turn = rate * tk, ct = std::cos(turn), st = std::sin(turn);
    return {ct * p[0] + st * (c * p[1] + s * p[2]), -st * p[0] + ct * (c * p[1] + s * p[2]), -s * p[1] + c * p[2]};
}

/// State of a GLONASS or SBAS record: position and velocity, m.
struct state_t {
    vec_t p, v, a;
};

state_t state_of(const nav_fields_t& f)
{
    state_t s{};
    for (std::size_t k = 0; k < 3; ++k) {
        s.p[k] = f.lines[k + 1][0] * 1000, s.v[k] = f.lines[k + 1][1] * 1000, s.a[k] = f.lines[k + 1][2] * 1000;
    }
    return s;
}

/// Equations of motion of the GLONASS interface document, Runge-Kutta of fourth order.
vec_t glonass_position(const state_t& at_toe, double dt)
{
    using six = std::array<double, 6>;
    const auto rate = [&](const six& s) {
        const double mu = 3.986004418e14, ae = 6378136.0, j2 = 1.08262575e-3, w = 7.2921151467e-5;
        const double r = std::hypot(s[0], s[1], s[2]);
        const double g = -mu / (r * r * r), b = 1.5 * j2 * mu * ae * ae / std::pow(r, 5), z = 5 * s[2] * s[2] / r / r;
        return six{s[3],
                   s[4],
                   s[5],
                   (g - b * (1 - z) + w * w) * s[0] + 2 * w * s[4] + at_toe.a[0],
                   (g - b * (1 - z) + w * w) * s[1] - 2 * w * s[3] + at_toe.a[1],
                   (g - b * (3 - z)) * s[2] + at_toe.a[2]};
    };
    const auto plus = [](six s, const six& d, double h) {
        for (std::size_t i = 0; i < 6; ++i) s[i] += h * d[i];
        return s;
    };
    six s = {at_toe.p[0], at_toe.p[1], at_toe.p[2], at_toe.v[0], at_toe.v[1], at_toe.v[2]};
    constexpr int kSteps = 30;
    const double h = dt / kSteps;
    for (int i = 0; i < kSteps; ++i) {
        const six k1 = rate(s), k2 = rate(plus(s, k1, h / 2)), k3 = rate(plus(s, k2, h / 2)), k4 = rate(plus(s, k3, h));
        s = plus(plus(plus(plus(s, k1, h / 6), k2, h / 3), k3, h / 3), k4, h / 6);
    }
    return {s[0], s[1], s[2]};
}

/// A satellite's message through the decoder and the writer of its system.
nav_fields_t read_back(raw_t& raw, const sky::vehicle_t& v, const sky::time_base_t& base, double t, int number)
{
    const sky::week_time_t now = sky::split(base, t);
    sky::bytes_t log;
    v.ephemeris(t).append_to(log, now.week, static_cast<std::uint32_t>(now.seconds * 1000));
    int left = static_cast<int>(log.size());
    EXPECT_EQ(DECODE_EPH, input_korvexb(&raw, log.data(), &left));
    for (const nav_case_t& c : kNavCases) {
        if (satsys(c.sat, nullptr) != v.system()) continue;
        return fields(written(c.write, raw, number), number >= 301, v.system() == SYS_QZS ? 4 : 3);
    }
    return {};
}

/// Reference time on the record's own time scale minus GPS time (s).
double scale_offset(int system, int leap_seconds)
{
    return system == SYS_GLO ? -leap_seconds : system == SYS_BDS ? -14.0 : 0.0;
}

struct sky_case_t {
    const char* name;
    int week;
    double t;
};

void expect_true_orbits(const sky_case_t& where, int number)
{
    SCOPED_TRACE(where.name);
    const sky::time_base_t base = {where.week, 18};
    auto raw = std::make_unique<raw_t>();
    Initial_raw(raw.get(), 0);
    std::map<int, int> seen;
    for (const auto& v :
         sky::make_constellation(SYS_GPS | SYS_GLO | SYS_GAL | SYS_BDS | SYS_QZS | SYS_SBS, base, where.t)) {
        if (v->system() == SYS_GAL && number < 300) continue;
        SCOPED_TRACE(std::to_string(v->system()) + " " + std::to_string(v->prn()));
        const nav_fields_t f = read_back(*raw, *v, base, where.t, number);
        const double reference = v->reference();
        EXPECT_EQ(where.week * 604800.0 + reference + scale_offset(v->system(), 18),
                  seconds_of(f.epoch, number >= 301));
        if (v->system() == SYS_GLO) {
            for (const double dt : {-900.0, -300.0, 0.0, 450.0, 900.0}) {
                const double limit = dt == 0.0 ? 0.001 : 3.0;   // m
                EXPECT_LT(distance(glonass_position(state_of(f), dt), v->at(reference + dt).position), limit) << dt;
            }
        } else if (v->system() == SYS_SBS) {
            EXPECT_LT(distance(state_of(f).p, v->at(reference).position), 0.001);
        } else {
            const sky::kepler_set_t& sent = dynamic_cast<const sky::kepler_vehicle_t&>(*v).broadcast();
            const bool geo = sky::is_beidou_geo(v->system(), v->prn());
            for (const double tk : {0.0, -3600.0, 1800.0}) {
                const double limit = tk == 0.0 ? 0.001 : 0.002;   // rates have twelve digits, too
                const vec_t p = kepler_position(f, v->system(), geo, tk);
                EXPECT_LT(distance(p, sky::evaluate(sent, sent.t_toe + tk).position), limit) << tk;
            }
        }
        ++seen[v->system()];
    }
    EXPECT_EQ(number < 300 ? 5U : 6U, seen.size());
}

const sky_case_t kCases[] = {{"a Sunday noon", 2305, 43200},
                             {"the end of a week", 2305, 604790},
                             {"the start of a week", 2306, 5},
                             {"before a leap day", 2303, 345590},
                             {"New Year's Eve", 2347, 259190}};

TEST(RinexNavOrbits, Rinex3)
{
    for (const sky_case_t& c : kCases) expect_true_orbits(c, 304);
}

TEST(RinexNavOrbits, Rinex2)
{
    for (const sky_case_t& c : kCases) expect_true_orbits(c, 211);
}

}   // namespace
