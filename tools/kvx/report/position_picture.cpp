// Positions on the ground: how they scatter, or the track of a receiver that moves.
#include <algorithm>
#include <cmath>
#include <functional>

#include "common/text_format.h"
#include "report/axis.h"
#include "report/markup.h"
#include "report/pictures.h"

namespace kvx::report {

namespace {

constexpr double kSize = 440.0, kLeft = 46.0, kBottom = 404.0, kPlot = 384.0;   // of the square plot
constexpr double kMoving = 10.0;                                                // m, median distance from the middle
constexpr double kShown = 0.99;   // of the positions are within the picture

struct dot_t {
    double east, north;   // m
};

using which_t = const place_t& (*)(const moment_t&);
const place_t& computed_of(const moment_t& m)
{
    return m.computed;
}
const place_t& told_of(const moment_t& m)
{
    return m.told;
}

// A position a bin, from the middle.
std::vector<dot_t> dots(const history_t& history, which_t which, dot_t middle)
{
    std::vector<dot_t> all;
    for (const moment_t& m : history.moments()) {
        const place_t& place = which(m);
        if (place.any()) all.push_back({place.east - middle.east, place.north - middle.north});
    }
    return all;
}

double quantile(std::vector<double> values, double share)
{
    if (values.empty()) return 0.0;
    const auto at = static_cast<std::ptrdiff_t>(std::ceil(share * static_cast<double>(values.size() - 1)));
    std::nth_element(values.begin(), values.begin() + at, values.end());
    return values[static_cast<std::size_t>(at)];
}

std::vector<double> of_dots(const std::vector<dot_t>& all, const std::function<double(const dot_t&)>& value)
{
    std::vector<double> values;
    values.reserve(all.size());
    for (const dot_t& d : all) values.push_back(value(d));
    return values;
}

dot_t median_of(const std::vector<dot_t>& all)
{
    return {quantile(of_dots(all, [](const dot_t& d) { return d.east; }), 0.5),
            quantile(of_dots(all, [](const dot_t& d) { return d.north; }), 0.5)};
}

double distance_within(const std::vector<dot_t>& all, double share)
{
    return quantile(of_dots(all, [](const dot_t& d) { return std::hypot(d.east, d.north); }), share);
}

// The window of the picture: a square.
struct window_t {
    double east, north;   // of its lower left corner (m)
    double size;          // m

