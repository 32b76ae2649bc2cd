// Where on the sky satellites were observed, and where they stood and were not.
#include <cmath>

#include "common/text_format.h"
#include "report/colours.h"
#include "report/markup.h"
#include "report/pictures.h"

namespace kvx::report {

namespace {

constexpr double kMiddle = 220.0, kRadius = 190.0;
constexpr std::size_t kLowestRing = 2, kHighestRing = 8;   // that are judged, where buildings stand: 10 to 40 degrees
constexpr double kSector = 30.0;
constexpr std::int64_t kLongestNamed = 6 * 3'600'000;   // ms: satellites go round in longer logs

struct count_t {
    std::uint64_t observed = 0, missed = 0;
    bool hidden() const { return missed > observed; }
    count_t& operator+=(const count_t& o)
    {
        observed += o.observed, missed += o.missed;
        return *this;
    }
};

// Of the systems that were observed at all.
count_t count_of(const sky_cell_t& cell, const std::vector<bool>& observed_systems)
{
    count_t n;
    for (std::size_t c = 0; c < cell.observed.size(); ++c) {
        n.observed += cell.observed[c];
        if (observed_systems[c]) n.missed += cell.missed[c];
    }
    return n;
}

std::vector<bool> systems_of(const subject_t& subject)
{
    std::vector<bool> observed(rinex::kConstellationCount);
    for (const satellite_row_t& row : subject.satellites) {
        if (row.epochs > 0) observed[static_cast<std::size_t>(row.satellite.constellation)] = true;
    }
    return observed;
}

// Counts of the lower sky, by azimuth.
std::vector<count_t> sectors(const subject_t& subject)
{
    const sky_rings_t& rings = subject.history.rings();
    const auto systems = systems_of(subject);
    std::vector<count_t> found(static_cast<std::size_t>(360.0 / kSector));
    for (std::size_t ring = kLowestRing; ring < kHighestRing; ++ring) {
        for (int i = 0; i < rings.cells[ring]; ++i) {
            const double azimuth = 360.0 * (i + 0.5) / rings.cells[ring];
            found[static_cast<std::size_t>(azimuth / kSector)] +=
                count_of(subject.history.sky()[rings.cell(ring, i)], systems);
        }
    }
    return found;
}

std::string point(double elevation, double azimuth)   // degrees
{
    const double r = kRadius * (90.0 - elevation) / 90.0, a = azimuth / position::kRadian;
    return number(kMiddle + r * std::sin(a), 1) + " " + number(kMiddle - r * std::cos(a), 1);
}

std::string cell_path(int ring, double from, double to)
{
    const double low = ring * kRingHeight, high = low + kRingHeight;
    const auto arc = [](double elevation, bool clockwise) {
        const std::string r = number(kRadius * (90.0 - elevation) / 90.0, 1);
        return "A" + r + " " + r + " 0 0 " + (clockwise ? "1 " : "0 ");
    };
    return "M" + point(low, from) + arc(low, true) + point(low, to) + "L" + point(high, to) +
           (high < 90.0 ? arc(high, false) + point(high, from) : "") + "Z";
}

std::string cells(const subject_t& subject)
{
    const sky_rings_t& rings = subject.history.rings();
    const auto systems = systems_of(subject);
    std::string out;
    for (int ring = 0; ring < kRings; ++ring) {
        const auto r = static_cast<std::size_t>(ring);
        for (int i = 0; i < rings.cells[r]; ++i) {
            const sky_cell_t& cell = subject.history.sky()[rings.cell(r, i)];
            const count_t n = count_of(cell, systems);
            if (n.observed + n.missed == 0) continue;
            std::string kind = n.hidden() ? "hidden" : "seen";
            if (!n.hidden() && cell.strengths > 0)
                kind += " c" + std::to_string(colour_of_strength(cell.strength / static_cast<double>(cell.strengths)));
            if (!n.hidden() && cell.multipath.degrees > 0.0)
                kind += " m" + std::to_string(colour_of_multipath(cell.multipath.rms()));
            const double width = 360.0 / rings.cells[r];
            out += path(kind, cell_path(ring, width * i, width * (i + 1))) + "\n";
        }
    }
    return out;
}

std::string net()
{
    std::string out;
    for (int elevation = 0; elevation < 90; elevation += 30) {
        out += text("<circle class=\"net\" cx=\"220\" cy=\"220\" r=\"%.1f\"/>", kRadius * (90 - elevation) / 90.0);
        if (elevation > 0)
            out += label(kMiddle + 4, kMiddle - kRadius * (90 - elevation) / 90.0 - 3, "start",
                         std::to_string(elevation) + "°", of_class("halo"));
    }
    out += "<path class=\"net\" d=\"M220 30V410M30 220H410\"/>";
    return out + label(220, 22, "middle", "N") + label(424, 224, "middle", "E") + label(220, 428, "middle", "S") +
           label(16, 224, "middle", "W");
}

// Names where satellites stood at last; of two that would cover each other one.
std::string names(const subject_t& subject)
{
    if (subject.history.last() - subject.history.first() > kLongestNamed) return "";
    std::string out;
    std::vector<std::pair<double, double>> taken;
    for (const satellite_row_t& row : subject.satellites) {
        const quality::direction_t& to = subject.history.last_direction(rinex::place_of(row.satellite));
        if (row.epochs == 0 || !to.known || to.elevation < 0.0F) continue;
        const auto elevation = static_cast<double>(to.elevation), azimuth = static_cast<double>(to.azimuth);
        const double r = kRadius * (1.0 - elevation * position::kRadian / 90.0);
        const double x = kMiddle + r * std::sin(azimuth), y = kMiddle - r * std::cos(azimuth) + 4.0;
        const bool covers = std::any_of(taken.begin(), taken.end(), [&](const auto& other) {
            return std::fabs(other.first - x) < 26.0 && std::fabs(other.second - y) < 13.0;
        });
        if (covers) continue;
        taken.emplace_back(x, y);
        out += label(x, y, "middle", row.satellite.name(), of_class("halo"));
    }
    return out;
}

table_t numbers(const subject_t& subject)
{
    table_t t{{"Azimuth", "Satellite epochs from 10° to 40°", "Observed", "Share"}, {}};
    const auto all = sectors(subject);
    for (std::size_t i = 0; i < all.size(); ++i) {
        const auto from = static_cast<int>(kSector * static_cast<double>(i));
        t.rows.push_back({text("%d° to %d°", from, from + static_cast<int>(kSector)),
                          std::to_string(all[i].observed + all[i].missed), std::to_string(all[i].observed),
                          percent(all[i].observed, all[i].observed + all[i].missed)});
    }
    return t;
}

}   // namespace

std::string hidden_sectors(const subject_t& subject)
{
    const auto all = sectors(subject);
    std::string out;
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (!all[i].hidden()) continue;
        std::size_t end = i + 1;
        while (end < all.size() && all[end].hidden()) ++end;
        out += (out.empty() ? "" : ", ") + std::to_string(i * static_cast<std::size_t>(kSector)) + "° to " +
               std::to_string(end * static_cast<std::size_t>(kSector)) + "°";
        i = end;
    }
    return out;
}

