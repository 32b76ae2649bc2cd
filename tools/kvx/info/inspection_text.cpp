// The inspection for people.
#include <algorithm>
#include <cmath>
#include <map>

#include "common/gps_time.h"
#include "common/text_format.h"
#include "info/inspection.h"
#include "info/signal_rows.h"

namespace kvx {

namespace {

using quality::kElevationSteps;

std::string percent(std::uint64_t part, std::uint64_t whole)
{
    if (whole == 0) return "      -";
    // 100 % is all of it.
    const double share = 100.0 * static_cast<double>(part) / static_cast<double>(whole);
    return text("%6.1f%%", part < whole ? std::min(share, 99.9) : share);
}

std::string number_or_dash(bool known, double value, int width, int decimals)
{
    return known ? text("%*.*f", width, decimals, value) : text("%*s", width, "-");
}

std::string satellites_text(const std::vector<satellite_row_t>& satellites)
{
    std::string out = "  satellites:";
    for (const rinex::constellation_t& c : rinex::kConstellations) {
        const auto n = std::count_if(satellites.begin(), satellites.end(), [&](const satellite_row_t& s) {
            return s.satellite.letter() == c.letter && s.epochs > 0;
        });
        if (n > 0) out += " " + std::string(c.name) + " " + std::to_string(n);
    }
    return out + "\n";
}

std::string signals_text(const std::vector<signal_row_t>& rows)
{
    std::string out = "  signal  sats observed possible C/N0 min   med   max  slips  half multipath\n";
    for (const signal_row_t& r : rows) {
        const bool strength = r.strengths->count() > 0, multipath = r.multipath.all().degrees > 0;
        out += text("  %-6s", r.name.c_str()) + right(r.satellites, 6) + right(r.observed, 9) + "  " +
               percent(r.above, r.possible) + number_or_dash(strength, r.strengths->least(), 9, 1) +
               number_or_dash(strength, r.strengths->median(), 6, 1) +
               number_or_dash(strength, r.strengths->greatest(), 6, 1) + right(r.slips, 7) + right(r.half_cycles, 6) +
               number_or_dash(multipath, r.multipath.all().rms(), 8, 2) + (multipath ? " m\n" : "\n");
    }
    return out;
}

std::string seen_signals_text(const std::vector<signal_row_t>& rows)
{
    std::string out = "  signal  satellites  observations\n";
    for (const signal_row_t& r : rows)
        out += text("  %-6s", r.name.c_str()) + right(r.satellites, 12) + right(r.observed, 14) + "\n";
    return out;
}

std::string elevations_head(const char* what)
{
    std::string out = text("  %-15s", what);
    for (std::size_t step = 0; step < kElevationSteps; ++step) out += text("%4zu-%zu", 10 * step, 10 * step + 10);
    return out + "\n";
}

std::string elevations_text(const std::vector<signal_row_t>& rows)
{
    std::string strengths, multipath;
    for (const signal_row_t& r : rows) {
        std::string line = text("  %-15s", r.name.c_str());
        bool any = false;
        for (std::size_t step = 0; step < kElevationSteps; ++step) {
            const double median = r.strengths == nullptr ? 0.0 : r.strengths->median(step);
            any |= median > 0.0;
            line += number_or_dash(median > 0.0, median, 7, 1);
        }
        if (any) strengths += line + "\n";
        line = text("  %-15s", r.name.c_str());
        any = false;
        for (std::size_t step = 0; step < kElevationSteps; ++step) {
            const quality::scatter_t& s = r.multipath.steps[step];
            any |= s.count > 0;
            line += number_or_dash(s.count > 0, s.rms(), 7, 2);
        }
        if (any) multipath += line + "\n";
    }
    std::string out;
    if (!strengths.empty()) out += elevations_head("C/N0 (dB-Hz) at") + strengths;
    if (!multipath.empty()) out += elevations_head("multipath (m)") + multipath;
    return out;
}

std::string satellite_rows_text(const std::vector<satellite_row_t>& rows)
{
    std::string out = "  satellite epochs possible  slips  ephemerides  in positions  rejected  residual\n";
    for (const satellite_row_t& r : rows) {
        if (r.epochs == 0 && r.count.possible == 0) continue;   // it never rose
        const bool used = r.count.used > 0;
        out += text("  %-9s", r.satellite.name().c_str()) + right(r.epochs, 7) + "  " +
               percent(r.count.above, r.count.possible) + right(r.count.slips, 7) + right(r.count.ephemerides, 13) +
               right(r.count.used, 14) + right(r.count.rejected, 10) +
               number_or_dash(used, r.count.residual_rms(), 8, 2) + (used ? " m\n" : "\n");
    }
    return out;
}

// Names and a number each, a dozen a line.
std::string counts_text(const char* what, const std::vector<satellite_row_t>& rows,
                        const std::function<std::uint64_t(const satellite_row_t&)>& count)
{
    std::string out = std::string("  ") + what;
    std::size_t n = 0;
    for (const satellite_row_t& r : rows)
        out += (n++ % 12 == 0 ? "\n    " : "  ") + r.satellite.name() + " " + std::to_string(count(r));
    return out + "\n";
}

constexpr std::size_t kMostLines = 20;

std::string slips_text(const inspection_t& i)
{
    const auto& slips = i.quality->slips();
    if (i.quality->slip_count() == 0) return i.quality->epochs() > 0 ? "  no slips\n" : "";
    std::string out = "  " + plural(i.quality->slip_count(), "slip") + "\n";
    for (std::size_t n = 0; n < std::min(slips.size(), kMostLines); ++n)
        out += "    " + date_text(static_cast<double>(slips[n].time) / 1000.0) + "  " +
               slip_text(slips[n], *i.carriers) + "\n";
    if (i.quality->slip_count() > kMostLines)
        out += "    and " + std::to_string(i.quality->slip_count() - kMostLines) + " more; --json names " +
               (i.quality->slip_count() > slips.size() ? "the first " + std::to_string(slips.size()) : "all") + "\n";
    return out;
}

std::string jumps_text(const quality::quality_t& q)
{
    if (q.clock_jump_count() == 0) return "";
    std::string out = "  " + plural(q.clock_jump_count(), "jump") + " of the receiver's clock\n";
    for (std::size_t n = 0; n < std::min(q.clock_jumps().size(), kMostLines); ++n) {
        const quality::clock_jump_t& jump = q.clock_jumps()[n];
        out += "    " + date_text(static_cast<double>(jump.time) / 1000.0) + text("  %+.4f ms\n", 1e3 * jump.seconds);
    }
    return out;
}

std::string place_text(const char* what, const quality::positions_t& p, const std::string& of_what)
{
    const position::geodetic_t at = position::geodetic_of(p.mean());
    const auto d = p.deviations();
    return text("  %s ", what) + plural(p.count(), "position") + of_what +
           text("\n    mean %.8f %.8f %.3f m, scatter %.3f east %.3f north %.3f up (m)\n", at.lat * position::kRadian,
                at.lon * position::kRadian, at.height, d[0], d[1], d[2]);
}

std::string positions_text(const quality::quality_t& q)
{
    std::string out;
    if (q.fixes().count() > 0) {
        std::string kinds;
        for (const auto& [kind, n] : q.fix_kinds())
            kinds += (kinds.empty() ? " of type " : ", ") + std::to_string(kind) + " (" + std::to_string(n) + ")";
        out += place_text("receiver:", q.fixes(), kinds);
    }
    if (q.computed().count() > 0) {
        out += place_text("computed:", q.computed(), " from the ranges of " + plural(q.epochs(), "epoch"));
        out += text("    satellites %.0f to %.0f, mean %.1f; PDOP %.2f, HDOP %.2f, VDOP %.2f, worst PDOP %.2f\n",
                    q.satellites_used().least, q.satellites_used().greatest, q.satellites_used().mean(),
                    q.pdop().mean(), q.hdop().mean(), q.vdop().mean(), q.pdop().greatest);
    } else if (q.epochs() > 0) {
        out += "  computed: no position; that needs ranges and ephemerides of four satellites and more\n";
    }
    if (q.fixes().count() > 0 && q.computed().count() > 0) {
        const position::vec3_t d =
            position::axes_t(position::geodetic_of(q.fixes().mean())).local(q.computed().mean() - q.fixes().mean());
        out += text("    computed - receiver: %+.3f east %+.3f north %+.3f up (m); 95 %% within %.2f m\n", d.x, d.y,
                    d.z, q.distances().within(0.95));
    }
    return out;
}

std::string damage_text(const inspection_t& i)
{
    std::string out;
    for (std::size_t n = 0; n < std::min(i.damage.size(), kMostLines); ++n)
        out += "    at byte " + std::to_string(i.damage[n].offset) + ": " + plural(i.damage[n].bytes, "byte") + ", " +
               i.damage[n].cause + "\n";
    if (i.damage.size() > kMostLines) out += "    and more\n";
    return out;
}

std::string head(const inspection_t& i)
{
    const summary_t& s = i.summary;
    std::string out = s.log + ":\n";
    if (i.kind != inspection_t::kind_t::log) return out + "  " + i.header + "\n";
    std::uint64_t frames = 0;
    for (const auto& [id, m] : s.messages) frames += m.frames;
    return out + "  " + plural(s.bytes, "byte") + ", " + plural(frames, "message") + "\n" + messages_table(s);
}

}   // namespace

std::string damage_line(const inspection_t& inspection)
{
    if (inspection.findings == 0) return damage_line(inspection.summary);
    return plural(inspection.findings, "error") + " in its structure, the first: " + inspection.first_finding;
}

std::string inspection_text(inspection_t& i)
{
    const auto satellites = satellite_rows(i);
    const auto signals = signal_rows(i);
    std::string out = head(i);
    if (i.kind != inspection_t::kind_t::navigation) out += epochs_text(i.summary.epochs) + satellites_text(satellites);
    if (i.kind == inspection_t::kind_t::log) out += notes_text(i.summary) + damage_text(i);
    if (i.findings > 0)
        out += "  " + plural(i.findings, "error") + ", the first: " + i.first_finding + "; kvx check tells all\n";
    if (i.kind == inspection_t::kind_t::navigation)
        return out + counts_text("ephemerides:", satellites, [](const auto& r) { return r.count.ephemerides; });
    if (i.seen)
        return out + seen_signals_text(signals) +
               counts_text("epochs:", satellites, [](const auto& r) { return r.epochs; });
    if (!signals.empty()) out += signals_text(signals) + elevations_text(signals);
    if (!satellites.empty()) out += satellite_rows_text(satellites);
    return out + slips_text(i) + jumps_text(*i.quality) + positions_text(*i.quality);
}

}   // namespace kvx
