// C/N0 and multipath over the elevation: a panel a system, the middle of each signal before the cloud of all values.
#include <algorithm>
#include <array>
#include <cmath>

#include "common/text_format.h"
#include "report/axis.h"
#include "report/colours.h"
#include "report/markup.h"
#include "report/pictures.h"

namespace kvx::report {

namespace {

using quality::kElevationSteps;

constexpr double kLeft = 36.0, kRight = 296.0, kTop = 30.0, kBottom = 200.0;   // of the plot, in a panel of 340 by 236
constexpr double kLine = 12.0;                                                 // least distance of names
constexpr int kShades = 4;
constexpr double kBeyond = 3.0;           // dB, shown below the medians
constexpr double kFewestDegrees = 20.0;   // of freedom, of a scatter that is drawn

// The middle of a signal by steps of the elevation; none: nothing was measured there.
struct curve_t {
    std::string name;
    std::array<std::optional<double>, kElevationSteps> values;
};

struct panel_t {
    int constellation;
    const cloud_t& cloud;
    double row;   // of the cloud
    std::vector<curve_t> curves;
};

double x_of(double elevation)
{
    return kLeft + (kRight - kLeft) * elevation / 90.0;
}

double y_of(const scale_t& scale, double value)
{
    return kBottom - (kBottom - kTop) * scale.part(value);
}

double middle_of(std::size_t step)
{
    return 10.0 * (static_cast<double>(step) + 0.5);
}

// Shades by how often values stood in a place, in powers of four below the most.
std::string cloud_cells(const panel_t& panel, const scale_t& scale)
{
    std::uint32_t most = 0;
    for (const auto& column : panel.cloud.counts)
        most = std::max(most, *std::max_element(column.begin(), column.end()));
    std::array<std::string, kShades> paths;
    for (std::size_t i = 0; i < cloud_t::kColumns; ++i) {
        for (std::size_t row = 0; row < cloud_t::kRows; ++row) {
            const std::uint32_t n = panel.cloud.counts[i][row];
            const double value = panel.row * (static_cast<double>(row) + 0.5);
            if (n == 0 || value < scale.low || value > scale.high) continue;
            const double below = std::log(static_cast<double>(most) / n) / std::log(4.0);
            const auto shade = static_cast<std::size_t>(std::clamp(kShades - 1.0 - below, 0.0, kShades - 1.0));
            paths[shade] += "M" + number(x_of(2.0 * static_cast<double>(i)), 1) + " " + number(y_of(scale, value), 1) +
                            "h" + number((kRight - kLeft) / 45.0, 2);
        }
    }
    std::string out;
    const double height = (kBottom - kTop) * panel.row / (scale.high - scale.low);
    for (std::size_t shade = 0; shade < kShades; ++shade) {
        if (paths[shade].empty()) continue;
        out += path("cloud q" + std::to_string(shade), paths[shade], "stroke-width=\"" + number(height, 2) + "\"");
    }
    return out;
}

struct name_t {
    double x, y;
    std::string text;
};

// Apart from each other, within the panel.
void spread(std::vector<name_t>& names)
{
    std::sort(names.begin(), names.end(), [](const name_t& a, const name_t& b) { return a.y < b.y; });
    for (std::size_t i = 1; i < names.size(); ++i) names[i].y = std::max(names[i].y, names[i - 1].y + kLine);
    double lowest = kBottom + 4.0;
    for (auto name = names.rbegin(); name != names.rend(); ++name) {
        name->y = std::min(name->y, lowest);
        lowest = name->y - kLine;
    }
}

std::string curves(const panel_t& panel, const scale_t& scale)
{
    static constexpr const char* kDashes[] = {"", "6 3", "2 2", "8 3 2 3", "1 4", "12 3"};
    const std::string colour = system_class(rinex::kConstellations[panel.constellation].letter);
    std::string out;
    std::vector<name_t> names;
    for (std::size_t c = 0; c < panel.curves.size(); ++c) {
        std::string line, dots;
        double x = 0.0, y = 0.0;
        for (std::size_t step = 0; step < kElevationSteps; ++step) {
            const auto& value = panel.curves[c].values[step];
            if (!value) continue;
            x = x_of(middle_of(step)), y = y_of(scale, std::clamp(*value, scale.low, scale.high));
            const std::string at = number(x, 1) + " " + number(y, 1);
            line.append(line.empty() ? "M" : "L").append(at);
            dots.append("M").append(at).append("h0");
        }
        if (line.empty()) continue;
        out += path("curve " + colour, line, text("stroke-dasharray=\"%s\"", kDashes[c % std::size(kDashes)])) +
               path("dots " + colour, dots);
        names.push_back({x, y + 4.0, panel.curves[c].name});
    }
    spread(names);
    for (const name_t& n : names) out += label(kRight + 6.0, n.y, "start", n.text, of_class(colour));
    return out;
}

std::string panel_picture(const panel_t& panel, const scale_t& scale, const char* unit, const std::string& id)
{
    std::string axes;
    for (const double mark : scale.marks()) {
        const std::string y = number(y_of(scale, mark), 1);
        axes += "<path class=\"grid\" d=\"M" + number(kLeft, 0) + " " + y + "H" + number(kRight, 0) + "\"/>" +
                label(kLeft - 6, y_of(scale, mark) + 4, "end", number(mark, scale.decimals));
    }
    for (int elevation = 0; elevation <= 90; elevation += 30)
        axes += label(x_of(elevation), kBottom + 17, "middle", std::to_string(elevation) + "°");
    const rinex::constellation_t& system = rinex::kConstellations[panel.constellation];
    return element("svg", "viewBox=\"0 0 340 236\" " + as_image(id) + " class=\"panel\"",
                   cloud_cells(panel, scale) + axes + curves(panel, scale) +
                       label(kLeft, 14, "start", system.name, of_class(std::string("system s") + system.letter)) +
                       label(kRight, 14, "end", unit) +
                       label((kLeft + kRight) / 2, kBottom + 33, "middle", "elevation")) +
           "\n";
}

std::vector<panel_t> panels(subject_t& subject, bool strength)
{
    std::vector<panel_t> all;
    for (int c = 0; c < rinex::kConstellationCount; ++c) {
        panel_t panel{c,
                      strength ? subject.history.strengths(c) : subject.history.multipath(c),
                      strength ? history_t::kCloudStrength : history_t::kCloudMultipath,
                      {}};
        for (const signal_row_t& row : subject.signals) {
            if (row.name[0] != rinex::kConstellations[c].letter) continue;
            curve_t curve{row.name.substr(1), {}};
            bool any = false;
            for (std::size_t step = 0; step < kElevationSteps; ++step) {
                const quality::scatter_t& scatter = row.multipath.steps[step];
                const double rms = scatter.degrees >= kFewestDegrees ? scatter.rms() : 0.0;
                const double value = strength ? row.strengths->median(step) : rms;
                if (value > 0.0) curve.values[step] = value, any = true;
            }
            if (any) panel.curves.push_back(curve);
        }
        if (!panel.curves.empty()) all.push_back(std::move(panel));
    }
    return all;
}

std::vector<double> all_values(const std::vector<panel_t>& all)   // in order
{
    std::vector<double> values;
    for (const panel_t& panel : all) {
        for (const curve_t& curve : panel.curves) {
            for (const auto& value : curve.values) {
                if (value) values.push_back(*value);
            }
        }
    }
    std::sort(values.begin(), values.end());
    return values;
}

table_t numbers(const std::vector<panel_t>& all, const char* what, int decimals)
{
    table_t t{{what}, {}};
    for (std::size_t step = 0; step < kElevationSteps; ++step)
        t.head.push_back(text("%zu° to %zu°", 10 * step, 10 * step + 10));
    for (const panel_t& panel : all) {
        for (const curve_t& curve : panel.curves) {
            std::vector<std::string> row{rinex::kConstellations[panel.constellation].letter + curve.name};
            for (const auto& value : curve.values) row.push_back(value ? fixed(*value, decimals) : "-");
            t.rows.push_back(row);
        }
    }
    return t;
}

std::string panel_pictures(const std::vector<panel_t>& all, const scale_t& scale, const char* unit,
                           const std::string& id)
{
    std::string out;
    for (const panel_t& panel : all) out += panel_picture(panel, scale, unit, id);
    return element("div", of_class("panels"), out);
}

}   // namespace

std::string strength_picture(subject_t& subject)
{
    const auto all = panels(subject, true);
    if (all.empty()) return "";
    const auto values = all_values(all);
    const scale_t scale(std::max(0.0, values.front() - kBeyond), values.back() + 1.0, 5);
    return figure({.id = "cn0",
                   .title = "C/N0 over elevation",
                   .description =
                       "Medians of each signal in steps of ten degrees, in front of all values; darker where "
                       "there are more of them.",
                   .picture = panel_pictures(all, scale, "dB-Hz", "cn0"),
                   .numbers = numbers(all, "Median C/N0 (dB-Hz)", 1),
                   .wide = "wide"});
}

std::string multipath_picture(subject_t& subject)
{
    const auto all = panels(subject, false);
    if (all.empty()) return "";
    const auto values = all_values(all);
    const double most = values[values.size() * 9 / 10];   // some are far above
    const scale_t scale(0.0, std::clamp(1.5 * most, 0.5, history_t::kCloudMultipath * cloud_t::kRows), 4);
    return figure({.id = "multipath",
                   .title = "Multipath and noise of pseudoranges over elevation",
                   .description = "RMS of each signal in steps of ten degrees, in front of the RMS of short pieces of "
                                  "each satellite's arcs; darker where there are more of them.",
                   .picture = panel_pictures(all, scale, "m", "multipath"),
                   .numbers = numbers(all, "RMS (m)", 2),
                   .wide = "wide"});
}

}   // namespace kvx::report
