// When which satellite was observed, and how well. Time is drawn in bins that the browser stretches to its width;
// letters stand outside of what is stretched.
#include <algorithm>
#include <map>

#include "common/text_format.h"
#include "report/axis.h"
#include "report/colours.h"
#include "report/markup.h"
#include "report/pictures.h"

namespace kvx::report {

namespace {

constexpr int kRow = 14, kTop = 24, kBottom = 22;   // px
constexpr int kMostTimeMarks = 7;

class availability_t {
public:
    explicit availability_t(subject_t& subject) : subject_(subject), h_(subject.history)
    {
        for (const satellite_row_t& row : subject.satellites) {
            if (row.epochs > 0) rows_.push_back(&row);
        }
        const double step = 1000.0 * h_.steps().usual() / static_cast<double>(h_.bins().width());
        bridge_ = static_cast<std::size_t>(std::max(1.0, std::ceil(1.5 * step)));
        for (std::size_t bin = h_.begin(); bin < h_.end(); ++bin) {
            if (h_.moments()[bin].epochs > 0) bins_.push_back(bin);
        }
    }

    std::string picture()
    {
        const int height = kTop + kRow * static_cast<int>(rows_.size()) + kBottom;
        const std::string size = "height=\"" + std::to_string(height) + "\"";
        return strength_key() +
               "<p class=\"key\"><i class=\"possible\"></i>above 10°, not observed <i class=\"slip\"></i>slip "
               "<i class=\"gap\"></i>gap <i class=\"damage\"></i>damage</p>\n<div class=\"lanes\">" +
               element("svg", of_class("names") + " width=\"40\" " + size + " aria-hidden=\"true\"", names()) +
               element("svg", of_class("plot") + " " + size + " " + as_image("availability"),
                       time_axis(height) + gaps_and_marks(height) + stretched(height)) +
               "</div>\n";
    }

    table_t numbers() const
    {
        table_t t{{"Satellite", "Epochs observed", "Of possible above 10°", "Slips", "Mean C/N0 (dB-Hz)"}, {}};
        for (const satellite_row_t* row : rows_) {
            presence_t all;
            for (const presence_t& p : h_.presence(rinex::place_of(row->satellite))) all += p;
            t.rows.push_back({row->satellite.name(), std::to_string(row->epochs),
                              percent(row->count.above, row->count.possible), std::to_string(row->count.slips),
                              all.strengths > 0 ? fixed(all.strength / static_cast<float>(all.strengths), 1) : "-"});
        }
        return t;
    }

private:
    static int middle(std::size_t row) { return kTop + kRow * static_cast<int>(row) + kRow / 2; }

    std::string names() const
    {
        std::string out;
        for (std::size_t i = 0; i < rows_.size(); ++i)
            out += label(36, middle(i) + 4, "end", rows_[i]->satellite.name(),
                         of_class(system_class(rows_[i]->satellite.letter())));
        return out;
    }

    // Each bin with epochs reaches to the next one, unless that is beyond a gap.
    std::size_t end_of(std::size_t index) const
    {
        const std::size_t bin = bins_[index];
        const bool next = index + 1 < bins_.size() && bins_[index + 1] - bin <= bridge_;
        return next ? bins_[index + 1] : std::min(bin + (bridge_ + 1) / 2, h_.end());
    }

    std::string stretched(int height) const
    {
        std::string lanes;
        for (std::size_t i = 0; i < rows_.size(); ++i) lanes += lane(*rows_[i], middle(i));
        return element("svg",
                       text("viewBox=\"%zu 0 %zu ", h_.begin(), h_.end() - h_.begin()) + std::to_string(height) +
                           "\" width=\"100%\" height=\"" + std::to_string(height) +
                           "\" preserveAspectRatio=\"none\" overflow=\"visible\"",
                       lanes);
    }

    // Lines by class; neighbours of one colour are one line.
    std::string lane(const satellite_row_t& row, int y) const
    {
        const auto& presence = h_.presence(rinex::place_of(row.satellite));
        std::map<std::string, std::string> lines;
        std::string open, slips;
        std::size_t reached = 0;
        for (std::size_t i = 0; i < bins_.size() && !presence.empty(); ++i) {
            const presence_t& p = presence[bins_[i]];
            const std::string kind = kind_of(p, open);
            if (!kind.empty()) {
                std::string& line = lines[kind];
                const std::string to = "H" + std::to_string(end_of(i));
                if (kind == open && reached == bins_[i])
                    line.resize(line.rfind('H'));
                else
                    line += "M" + std::to_string(bins_[i]) + " " + std::to_string(y);
                line += to;
                reached = end_of(i);
            }
            open = kind;
            if (p.slips > 0) slips += text("M%zu %dv%d", bins_[i], y - kRow / 2 + 1, kRow - 2);
        }
        std::string out = element("title", "",
                                  row.satellite.name() + ": " + plural(row.epochs, "epoch") + ", " +
                                      percent(row.count.above, row.count.possible) + " of those possible, " +
                                      plural(row.count.slips, "slip"));
        for (const auto& [kind, line] : lines) out += path(kind, line);
        if (!slips.empty()) out += path("halo", slips) + path("slip", slips);
        return element("g", of_class("lane"), out) + "\n";
    }

