#include "report/verdict.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "common/text_format.h"
#include "report/axis.h"
#include "report/markup.h"

namespace kvx::report {

namespace {

constexpr int kPoorIsUseless = 3;   // so many rules

using value_t = std::optional<double>;

value_t share(std::uint64_t part, std::uint64_t whole)
{
    if (whole == 0) return {};
    return 100.0 * static_cast<double>(part) / static_cast<double>(whole);
}

value_t observed(const subject_t& s)
{
    std::uint64_t above = 0, possible = 0;
    for (const satellite_row_t& row : s.satellites) {
        if (row.epochs > 0) above += row.count.above, possible += row.count.possible;
    }
    return share(above, possible);
}

value_t slips(const subject_t& s)
{
    std::uint64_t epochs = 0;
    for (const satellite_row_t& row : s.satellites) epochs += row.epochs;
    const double hours = static_cast<double>(epochs) * s.history.steps().usual() / 3600.0;
    if (hours <= 0.0) return {};
    return static_cast<double>(s.inspection.quality->slip_count()) / hours;
}

value_t strength(const subject_t& s)
{
    quality::strengths_t all;
    for (const signal_row_t& row : s.signals) all += *row.strengths;
    if (all.count() == 0) return {};
    return all.median();
}

value_t multipath(const subject_t& s)
{
    quality::scatter_t all;
    for (const signal_row_t& row : s.signals) all += row.multipath.all();
    if (all.degrees <= 0.0) return {};
    return all.rms();
}

value_t gaps(const subject_t& s)
{
    const epoch_count_t& e = s.inspection.summary.epochs;
    return share(e.steps.missing(), e.epochs + e.steps.missing());
}

value_t lost_bytes(const subject_t& s)
{
    const summary_t& summary = s.inspection.summary;
    return share(summary.bytes - std::min(summary.bytes, summary.lost.good_bytes), summary.bytes);
}

// Of the contents: what cannot be right, times out of order, a file that breaks off.
value_t faults(const subject_t& s)
{
    const summary_t& summary = s.inspection.summary;
    return static_cast<double>(summary.refused + summary.clock.epochs_out + s.inspection.findings +
                               (summary.source_damage.empty() ? 0 : 1));
}

value_t scatter(const subject_t& s)
{
    const quality::quality_t& q = *s.inspection.quality;
    if (q.computed().count() < 2) return {};
    if (!is_moving(s.history)) return std::hypot(q.computed().deviations()[0], q.computed().deviations()[1]);
    if (q.fixes().count() == 0) return {};
    return apart(s.history);
}

value_t geometry(const subject_t& s)
{
    const quality::quality_t& q = *s.inspection.quality;
    if (q.pdop().count == 0) return {};
    return q.pdop().mean();
}

struct rule_t {
    const char *what, *limit, *unit;
    int decimals;
    bool more_is_better;
    double good, fair;
    value_t (*value)(const subject_t&);
    bool of_logs = false;   // not of RINEX files
};

// clang-format off
constexpr rule_t kRules[] = {
    // what                           as a limit                             unit                   decimals  more   good  fair
    {"Observed of possible",          "satellites that were not observed",   "%",                   1, true,  95.0, 80.0, observed},
    {"Cycle slips",                   "cycle slips",                         "per satellite hour",  2, false, 1.0,  6.0,  slips},
    {"Median C/N0",                   "weak signals",                        "dB-Hz",               1, true,  40.0, 34.0, strength},
    {"Multipath and noise, RMS",      "multipath",                           "m",                   2, false, 0.6,  1.5,  multipath},
    {"Epochs missing",                "gaps",                                "%",                   2, false, 0.1,  2.0,  gaps},
    {"Bytes lost to damage",          "damage",                              "%",                   2, false, 0.0,  1.0,  lost_bytes, true},
    {"Faults in the contents",        "faults in the contents",              "",                    0, false, 0.0,  10.0, faults},
    {"Scatter of computed positions", "scattered positions",                 "m",                   2, false, 3.0,  10.0, scatter},
    {"Mean PDOP",                     "poor geometry",                       "",                    2, false, 2.5,  5.0,  geometry},
};
// clang-format on

// As it is shown: grades follow what is to be seen. What is not 0 is not shown as 0.
double rounded(const rule_t& rule, double value)
{
    const double power = std::pow(10.0, rule.decimals), shown = std::round(value * power) / power;
    return value > 0.0 && shown == 0.0 ? 1.0 / power : shown;
}

grade_t grade_of(const rule_t& rule, double value)
{
    const auto reaches = [&](double limit) { return rule.more_is_better ? value >= limit : value <= limit; };
    return reaches(rule.good) ? grade_t::good : reaches(rule.fair) ? grade_t::fair : grade_t::poor;
}

judgement_t judge(const rule_t& rule, const subject_t& subject)
{
    const std::string side = rule.more_is_better ? " \u2265 " : " \u2264 ";
    judgement_t j{rule.what,
                  rule.limit,
                  rule.unit,
                  "-",
                  "good" + side + number(rule.good, rule.decimals) + ", fair" + side + number(rule.fair, rule.decimals),
                  grade_t::none};
    if (rule.of_logs && subject.inspection.kind != inspection_t::kind_t::log) return j;
    const value_t value = rule.value(subject);
    const double shown = value ? rounded(rule, *value) : 0.0;
    j.value = value ? number(shown, rule.decimals) : "not known";
    j.grade = value ? grade_of(rule, shown) : grade_t::unknown;
    return j;
}

std::string limits_of(const std::vector<judgement_t>& judgements, grade_t grade)
{
    std::string out;
    for (const judgement_t& j : judgements) {
        if (j.grade == grade) out += (out.empty() ? "" : ", ") + std::string(j.limit) + " (" + with_unit(j) + ")";
    }
    return out;
}

std::string limits_text(const verdict_t& v, const subject_t& subject)
{
    const std::string poor = limits_of(v.judgements, grade_t::poor), fair = limits_of(v.judgements, grade_t::fair);
    std::string out = poor.empty() ? "" : "Limited by " + poor + ".";
    if (!fair.empty()) out += std::string(out.empty() ? "" : " ") + "Not at its best: " + fair + ".";
    const std::string hidden = hidden_sectors(subject);
    if (!hidden.empty()) out += " Below 40° the sky is mostly hidden at azimuths " + hidden + ".";
    if (!out.empty()) return out;
    return v.grade == grade_t::unknown ? "Nothing is known to limit it." : "Nothing limits it.";
}

std::string why_none(const inspection_t& i)
{
    if (i.kind == inspection_t::kind_t::navigation) return "it is a navigation file";
    if (i.summary.epochs.epochs > 0) return "none of what was asked for";
    return i.kind == inspection_t::kind_t::log ? i.summary.why_no_epoch() : "none can be read";
}

std::string content_text(const subject_t& subject)
{
    const epoch_count_t& e = subject.inspection.summary.epochs;
    std::uint64_t satellites = 0;
    for (const satellite_row_t& row : subject.satellites) satellites += row.epochs > 0;
    const std::string step = e.steps.usual() > 0.0 ? " every " + number(e.steps.usual(), 2) + " s" : "";
    return duration_text(e.last - e.first) + " from " + time_text(static_cast<std::int64_t>(1000.0 * e.first)) +
           " (GPS time): " + plural(e.epochs, "epoch") + step + ", " + plural(satellites, "satellite") + ", " +
           plural(subject.signals.size(), "signal") + ".";
}

}   // namespace

std::string with_unit(const judgement_t& j)
{
    return j.value + (j.unit[0] != '\0' && j.grade < grade_t::unknown ? "\u202F" + std::string(j.unit) : "");
}

std::vector<std::string> rule_names()
{
    std::vector<std::string> names;
    for (const rule_t& rule : kRules)
        names.push_back(rule.what + (rule.unit[0] != '\0' ? " (" + std::string(rule.unit) + ")" : ""));
    return names;
}

const char* name_of(grade_t grade)
{
    constexpr const char* kNames[] = {"good", "fair", "poor", "unknown", "none"};
    return kNames[static_cast<std::size_t>(grade)];
}

verdict_t verdict_of(const subject_t& subject)
{
    verdict_t v;
    if (subject.inspection.quality->epochs() == 0) {
        v.grade = grade_t::poor;
        v.usable = "Not usable.";
        v.limits = "No epoch with observations: " + why_none(subject.inspection) + ".";
        return v;
    }
    for (const rule_t& rule : kRules) v.judgements.push_back(judge(rule, subject));
    const auto count = [&v](grade_t grade) {
        return std::count_if(v.judgements.begin(), v.judgements.end(),
                             [grade](const judgement_t& j) { return j.grade == grade; });
    };
    const auto poor = count(grade_t::poor), fair = count(grade_t::fair), unknown = count(grade_t::unknown);
    v.grade = poor > 0 ? grade_t::poor : fair > 0 ? grade_t::fair : unknown > 0 ? grade_t::unknown : grade_t::good;
    v.usable = poor >= kPoorIsUseless ? "Hardly usable."
               : poor > 0             ? "Usable with care."
               : fair > 0             ? "Usable."
               : unknown > 0          ? "Usable, as far as it is known."
                                      : "Usable, and good throughout.";
    v.limits = limits_text(v, subject);
    v.content = content_text(subject);
    return v;
}

}   // namespace kvx::report
