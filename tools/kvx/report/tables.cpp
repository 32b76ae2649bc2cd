// All numbers of a log, as tables.
#include <algorithm>

#include "common/gps_time.h"
#include "common/text_format.h"
#include "report/markup.h"
#include "report/pictures.h"

namespace kvx::report {

namespace {

constexpr std::size_t kMostRows = 500;   // slips, places of damage

std::string section(const std::string& title, const table_t& t, const std::string& note = "")
{
    if (t.rows.empty()) return "";
    return element("details", of_class("numbers"),
                   element("summary", "", escaped(title)) + (note.empty() ? "" : element("p", "", escaped(note))) +
                       table(t)) +
           "\n";
}

std::string note_of(std::uint64_t all, std::size_t shown)
{
    return all > shown ? "The first " + std::to_string(shown) + " of " + std::to_string(all) + "." : "";
}

table_t signals_table(const subject_t& s)
{
    table_t t{{"Signal", "Satellites", "Observations", "Of possible above 10°", "Least C/N0 (dB-Hz)", "Median",
               "Greatest", "Slips", "Half cycles", "Multipath, RMS (m)"},
              {}};
    for (const signal_row_t& r : s.signals) {
        const bool strength = r.strengths->count() > 0;
        const quality::scatter_t multipath = r.multipath.all();
        t.rows.push_back({r.name, std::to_string(r.satellites), std::to_string(r.observed),
                          percent(r.above, r.possible), strength ? fixed(r.strengths->least(), 1) : "-",
                          strength ? fixed(r.strengths->median(), 1) : "-",
                          strength ? fixed(r.strengths->greatest(), 1) : "-", std::to_string(r.slips),
                          std::to_string(r.half_cycles), multipath.degrees > 0 ? fixed(multipath.rms(), 2) : "-"});
    }
    return t;
}

table_t satellites_table(const subject_t& s)
{
    table_t t{{"Satellite", "Epochs", "Of possible above 10°", "Slips", "Ephemerides", "In positions", "Rejected",
               "Residual, RMS (m)", "Signals and their epochs"},
              {}};
    for (const satellite_row_t& r : s.satellites) {
        if (r.epochs == 0 && r.count.possible == 0) continue;
        std::string signals;
        for (const auto& [code, n] : r.signals)
            signals += (signals.empty() ? "" : ", ") + code + " " + std::to_string(n);
        t.rows.push_back({r.satellite.name(), std::to_string(r.epochs), percent(r.count.above, r.count.possible),
                          std::to_string(r.count.slips), std::to_string(r.count.ephemerides),
                          std::to_string(r.count.used), std::to_string(r.count.rejected),
                          r.count.used > 0 ? fixed(r.count.residual_rms(), 2) : "-", signals});
    }
    return t;
}

table_t slips_table(const inspection_t& i)
{
    table_t t{{"Time (GPS)", "Slip"}, {}, true};
    const auto& slips = i.quality->slips();
    for (std::size_t n = 0; n < std::min(slips.size(), kMostRows); ++n)
        t.rows.push_back({date_text(static_cast<double>(slips[n].time) / 1000.0), slip_text(slips[n], *i.carriers)});
    return t;
}

table_t jumps_table(const quality::quality_t& q)
{
    table_t t{{"Time (GPS)", "Jump of the clock (ms)"}, {}};
    const auto& jumps = q.clock_jumps();
    for (std::size_t n = 0; n < std::min(jumps.size(), kMostRows); ++n)
        t.rows.push_back(
            {date_text(static_cast<double>(jumps[n].time) / 1000.0), text("%+.4f", 1e3 * jumps[n].seconds)});
    return t;
}

table_t damage_table(const inspection_t& i)
{
    table_t t{{"At byte", "Bytes lost", "Cause"}, {}};
    for (std::size_t n = 0; n < std::min(i.damage.size(), kMostRows); ++n)
        t.rows.push_back({std::to_string(i.damage[n].offset), std::to_string(i.damage[n].bytes), i.damage[n].cause});
    if (i.findings > 0)
        t.rows.push_back({i.first_finding, "-", "first of " + plural(i.findings, "error") + "; kvx check"});
    return t;
}

table_t messages_rows(const summary_t& s)
{
    table_t t{{"Message", "Number", "Frames", "Bytes", "Refused"}, {}};
    for (const auto& [id, m] : s.messages)
        t.rows.push_back({message_name(id), std::to_string(id), std::to_string(m.frames), std::to_string(m.bytes),
                          std::to_string(m.refused)});
    return t;
}

}   // namespace

std::string all_tables(subject_t& s)
{
    const inspection_t& i = s.inspection;
    const quality::quality_t& q = *i.quality;
    const auto shown = [](std::size_t n) { return std::min(n, kMostRows); };
    return section("Signals", signals_table(s)) + section("Satellites", satellites_table(s)) +
           section("Slips", slips_table(i), note_of(q.slip_count(), shown(q.slips().size()))) +
           section("Clock jumps", jumps_table(q), note_of(q.clock_jump_count(), shown(q.clock_jumps().size()))) +
           section("Damage", damage_table(i), note_of(i.damage.size(), shown(i.damage.size()))) +
           section("Messages", messages_rows(i.summary));
}

}   // namespace kvx::report