    // Noise does not change a colour: it stays until a decibel is missing or too much.
    static std::string kind_of(const presence_t& p, const std::string& before)
    {
        if (p.observed == 0) return p.missed > 0 ? "possible" : "";
        if (p.strengths == 0) return "plain";
        const double mean = static_cast<double>(p.strength) / p.strengths;
        for (const double near : {mean - 1.0, mean + 1.0}) {
            if (before == "c" + std::to_string(colour_of_strength(near))) return before;
        }
        return "c" + std::to_string(colour_of_strength(mean));
    }

    double part(std::int64_t time) const   // %
    {
        const double bins =
            static_cast<double>(time - h_.bins().begin_of(h_.begin())) / static_cast<double>(h_.bins().width());
        return 100.0 * bins / static_cast<double>(h_.end() - h_.begin());
    }

    std::string gaps_and_marks(int height) const
    {
        std::string out;
        const std::string tall = "\" height=\"" + std::to_string(height - kBottom - kTop + 8) + "\"";
        for (const gap_t& gap : h_.gaps()) {
            const double from = part(gap.from), to = part(gap.to);
            out += "<rect class=\"gap\" x=\"" + number(from, 2) + "%\" y=\"" + std::to_string(kTop - 8) +
                   "\" width=\"" + number(std::max(to - from, 0.15), 2) + "%" + tall + "><title>gap of " +
                   duration_text(static_cast<double>(gap.length()) / 1000.0) + " after " + time_text(gap.from) +
                   "</title></rect>";
        }
        for (const auto& [at, n] : damages()) {
            const std::string x = "x1=\"" + number(at, 2) + "%\" x2=\"" + number(at, 2) + "%\"";
            out += "<line class=\"damage\" " + x + " y1=\"8\" y2=\"" + std::to_string(height - kBottom) + "\"><title>" +
                   plural(n, "damaged place") + "</title></line><circle class=\"damage\" cx=\"" + number(at, 2) +
                   "%\" cy=\"8\" r=\"4\"/>";
        }
        return out;
    }

    // Places on the axis (%) by the epochs that stand before them in the log.
    std::map<double, std::uint64_t> damages() const
    {
        std::map<double, std::uint64_t> found;
        for (const damage_t& d : subject_.inspection.damage) {
            std::size_t bin = bins_.empty() ? 0 : bins_.front();
            for (const std::size_t b : bins_) {
                if (h_.moments()[b].offset <= d.offset) bin = b;
            }
            ++found[part(h_.bins().begin_of(bin))];
        }
        return found;
    }

    std::string time_axis(int height) const
    {
        std::string out;
        const std::int64_t from = h_.bins().begin_of(h_.begin()), to = h_.bins().begin_of(h_.end());
        for (const time_mark_t& m : time_marks(from, to, kMostTimeMarks)) {
            const double x = part(m.time);
            const std::string at = number(x, 2);
            const char* anchor = x < 4 ? "start" : x > 96 ? "end" : "middle";
            out += text("<line class=\"grid\" x1=\"%s%%\" x2=\"%s%%\" y1=\"%d\" y2=\"%d\"/>", at.c_str(), at.c_str(),
                        kTop - 4, height - kBottom + 4) +
                   text("<text x=\"%s%%\" y=\"%d\" text-anchor=\"%s\">%s</text>", at.c_str(), height - 6, anchor,
                        m.text.c_str());
        }
        return out;
    }

    subject_t& subject_;
    history_t& h_;
    std::vector<const satellite_row_t*> rows_;
    std::vector<std::size_t> bins_;   // with epochs
    std::size_t bridge_ = 1;          // bins from one epoch to the next
};

}   // namespace

std::string availability_picture(subject_t& subject)
{
    if (subject.history.begin() == subject.history.end()) return "";
    availability_t picture(subject);
    const std::string times =
        time_text(subject.history.first()) + " to " + time_text(subject.history.last()) + " (GPS time)";
    return figure({.id = "availability",
                   .title = "Satellites over time",
                   .description = "A row a satellite, coloured by the C/N0 of its strongest signal; " + times + ".",
                   .picture = picture.picture(),
                   .numbers = picture.numbers()});
}

}   // namespace kvx::report
