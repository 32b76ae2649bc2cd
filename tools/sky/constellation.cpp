#include "sky/constellation.h"

#include <span>

#include "gnss/foundation/satellites.h"
#include "gnss/log/subframes.h"
#include "sky/random.h"
#include "sky/subframes.h"

namespace sky {

using fleet_t = std::vector<std::unique_ptr<vehicle_t>>;

namespace {

// Satellites in circular orbits, spread evenly over planes and within each (J. G. Walker, 1984).
struct walker_t {
    int system;
    std::span<const int> prns;   // plane by plane in turn
    int planes, per_plane;
    double sqrtA, inclination;   // m^0.5, degrees
    double first_node;           // degrees
};

// Satellites that turn once a day.
struct geosynchronous_t {
    int system, prn;
    double longitude;               // degrees east, of the track's centre
    double inclination, e, omega;   // degrees, -, degrees
    double phase;                   // degrees, argument of latitude at the beginning of the week
    bool extra = false;
};

const int kGpsPrns[] = {1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 13, 14, 15, 16,
                        17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31};
const int kGalileoPrns[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 18, 19, 21, 24, 25, 26, 27, 30, 31};
const int kBeidou3Prns[] = {19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30,
                            32, 33, 34, 35, 36, 37, 41, 42, 43, 44, 45, 46};
const int kBeidou2Prns[] = {11, 12, 14};

// clang-format off
const walker_t kWalkers[] = {
    // system  PRNs  planes, in each  sqrt(A)  inclination, first node
    {SYS_GPS, kGpsPrns,     6, 6, 5153.65, 55.0, 10.0},
    {SYS_GAL, kGalileoPrns, 3, 8, 5440.60, 56.0, 35.0},
    {SYS_BDS, kBeidou3Prns, 3, 8, 5282.63, 55.0,  0.0},
    {SYS_BDS, kBeidou2Prns, 3, 1, 5282.63, 55.0, 20.0},
};

const geosynchronous_t kGeosynchronous[] = {
    // system, PRN, longitude, inclination, e, omega, phase, extra
    {SYS_BDS,   1, 140.00,  5.0, 0.0004, 120.0,   0.0},   // geostationary: 5 degrees to the tilted plane
    {SYS_BDS,   2,  80.00,  5.0, 0.0003,  30.0,   0.0},
    {SYS_BDS,   3, 110.50,  5.0, 0.0005, 200.0,   0.0},
    {SYS_BDS,   4, 160.00,  5.0, 0.0002, 300.0,   0.0},
    {SYS_BDS,   5,  58.75,  5.0, 0.0004,  80.0,   0.0},
    {SYS_BDS,   6, 118.00, 54.0, 0.0040, 230.0,   0.0},
    {SYS_BDS,   7, 118.00, 52.0, 0.0050, 220.0, 120.0},
    {SYS_BDS,   8, 118.00, 58.0, 0.0030, 190.0, 240.0},
    {SYS_BDS,   9,  95.00, 54.0, 0.0060, 230.0,  60.0},
    {SYS_BDS,  10,  95.00, 52.0, 0.0070, 210.0, 180.0},
    {SYS_BDS,  38, 112.00, 58.0, 0.0020, 180.0,  90.0},
    {SYS_BDS,  39, 112.00, 55.0, 0.0030, 200.0, 210.0},
    {SYS_BDS,  40, 112.00, 55.0, 0.0040, 190.0, 330.0},
    {SYS_QZS, 193, 135.00, 41.0, 0.0750, 270.0,  60.0},
    {SYS_QZS, 194, 135.00, 41.0, 0.0750, 270.0, 180.0},
    {SYS_QZS, 195, 135.00, 41.0, 0.0750, 270.0, 300.0},
    {SYS_QZS, 199, 127.00,  0.1, 0.0002,  90.0,   0.0},
    {SYS_BDS,  60, 125.00,  5.0, 0.0003, 150.0,   0.0, true},
    {SYS_QZS, 200,  90.50,  0.1, 0.0002,  60.0,   0.0, true},
};
// clang-format on

struct sbas_t {
    int prn;
    double longitude;   // degrees east
    bool extra = false;
};

const sbas_t kSbas[] = {{120, -15.5}, {123, 31.5},  {127, 55.0},       {128, 83.0},
                        {136, 5.0},   {137, 145.0}, {148, 110.0, true}};

// What differs from satellite to satellite: clock and group delays, all on the grids of the messages.
void add_individual_terms(kepler_plan_t& p)
{
    random_t random(static_cast<unsigned>(p.system) * 256u + static_cast<unsigned>(p.prn));
    const auto spread = [&random](int n) {
        return static_cast<double>(random.below(2u * static_cast<unsigned>(n) + 1)) - n;
    };
    p.af0 = std::ldexp(spread(600000), -31);   // up to 0.28 ms
    p.af1 = std::ldexp(spread(60), -43);
    switch (p.system) {
        case SYS_GAL:
            p.tgd = std::ldexp(spread(20), -32), p.tgd2 = std::ldexp(spread(20), -32);
            break;
        case SYS_BDS:
            p.tgd = spread(100) * 1e-10, p.tgd2 = spread(100) * 1e-10;
            break;
        default:
            p.tgd = std::ldexp(spread(24), -31);
            break;
    }
    if (is_beidou_geo(p.system, p.prn)) return;   // its plane of reference changes with every set: no perturbations
    p.delta_n = std::ldexp(11000 + spread(2000), -43) * korvex::kSemicircle;
    p.omega_dot = std::ldexp(-22000 + spread(1500), -43) * korvex::kSemicircle;
    p.idot = std::ldexp(spread(400), -43) * korvex::kSemicircle;
    p.crs = std::ldexp(spread(2500), -5), p.crc = std::ldexp(7000 + spread(1500), -5);
    p.cus = std::ldexp(3500 + spread(1500), -29), p.cuc = std::ldexp(spread(2500), -29);
    p.cis = std::ldexp(spread(100), -29), p.cic = std::ldexp(spread(100), -29);
}

void add_kepler(fleet_t& fleet, const time_base_t& base, kepler_plan_t plan)
{
    plan.sqrtA = on_grid(plan.sqrtA, -19);
    plan.e = on_grid(plan.e, -33);
    add_individual_terms(plan);
    fleet.push_back(std::make_unique<kepler_vehicle_t>(base, plan));
}

void add_walker(fleet_t& fleet, const time_base_t& base, const walker_t& w)
{
    int i = 0;
    for (int prn : w.prns) {
        const int plane = i % w.planes, place = i / w.planes;
        ++i;
        const double phase = 360.0 * (place + static_cast<double>(plane) / w.planes) / w.per_plane;
        const double omega = 20.0 + 37.0 * prn;
        kepler_plan_t p{};
        p.system = w.system, p.prn = prn, p.sqrtA = w.sqrtA, p.inclination = w.inclination * kDegree;
        p.e = 0.002 + 0.0005 * (prn % 13);
        p.node = (w.first_node + 360.0 * plane / w.planes) * kDegree;
        p.omega = omega * kDegree, p.M = (phase - omega) * kDegree;
        add_kepler(fleet, base, p);
    }
}

void add_geosynchronous(fleet_t& fleet, const time_base_t& base, const geosynchronous_t& g)
{
    kepler_plan_t p{};
    const double rate = earth_rate(g.system);
    p.system = g.system, p.prn = g.prn, p.inclination = g.inclination * kDegree, p.e = g.e;
    p.sqrtA = std::sqrt(std::cbrt(gravity(g.system) / (rate * rate)));
    p.omega = g.omega * kDegree;
    if (is_beidou_geo(g.system, g.prn)) {
        p.M = g.longitude * kDegree;
    } else {
        p.node = (g.longitude - g.phase) * kDegree;
        p.M = (g.phase - g.omega) * kDegree;
    }
    add_kepler(fleet, base, p);
}

// A nearly circular GLONASS orbit, its state on the grid of the message.
glonass_state_t glonass_start(int slot, double t)
{
    constexpr double kRadius = 25508e3;     // m
    constexpr double kSpeed = 3952.96;      // m/s, inertial
    constexpr double kSparePlace = 112.5;   // degrees
    const sin_cos_t incline = sin_cos(64.8 * kDegree);
    const int plane = (slot - 1) / 8;   // the spare one behind the last slot: the first plane again, between its slots
    const double place = slot > kGlonassSlots ? kSparePlace : 45.0 * ((slot - 1) % 8) + 15.0 * plane;
    const sin_cos_t u = sin_cos(place * kDegree + kSpeed / kRadius * t);
    const double node = (100.0 + 120.0 * plane) * kDegree - kEarthRate * t;
    const vec3_t p = turn_z({kRadius * u.cos, kRadius * u.sin * incline.cos, kRadius * u.sin * incline.sin}, -node);
    const vec3_t v = turn_z({-kSpeed * u.sin, kSpeed * u.cos * incline.cos, kSpeed * u.cos * incline.sin}, -node);
    const auto grid = [](const vec3_t& a, int exponent) {   // km in the message
        const auto one = [exponent](double x) { return 1000.0 * on_grid(x / 1000.0, exponent); };
        return vec3_t{one(a.x), one(a.y), one(a.z)};
    };
    return {grid(p, -11), grid({v.x + kEarthRate * p.y, v.y - kEarthRate * p.x, v.z}, -20)};
}

}   // namespace

fleet_t make_constellation(int systems, const time_base_t& base, double t, bool extra)
{
    fleet_t fleet;
    const auto asked = [=](int system, bool is_extra) { return (systems & system) != 0 && (extra || !is_extra); };
    for (const walker_t& w : kWalkers)
        if (asked(w.system, false)) add_walker(fleet, base, w);
    for (const geosynchronous_t& g : kGeosynchronous)
        if (asked(g.system, g.extra)) add_geosynchronous(fleet, base, g);
    for (int slot = 1; slot <= kGlonassSlots + 1; ++slot)
        if (asked(SYS_GLO, slot > kGlonassSlots))
            fleet.push_back(std::make_unique<glonass_vehicle_t>(base, slot, t, glonass_start(slot, t)));
    for (const sbas_t& s : kSbas)
        if (asked(SYS_SBS, s.extra)) fleet.push_back(std::make_unique<sbas_vehicle_t>(s.prn, s.longitude * kDegree));
    for (const auto& v : fleet) v->renew(t);
    return fleet;
}

}   // namespace sky
