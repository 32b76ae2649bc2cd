// Series over time that can be zoomed: least and greatest of each bin, drawn by the page's script.
#include <algorithm>
#include <cmath>
#include <functional>

#include "common/text_format.h"
#include "report/axis.h"
#include "report/markup.h"
#include "report/pictures.h"

namespace kvx::report {

namespace {

constexpr std::size_t kMostPoints = 720;             // of a satellite's signal: there are many of them
constexpr std::size_t kParts = 24;                   // of the time, in tables
constexpr std::int64_t kUnixEpoch = 315964800'000;   // ms: GPS time begins so much later

// One line of a chart: what it shows, of a moment.
struct line_t {
    const char* name;
    const char* colour;   // of the style
    extent_t (*of)(const moment_t&);
    int decimals;
    bool height = false;   // counts from the history's origin
};

struct chart_t {
    const char *id, *title, *description, *unit;
    std::vector<line_t> lines;
};

const std::vector<chart_t>& all_charts()
{
    static const std::vector<chart_t> kCharts = {
        {"height",
         "Height over time",
         "Height of the positions above the WGS 84 ellipsoid.",
         "m",
         {{"computed", "--blue", [](const moment_t& m) { return m.computed.height; }, 2, true},
          {"receiver", "--orange", [](const moment_t& m) { return m.told.height; }, 2, true}}},
        {"used",
         "Satellites over time",
         "Satellites observed, and those used in the computed positions.",
         "satellites",
         {{"observed", "--blue", [](const moment_t& m) { return m.tracked; }, 0},
          {"used", "--orange", [](const moment_t& m) { return m.used; }, 0}}},
        {"dop",
         "Dilution of precision over time",
         "How the directions to the satellites in use amplify errors: of the position, of its horizontal and vertical "
         "parts.",
         "DOP",
         {{"PDOP", "--blue", [](const moment_t& m) { return m.pdop; }, 2},
          {"HDOP", "--orange", [](const moment_t& m) { return m.hdop; }, 2},
          {"VDOP", "--green", [](const moment_t& m) { return m.vdop; }, 2}}},
    };
    return kCharts;
}

bool any(const history_t& history, const line_t& line)
{
    return std::any_of(history.moments().begin(), history.moments().end(),
                       [&line](const moment_t& m) { return line.of(m).any(); });
}

// Bins that hold something, and an empty one behind those that a gap follows.
std::vector<std::size_t> drawn_bins(const history_t& history)
{
    const double step = 1500.0 * history.steps().usual() / static_cast<double>(history.bins().width());
    const auto bridge = static_cast<std::size_t>(std::max(1.0, std::ceil(step)));
    std::vector<std::size_t> bins;
    for (std::size_t bin = history.begin(); bin < history.end(); ++bin) {
        const moment_t& m = history.moments()[bin];
        if (m.epochs == 0 && !m.told.any()) continue;
        if (!bins.empty() && bin - bins.back() > bridge) bins.push_back(bins.back() + 1);
        bins.push_back(bin);
    }
    return bins;
}

template <typename Values>
std::string json_list(const Values& values)
{
    std::string out;
    for (const auto& value : values) out += (out.empty() ? "" : ",") + value;
    return "[" + out + "]";
}

// [least, greatest] of the bins; one list when they are the same.
std::string json_extents(const std::vector<extent_t>& extents, double base, int decimals)
{
    std::vector<std::string> least, greatest;
    for (const extent_t& e : extents) {
        least.push_back(e.any() ? number(base + static_cast<double>(e.least), decimals) : "null");
        greatest.push_back(e.any() ? number(base + static_cast<double>(e.greatest), decimals) : "null");
    }
    return least == greatest ? "[" + json_list(least) + "]" : "[" + json_list(least) + "," + json_list(greatest) + "]";
}

std::string json_chart(const history_t& history, const chart_t& chart, const std::vector<std::size_t>& bins)
{
    std::string lines;
    for (const line_t& line : chart.lines) {
        if (!any(history, line)) continue;
        std::vector<extent_t> extents;
        extents.reserve(bins.size());
        for (const std::size_t bin : bins) extents.push_back(line.of(history.moments()[bin]));
        lines += (lines.empty() ? "" : ",") + ("{\"name\":\"" + std::string(line.name)) + "\",\"colour\":\"" +
                 line.colour +
                 "\",\"values\":" + json_extents(extents, line.height ? history.height() : 0.0, line.decimals) + "}";
    }
    return "{\"unit\":\"" + std::string(chart.unit) + "\",\"lines\":[" + lines + "]}";
}

// Numbers below 3844 in two characters each, which the page's script knows: there are many of them.
std::string packed(const std::vector<unsigned>& numbers)
{
    constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    constexpr unsigned kBase = sizeof kDigits - 1;
    std::string out;
    for (const unsigned n : numbers) out += kDigits[n / kBase % kBase], out += kDigits[n % kBase];
    return "\"" + out + "\"";
}

// Tenths of a dB-Hz from the first bin that has the satellite to the last one; 0: none.
std::string json_satellite(history_t& history, const quality::carriers_t& carriers, const satellite_row_t& row,
                           const std::vector<std::size_t>& bins)
{
    const int place = rinex::place_of(row.satellite);
    const auto& codes = carriers.codes(row.satellite.constellation);
    const auto& presence = history.presence(place);
    std::size_t first = 0, end = bins.size();
    while (first < end && presence[bins[first]].observed == 0) ++first;
    while (end > first && presence[bins[end - 1]].observed == 0) --end;
    const std::size_t every = (bins.size() + kMostPoints - 1) / kMostPoints;
    std::string out = "\"from\":" + std::to_string(first) + ",\"every\":" + std::to_string(every);
    for (int signal = 0; signal < static_cast<int>(codes.size()); ++signal) {
        const auto& extents = history.signal(place, signal);
        if (extents.empty()) continue;
        std::vector<unsigned> least, greatest;
        for (std::size_t i = first; i < end; i += every) {
            extent_t e;
            for (std::size_t k = i; k < std::min(i + every, end); ++k) e += extents[bins[k]];
            least.push_back(e.any() ? static_cast<unsigned>(e.least) : 0);
            greatest.push_back(e.any() ? static_cast<unsigned>(e.greatest) : 0);
        }
        out += ",\"" + codes[static_cast<std::size_t>(signal)] + "\":[" + packed(least) +
               (least == greatest ? "" : "," + packed(greatest)) + "]";
    }
    return "\"" + row.satellite.name() + "\":{" + out + "}";
}

// Least and greatest in equal parts of the time.
table_t numbers(const history_t& history, const chart_t& chart)
{
    table_t t{{"From (GPS time)"}, {}};
    std::vector<const line_t*> lines;
    for (const line_t& line : chart.lines) {
        if (!any(history, line)) continue;
        lines.push_back(&line);
        t.head.push_back(std::string(line.name) + ", least");
        t.head.push_back("greatest");
    }
    const std::size_t length = std::max<std::size_t>(1, (history.end() - history.begin() + kParts - 1) / kParts);
    for (std::size_t from = history.begin(); from < history.end(); from += length) {
        moment_t part;
        for (std::size_t bin = from; bin < std::min(from + length, history.end()); ++bin)
            part += history.moments()[bin];
        std::vector<std::string> row{time_text(history.bins().begin_of(from))};
        for (const line_t* line : lines) {
            const extent_t e = line->of(part);
            const double base = line->height ? history.height() : 0.0;
            row.push_back(e.any() ? fixed(base + static_cast<double>(e.least), line->decimals) : "-");
            row.push_back(e.any() ? fixed(base + static_cast<double>(e.greatest), line->decimals) : "-");
        }
        t.rows.push_back(row);
    }
    return t;
}

std::string chart_place(const std::string& id)
{
    return "<div class=\"chart\" data-chart=\"" + id + "\" tabindex=\"0\" " + as_image(id) +
           "></div><noscript><p>Charts need JavaScript; the table has their numbers.</p></noscript>\n";
}

std::string satellite_chart(subject_t& subject)
{
    std::string choices;
    table_t t{{"Signal of a satellite", "Least C/N0 (dB-Hz)", "Greatest"}, {}};
    for (const satellite_row_t& row : subject.satellites) {
        if (row.epochs == 0) continue;
        choices += element("option", "", row.satellite.name());
        const auto& codes = subject.inspection.carriers->codes(row.satellite.constellation);
        for (int signal = 0; signal < static_cast<int>(codes.size()); ++signal) {
            extent_t all;
            for (const extent_t& e : subject.history.signal(rinex::place_of(row.satellite), signal)) all += e;
            if (!all.any()) continue;
            t.rows.push_back({row.satellite.name() + " " + codes[static_cast<std::size_t>(signal)],
                              fixed(static_cast<double>(all.least) / history_t::kTenths, 1),
                              fixed(static_cast<double>(all.greatest) / history_t::kTenths, 1)});
        }
    }
    if (t.rows.empty()) return "";
    return figure({.id = "satellite",
                   .title = "C/N0 of a satellite over time",
                   .description = "Every signal of the satellite that is chosen.",
                   .picture = "<p class=\"choice\"><label for=\"which\">Satellite</label> <select id=\"which\">" +
                              choices + "</select></p>\n" + chart_place("satellite"),
                   .numbers = t,
                   .wide = "wide"});
}

}   // namespace

std::string charts(subject_t& subject)
{
    std::string out;
    for (const chart_t& chart : all_charts()) {
        const bool drawn = std::any_of(chart.lines.begin(), chart.lines.end(),
                                       [&](const line_t& line) { return any(subject.history, line); });
        if (!drawn) continue;
        out += figure({.id = chart.id,
                       .title = chart.title,
                       .description = chart.description,
                       .picture = chart_place(chart.id),
                       .numbers = numbers(subject.history, chart),
                       .wide = "wide"});
    }
    return out + satellite_chart(subject);
}

std::string chart_data(subject_t& subject)
{
    history_t& h = subject.history;
    const auto bins = drawn_bins(h);
    std::vector<std::string> places;
    places.reserve(bins.size());
    for (const std::size_t bin : bins) places.push_back(std::to_string(bin));
    const std::int64_t width = h.bins().width();
    std::string out = "{\"from\":" + number(static_cast<double>(h.bins().begin_of(0) + kUnixEpoch) / 1000.0, 4) +
                      ",\"width\":" + number(static_cast<double>(width) / 1000.0, 3) + ",\"bins\":" + json_list(places);
    for (const chart_t& chart : all_charts())
        out += ",\n\"" + std::string(chart.id) + "\":" + json_chart(h, chart, bins);
    std::string satellites;
    for (const satellite_row_t& row : subject.satellites) {
        if (row.epochs > 0 && !h.presence(rinex::place_of(row.satellite)).empty())
            satellites +=
                (satellites.empty() ? "\n" : ",\n") + json_satellite(h, *subject.inspection.carriers, row, bins);
    }
    return out + ",\n\"satellites\":{" + satellites + "}}";
}

}   // namespace kvx::report