    std::string point(const dot_t& d) const
    {
        return number(kLeft + kPlot * (d.east - east) / size, 1) + " " +
               number(kBottom - kPlot * (d.north - north) / size, 1);
    }
    bool holds(const dot_t& d) const
    {
        return d.east >= east && d.north >= north && d.east <= east + size && d.north <= north + size;
    }
};

window_t window_around(const std::vector<dot_t>& all, bool moving)
{
    if (!moving) {
        const double r = std::max(
            0.05,
            1.1 * quantile(of_dots(all, [](const dot_t& d) { return std::max(std::fabs(d.east), std::fabs(d.north)); }),
                           kShown));
        const scale_t scale(-r, r, 6);
        return {scale.low, scale.low, scale.high - scale.low};
    }
    const auto edge = [&all](double share, auto value) { return quantile(of_dots(all, value), share); };
    const auto east = [](const dot_t& d) { return d.east; };
    const auto north = [](const dot_t& d) { return d.north; };
    const double w = edge(0.0, east), e = edge(1.0, east), s = edge(0.0, north), n = edge(1.0, north);
    const double size = 1.1 * std::max(e - w, n - s);
    return {(w + e - size) / 2.0, (s + n - size) / 2.0, size};
}

std::string grid(const window_t& w)
{
    std::string out;
    const scale_t scale(w.east, w.east + w.size, 6);
    for (const double mark : scale.marks()) {
        if (mark < w.east || mark > w.east + w.size) continue;
        const double x = kLeft + kPlot * (mark - w.east) / w.size, y = kBottom - kPlot * (mark - w.north) / w.size;
        out += text("<path class=\"grid\" d=\"M%.1f %.1fV%.1fM%.1f %.1fH%.1f\"/>", x, kBottom, kBottom - kPlot, kLeft,
                    y, kLeft + kPlot);
        out += label(x, kBottom + 16, "middle", number(mark, scale.decimals)) +
               label(kLeft - 6, y + 4, "end", number(mark, scale.decimals));
    }
    return out + label(kLeft + kPlot / 2, kSize - 4, "middle", "east (m)") +
           label(14, kBottom - kPlot / 2, "middle", "north (m)", "transform=\"rotate(-90 14 212)\"");
}

// A bar of a round length, and where north is.
std::string scale_bar(const window_t& w)
{
    const scale_t scale(0.0, w.size / 4.0, 1);
    const double length = kPlot * scale.step / w.size, right = kLeft + kPlot - 8.0, y = kBottom - 14.0;
    const std::string size =
        scale.step >= 1000.0 ? number(scale.step / 1000.0, 1) + " km" : number(scale.step, 2) + " m";
    return text("<path class=\"bar\" d=\"M%.1f %.1fv6h%.1fv-6\"/>", right - length, y - 3.0, length) +
           label(right - length / 2, y - 8.0, "middle", size, of_class("halo")) +
           text("<path class=\"bar\" d=\"M%.1f 62V30m-5 9l5 -9l5 9\"/>", kLeft + kPlot - 16.0) +
           label(kLeft + kPlot - 16.0, 78, "middle", "N", of_class("halo"));
}

std::string marks(const std::vector<dot_t>& all, const window_t& w, const char* kind)
{
    std::string line;
    for (const dot_t& d : all) {
        if (w.holds(d)) line += "M" + w.point(d) + "h0";
    }
    return path(kind, line);
}

std::string track(const std::vector<dot_t>& all, const window_t& w, const char* kind)
{
    std::string line;
    for (const dot_t& d : all) line += (line.empty() ? "M" : "L") + w.point(d);
    return path(std::string("track ") + kind, line);
}

std::string circle(const window_t& w, double radius, const std::string& what)
{
    const double r = kPlot * radius / w.size, x = kLeft - kPlot * w.east / w.size,
                 y = kBottom + kPlot * w.north / w.size;
    const double lower = std::min(y + r, kBottom - 6.0);
    return text("<circle class=\"within\" cx=\"%.1f\" cy=\"%.1f\" r=\"%.1f\"/>", x, y, r) +
           label(x, lower - 4, "middle", what, of_class("halo"));
}

std::vector<std::string> place_row(const char* what, const quality::positions_t& p)
{
    const position::geodetic_t at = position::geodetic_of(p.mean());
    const auto d = p.deviations();
    return {what,
            std::to_string(p.count()),
            fixed(at.lat * position::kRadian, 8),
            fixed(at.lon * position::kRadian, 8),
            fixed(at.height, 3),
            fixed(d[0], 3),
            fixed(d[1], 3),
            fixed(d[2], 3)};
}

table_t numbers(const quality::quality_t& q)
{
    table_t t{{"Positions", "Number", "Latitude (°)", "Longitude (°)", "Height (m)", "Scatter east (m)",
               "Scatter north (m)", "Scatter up (m)"},
              {}};
    if (q.computed().count() > 0) t.rows.push_back(place_row("Computed from the ranges", q.computed()));
    if (q.fixes().count() > 0) t.rows.push_back(place_row("The receiver's", q.fixes()));
    return t;
}

std::string key(const quality::quality_t& q)
{
    std::string out;
    if (q.computed().count() > 0) out += "<i class=\"computed\"></i>computed from the ranges ";
    if (q.fixes().count() > 0) out += "<i class=\"told\"></i>the receiver's";
    return "<p class=\"key\">" + out + "</p>\n";
}

std::string description(const quality::quality_t& q, bool moving, double within, double apart)
{
    const bool both = q.computed().count() > 0 && q.fixes().count() > 0;
    std::string out =
        moving ? "Track of the antenna, north up, by positions computed from the ranges and the receiver's own."
               : std::string("East and north of the middle of ") +
                     (q.fixes().count() > 0 ? "the receiver's positions." : "all.");
    if (!moving && q.computed().count() > 0)
        out += " Half of the computed ones lie within the circle of " + number(within, 2) + " m.";
    if (both)
        out += " 95 % of the computed ones lie within " + number(apart, 2) +
               " m of the receiver's position of the same time.";
    return out;
}

}   // namespace

bool is_moving(const history_t& history)
{
    auto all = dots(history, told_of, {});
    if (all.size() < 3) all = dots(history, computed_of, {});
    const dot_t middle = median_of(all);
    for (dot_t& d : all) d = {d.east - middle.east, d.north - middle.north};
    return distance_within(all, 0.5) > kMoving;
}

double apart(const history_t& history)
{
    std::vector<dot_t> all;
    for (const moment_t& m : history.moments()) {
        if (m.computed.any() && m.told.any())
            all.push_back({m.computed.east - m.told.east, m.computed.north - m.told.north});
    }
    return distance_within(all, 0.95);
}

std::string position_picture(subject_t& subject)
{
    const quality::quality_t& q = *subject.inspection.quality;
    if (q.computed().count() + q.fixes().count() == 0) return "";
    const history_t& h = subject.history;
    const bool moving = is_moving(h);
    const which_t main = q.fixes().count() > 0 ? told_of : computed_of;
    const dot_t middle = median_of(dots(h, main, {}));
    const auto computed = dots(h, computed_of, middle), told = dots(h, told_of, middle);
    auto all = computed;
    all.insert(all.end(), told.begin(), told.end());
    const window_t w = window_around(moving && !told.empty() ? told : all, moving);
    const double within = distance_within(computed, 0.5);
    const std::string plot = moving ? marks(computed, w, "computed") +
                                          (told.empty() ? track(computed, w, "computed") : track(told, w, "told")) +
                                          scale_bar(w)
                                    : grid(w) + marks(computed, w, "computed") + marks(told, w, "told") +
                                          (computed.empty() ? "" : circle(w, within, "50 %"));
    return figure(
        {.id = "positions",
         .title = moving ? "Track" : "Positions",
         .description = description(q, moving, within, apart(h)),
         .picture =
             key(q) + element("svg", of_class("square") + " viewBox=\"0 0 440 440\" " + as_image("positions"), plot),
         .numbers = numbers(q)});
}

}   // namespace kvx::report
