// What came of RINEX files, for people and for programs.
#include "common/gps_time.h"
#include "common/json_text.h"
#include "common/text_format.h"
#include "revise/revision.h"

namespace kvx {

namespace {

using nlohmann::ordered_json;

constexpr int kVersion = 1;   // of the schema: a field that means something else than before makes a new one

std::string date(std::int64_t ms)
{
    return date_text(static_cast<double>(ms) / 1000.0);
}

double seconds(std::int64_t ms)
{
    return static_cast<double>(ms) / 1000.0;
}

std::string version_text(int version)
{
    return text("%d.%02d", version / 100, version % 100);
}

template <typename Counts>
std::string counted(const Counts& counts)
{
    std::string all;
    for (const auto& [name, n] : counts) all += (all.empty() ? "" : ", ") + std::to_string(n) + " of " + name;
    return all;
}

std::string joined(const std::vector<std::string>& words)
{
    std::string all;
    for (const std::string& word : words) all += (all.empty() ? "" : ", ") + word;
    return all;
}

std::string line_of(std::uint64_t n, const char* one, const std::string& what)
{
    return n == 0 ? "" : "  " + plural(n, one) + " " + what + "\n";
}

std::string version_losses_text(const observation_outcome_t& o)
{
    const std::string version = "  " + version_text(o.version) + " cannot carry: ";
    std::string out;
    if (!o.losses.values.empty()) out += version + counted(o.losses.values) + "\n";
    if (!o.labels.empty()) out += version + "the header lines " + joined(o.labels) + "\n";
    if (o.losses.picoseconds > 0) out += version + "picoseconds of " + plural(o.losses.picoseconds, "epoch") + "\n";
    if (o.losses.clock_offsets > 0)
        out += version + "all decimals of " + plural(o.losses.clock_offsets, "receiver clock offset") + "\n";
    if (o.losses.event_lines > 0) out += version + plural(o.losses.event_lines, "header line") + " of events\n";
    std::string meanings;
    for (const auto& [from, to] : o.meanings) meanings.append(" ").append(from).append("=").append(to);
    if (!meanings.empty()) out += "  types, of which 2.11 does not tell the signal:" + meanings + "\n";
    return out;
}

std::string observations_text(const observation_outcome_t& o)
{
    std::string out = "  " + plural(o.epochs, "epoch") + " from " + date(o.first) + " to " + date(o.last) + " (GPS)" +
                      text(", every %.2f s, ", o.step) + plural(o.gaps, "gap");
    if (o.gaps > 0) out += text(", the longest %.3f s from ", seconds(o.longest.length)) + date(o.longest.begin);
    out += "\n  satellites: " + std::to_string(o.satellites) + "\n";
    out += line_of(o.events, "event", "among them");
    out += line_of(o.outside, "epoch", "left out, outside the window");
    out += line_of(o.off_grid, "epoch", "left out, off the grid");
    out += line_of(o.empty, "epoch", "left out, without anything that was asked for");
    out += line_of(o.overlaps, "epoch", "that several files had, written once");
    out += line_of(o.timeless, "epoch", "left out, without a time that can be read");
    for (const std::string& note : o.notes) out += "  " + note + "\n";
    return out + version_losses_text(o);
}

std::string navigation_text(const navigation_outcome_t& n)
{
    std::string out =
        "  navigation records: " + std::to_string(n.read) + ", written: " + std::to_string(n.written) + "\n";
    out += line_of(n.repeated, "record", "that stood there already, written once");
    out += line_of(n.outside, "record", "left out, outside the window");
    out += line_of(n.not_asked, "record", "left out, not asked for");
    if (!n.lost.empty()) out += "  " + version_text(n.version) + " cannot carry: " + counted(n.lost) + "\n";
    if (!n.labels.empty())
        out += "  " + version_text(n.version) + " cannot carry: the header lines " + joined(n.labels) + "\n";
    return out;
}

ordered_json observations_json(const observation_outcome_t& o)
{
    ordered_json j = {{"rinex", version_text(o.version)},
                      {"epochs", o.epochs},
                      {"first", date(o.first)},
                      {"last", date(o.last)},
                      {"interval", o.step},
                      {"satellites", o.satellites},
                      {"events", o.events},
                      {"left_out",
                       {{"outside_window", o.outside},
                        {"off_grid", o.off_grid},
                        {"not_asked", o.empty},
                        {"overlaps", o.overlaps},
                        {"without_time", o.timeless}}},
                      {"gaps", {{"count", o.gaps}}},
                      {"not_carried",
                       {{"values", o.losses.values},
                        {"header_lines", o.labels},
                        {"picoseconds", o.losses.picoseconds},
                        {"clock_offsets", o.losses.clock_offsets},
                        {"event_lines", o.losses.event_lines}}},
                      {"types", o.meanings},
                      {"notes", o.notes}};
    if (o.gaps > 0) {
        j["gaps"]["longest"] = seconds(o.longest.length);
        j["gaps"]["longest_from"] = date(o.longest.begin);
    }
    return j;
}

ordered_json navigation_json(const navigation_outcome_t& n)
{
    return {{"rinex", version_text(n.version)},
            {"read", n.read},
            {"written", n.written},
            {"left_out", {{"repeated", n.repeated}, {"outside_window", n.outside}, {"not_asked", n.not_asked}}},
            {"not_carried", {{"records", n.lost}, {"header_lines", n.labels}}}};
}

}   // namespace

std::string revision_text(const revision_t& r)
{
    std::string out = joined(r.inputs) + ":\n";
    if (r.observations) out += observations_text(*r.observations);
    if (r.navigation) out += navigation_text(*r.navigation);
    if (r.faults.count > 0) out += "  " + plural(r.faults.count, "fault") + " in what was read:\n";
    for (const std::string& fault : r.faults.first) out += "    " + fault + "\n";
    for (const std::string& file : r.files) out += "  wrote " + file + "\n";
    return out;
}

std::string revision_json(const revision_t& r)
{
    ordered_json j = {{"schema", "kvx-convert-rinex"}, {"version", kVersion}, {"inputs", r.inputs}};
    if (r.observations) j["observations"] = observations_json(*r.observations);
    if (r.navigation) j["navigation"] = navigation_json(*r.navigation);
    j["faults"] = {{"count", r.faults.count}, {"first", r.faults.first}};
    j["files"] = r.files;
    return json_text(j) + "\n";
}

}   // namespace kvx