std::string sky_picture(subject_t& subject)
{
    if (subject.inspection.quality->directed_epochs() == 0) return "";
    const std::string picture =
        "<div class=\"switch\"><input type=\"radio\" name=\"sky\" id=\"by-cn0\" checked><label for=\"by-cn0\">C/N0"
        "</label><input type=\"radio\" name=\"sky\" id=\"by-mp\"><label for=\"by-mp\">Multipath</label>\n" +
        strength_key() + multipath_key() +
        "<p class=\"key\"><i class=\"hidden\"></i>satellites stood here and most were not observed</p>\n" +
        element("svg", of_class("sky") + " viewBox=\"0 0 440 440\" " + as_image("sky"),
                "<defs><pattern id=\"hatch\" width=\"5\" height=\"5\" patternUnits=\"userSpaceOnUse\" "
                "patternTransform=\"rotate(45)\"><path class=\"hatch\" d=\"M0 0V5\"/></pattern></defs>" +
                    cells(subject) + net() + names(subject)) +
        "</div>\n";
    const std::string hidden = hidden_sectors(subject);
    return figure({.id = "sky",
                   .title = "Sky",
                   .description = "The sky above the antenna, zenith in the middle, by the mean of all satellites in a "
                                  "place." +
                                  (hidden.empty() ? "" : " Mostly hidden below 40°: azimuths " + hidden + "."),
                   .picture = picture,
                   .numbers = numbers(subject)});
}

}   // namespace kvx::report
