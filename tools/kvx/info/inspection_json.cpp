// The inspection for programs.
#include <cmath>

#include "common/gps_time.h"
#include "info/inspection.h"
#include "info/signal_rows.h"
#include "log/summary_json.h"

namespace kvx {

namespace {

using nlohmann::ordered_json;
using quality::kElevationSteps;

constexpr int kVersion = 1;   // of the schema: a field that means something else than before makes a new one

std::string time_text(std::int64_t ms)
{
    return date_text(static_cast<double>(ms) / 1000.0);
}

// No more digits than the value has.
double rounded(double x, int decimals)
{
    const double unit = std::pow(10.0, decimals);
    return std::round(x * unit) / unit;
}

ordered_json strengths_json(const quality::strengths_t& s)
{
    ordered_json by_elevation = ordered_json::array();
    for (std::size_t step = 0; step < kElevationSteps; ++step) {
        const double median = s.median(step);
        by_elevation.push_back(median > 0.0 ? ordered_json(rounded(median, 2)) : ordered_json(nullptr));
    }
    return {{"least", rounded(s.least(), 2)},
            {"median", rounded(s.median(), 2)},
            {"greatest", rounded(s.greatest(), 2)},
            {"by_elevation", by_elevation}};
}

ordered_json multipath_json(const quality::multipath_count_t& m)
{
    ordered_json by_elevation = ordered_json::array();
    for (std::size_t step = 0; step < kElevationSteps; ++step) {
        const quality::scatter_t& s = m.steps[step];
        by_elevation.push_back(s.count > 0 ? ordered_json(rounded(s.rms(), 4)) : ordered_json(nullptr));
    }
    return {{"rms", rounded(m.all().rms(), 4)}, {"values", m.all().count}, {"by_elevation", by_elevation}};
}

ordered_json signals_json(inspection_t& i)
{
    ordered_json rows = ordered_json::array();
    for (const signal_row_t& r : signal_rows(i)) {
        ordered_json row = {{"signal", r.name}, {"satellites", r.satellites}, {"observations", r.observed}};
        if (i.quality) {
            row["above_10"] = r.above;
            row["possible"] = r.possible;
            row["phases"] = r.phases;
            row["half_cycles"] = r.half_cycles;
            row["slips"] = r.slips;
            if (r.strengths->count() > 0) row["cn0"] = strengths_json(*r.strengths);
            if (r.multipath.all().count > 0) row["multipath"] = multipath_json(r.multipath);
        }
        rows.push_back(row);
    }
    return rows;
}

ordered_json satellites_json(inspection_t& i)
{
    ordered_json rows = ordered_json::array();
    for (const satellite_row_t& r : satellite_rows(i)) {
        ordered_json row = {{"satellite", r.satellite.name()}, {"epochs", r.epochs}};
        if (i.quality) {
            row["above_10"] = r.count.above;
            row["possible"] = r.count.possible;
            row["slips"] = r.count.slips;
            row["ephemerides"] = r.count.ephemerides;
            row["in_positions"] = r.count.used;
            row["rejected"] = r.count.rejected;
            if (r.count.used > 0) row["residual_rms"] = rounded(r.count.residual_rms(), 4);
        }
        auto& signals = row["signals"] = ordered_json::object();
        for (const auto& [code, n] : r.signals) signals[code] = n;
        rows.push_back(row);
    }
    return rows;
}

ordered_json slips_json(const inspection_t& i)
{
    ordered_json list = ordered_json::array();
    for (const quality::slip_t& slip : i.quality->slips()) {
        ordered_json signals = ordered_json::array(), signs = ordered_json::array();
        for (int signal = 0; signal < 64; ++signal) {
            if ((slip.signals >> signal & 1) != 0) signals.push_back(i.carriers->code(slip.place, signal));
        }
        for (std::size_t sign = 0; sign < std::size(kSlipSigns); ++sign) {
            if ((slip.signs >> sign & 1) != 0) signs.push_back(kSlipSigns[sign]);
        }
        ordered_json row = {{"time", time_text(slip.time)},
                            {"satellite", rinex::satellite_at(slip.place).name()},
                            {"signals", signals},
                            {"signs", signs}};
        if (slip.cycles != 0.0) row["cycles"] = rounded(slip.cycles, 2);
        list.push_back(row);
    }
    return {{"count", i.quality->slip_count()}, {"list", list}};
}

ordered_json jumps_json(const quality::quality_t& q)
{
    ordered_json list = ordered_json::array();
    for (const quality::clock_jump_t& jump : q.clock_jumps())
        list.push_back({{"time", time_text(jump.time)}, {"milliseconds", rounded(1e3 * jump.seconds, 6)}});
    return {{"count", q.clock_jump_count()}, {"list", list}};
}

ordered_json place_json(const quality::positions_t& p)
{
    const position::vec3_t mean = p.mean();
    const position::geodetic_t at = position::geodetic_of(mean);
    const auto d = p.deviations();
    return {{"positions", p.count()},
            {"mean", {rounded(mean.x, 4), rounded(mean.y, 4), rounded(mean.z, 4)}},
            {"latitude", rounded(at.lat * position::kRadian, 9)},
            {"longitude", rounded(at.lon * position::kRadian, 9)},
            {"height", rounded(at.height, 4)},
            {"scatter", {rounded(d[0], 4), rounded(d[1], 4), rounded(d[2], 4)}}};
}

ordered_json range_json(const quality::range_t& r)
{
    return {{"least", rounded(r.least, 3)}, {"mean", rounded(r.mean(), 3)}, {"greatest", rounded(r.greatest, 3)}};
}

ordered_json positions_json(const quality::quality_t& q)
{
    ordered_json j = ordered_json::object();
    if (q.fixes().count() > 0) {
        auto& receiver = j["receiver"] = place_json(q.fixes());
        for (const auto& [kind, n] : q.fix_kinds()) receiver["types"][std::to_string(kind)] = n;
    }
    if (q.computed().count() == 0) return j;
    auto& computed = j["computed"] = place_json(q.computed());
    computed["satellites"] = range_json(q.satellites_used());
    computed["pdop"] = range_json(q.pdop());
    computed["hdop"] = range_json(q.hdop());
    computed["vdop"] = range_json(q.vdop());
    if (q.distances().count() > 0) computed["within_95"] = rounded(q.distances().within(0.95), 2);
    return j;
}

ordered_json damage_json(const inspection_t& i)
{
    ordered_json list = ordered_json::array();
    for (const damage_t& d : i.damage) list.push_back({{"byte", d.offset}, {"bytes", d.bytes}, {"cause", d.cause}});
    return list;
}

const char* name_of(inspection_t::kind_t kind)
{
    constexpr const char* kNames[] = {"log", "observations", "navigation"};
    return kNames[static_cast<std::size_t>(kind)];
}

}   // namespace

std::string inspection_json(inspection_t& i)
{
    const bool log = i.kind == inspection_t::kind_t::log;
    ordered_json j = {{"schema", "kvx-info"}, {"version", kVersion}, {"kind", name_of(i.kind)}};
    ordered_json summary = summary_object(i.summary);
    if (!log) {
        for (const char* of_logs : {"log", "good_bytes", "messages", "lost"}) summary.erase(of_logs);
        j["file"] = i.summary.log;
        j["header"] = i.header;
        j["errors"] = i.findings;
        if (i.findings > 0) j["first_error"] = i.first_finding;
    }
    for (auto& [key, value] : summary.items()) j[key] = value;
    auto& systems = j["satellites_by_system"] = ordered_json::object();
    for (const satellite_row_t& r : satellite_rows(i)) {
        if (r.epochs > 0) systems[r.satellite.system().name] = systems.value(r.satellite.system().name, 0) + 1;
    }
    if (log) j["lost"]["list"] = damage_json(i);
    j["signals"] = signals_json(i);
    j["satellites"] = satellites_json(i);
    if (i.quality && i.kind != inspection_t::kind_t::navigation) {
        j["slips"] = slips_json(i);
        j["clock_jumps"] = jumps_json(*i.quality);
        j["positions"] = positions_json(*i.quality);
    }
    return json_text(j) + "\n";
}

}   // namespace kvx
