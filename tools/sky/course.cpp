#include "sky/course.h"

#include "rtk_gnss.h"

namespace sky {

namespace {

constexpr double kSpeed = 10.0;   // m/s
constexpr double kLoop = 48.0;    // s, half of the figure
constexpr double kRadius = kSpeed * kLoop / (2.0 * kPi);

// WGS 84.
constexpr double kSemiMajor = 6378137.0;   // m
constexpr double kEccentricitySquared = 0.0066943799901413165;

// Radii of curvature of the ellipsoid at a height, m.
struct radii_t {
    double meridian, prime_vertical;
};

radii_t radii(double sin_lat, double height)
{
    const double w = 1.0 - kEccentricitySquared * sin_lat * sin_lat;
    const double n = kSemiMajor / std::sqrt(w);
    return {n * (1.0 - kEccentricitySquared) / w + height, n + height};
}

// A place with its axes, but for its position.
site_t axes_at(double lat, double lon, double height)
{
    const sin_cos_t a = sin_cos(lat * kDegree), o = sin_cos(lon * kDegree);
    site_t site{lat, lon, height, {}, {}, {}, {}, {}};
    site.east = {-o.sin, o.cos, 0.0};
    site.north = {-a.sin * o.cos, -a.sin * o.sin, a.cos};
    site.up = {a.cos * o.cos, a.cos * o.sin, a.sin};
    return site;
}

}   // namespace

course_t::course_t(double lat, double lon, double height, bool moving)
    : home_(axes_at(lat, lon, height)), moving_(moving)
{
    const double geodetic[] = {lat * kDegree, lon * kDegree, height};
    double ecef[3];
    pos2ecef(geodetic, ecef);
    home_.position = {ecef[0], ecef[1], ecef[2]};
}

site_t course_t::at(double t) const
{
    if (!moving_) return home_;
    const double of_figure = std::fmod(t, 2.0 * kLoop);
    const double side = of_figure < kLoop ? 1.0 : -1.0;   // the eastern loop first
    const sin_cos_t turn = sin_cos(2.0 * kPi * of_figure / kLoop);
    const double east = side * kRadius * (1.0 - turn.cos), north = kRadius * turn.sin;   // m

    // The way is drawn in latitude and longitude; what a degree of them measures changes a little along it.
    const double home_sin = home_.up.z, home_cos = home_.north.z;
    const radii_t from = radii(home_sin, home_.height);
    site_t site = axes_at(home_.lat + north / from.meridian / kDegree,
                          home_.lon + east / (from.prime_vertical * home_cos) / kDegree, home_.height);
    const double sin_lat = site.up.z, cos_lat = site.north.z;
    const radii_t here = radii(sin_lat, site.height);
    const double stretch = here.prime_vertical * cos_lat / (from.prime_vertical * home_cos);
    site.velocity = (side * kSpeed * turn.sin * stretch) * site.east +
                    (kSpeed * turn.cos * here.meridian / from.meridian) * site.north;

    // The normal meets the axis beyond the centre, by the part of it that the eccentricity makes.
    site.position = here.prime_vertical * site.up;
    site.position.z -= kEccentricitySquared * (here.prime_vertical - site.height) * sin_lat;
    return site;
}

}   // namespace sky
