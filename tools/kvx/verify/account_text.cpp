// The account of a proof as text and as JSON.
#include "common/json_text.h"
#include "common/text_format.h"
#include "verify/verification.h"

namespace kvx {

// By fate_t.
constexpr std::array<const char*, kFates> kFateTexts = {
    "found",
    "missing",
    "different",
    "without code lock",
    "of unknown type",
    "of no satellite",
    "also in the full message",
    "second of one code",
    "also in another log",
    "in epochs out of order",
    "left out by option",
    "outside the time span",
    "off the grid of the interval",
    "without a column in this version",
    "without a value to print",
};

namespace {

using json_t = nlohmann::ordered_json;

struct signal_row_t {
    std::string system, code;
    int type;
    std::uint64_t records = 0;
    const std::array<std::uint64_t, kFates>& fates;
    std::uint64_t without_phase;

    std::uint64_t count(fate_t fate) const { return fates[static_cast<std::size_t>(fate)]; }
};

std::vector<signal_row_t> rows_of(const verification_t& result, const rinex::signals_t& names)
{
    std::vector<signal_row_t> rows;
    for (int key = 0; key < rinex::kTrackingKeys; ++key) {
        const auto [constellation, signal] = names[key];
        const auto at = static_cast<std::size_t>(key);
        signal_row_t row{constellation < 0 ? "?" : std::string(1, rinex::kConstellations[constellation].letter),
                         signal < 0 ? "" : names.codes(constellation)[static_cast<std::size_t>(signal)],
                         key & 31,
                         0,
                         result.records[at],
                         result.without_phase[at]};
        for (const std::uint64_t n : row.fates) row.records += n;
        if (row.records > 0) rows.push_back(row);
    }
    return rows;
}

std::string signal_lines(const verification_t& result, const rinex::signals_t& names)
{
    std::string lines = "signal          records       found\n";
    for (const signal_row_t& row : rows_of(result, names)) {
        lines += kvx::text("  %s %-2s type %2d", row.system.c_str(), row.code.c_str(), row.type) +
                 right(row.records, 10) + right(row.count(fate_t::found), 12);
        for (std::size_t i = 1; i < kFates; ++i) {
            if (row.fates[i] > 0) lines += "  " + std::to_string(row.fates[i]) + " " + kFateTexts[i];
        }
        if (row.without_phase > 0)
            lines += "  (" + std::to_string(row.without_phase) + " beside the phase of another signal)";
        lines += "\n";
    }
    return lines;
}

std::string observation_text(const verification_t& result, const rinex::signals_t& names)
{
    if (result.observation_files == 0) return "no observation file: ranges were not looked for\n";
    std::string line =
        "epochs: " + std::to_string(result.epochs) + " compared, " + plural(result.values, "value") + " equal";
    const auto add = [&line](std::uint64_t n, const char* what) {
        if (n > 0) line += ", " + std::to_string(n) + " " + what;
    };
    add(result.epochs_missing, "missing");
    add(result.epochs_extra, "not of the log");
    add(result.epochs_left_out, "left out");
    add(result.epochs_out_of_order, "out of order");
    return line + "\n" + signal_lines(result, names);
}

std::string navigation_text(const verification_t& result)
{
    if (result.navigation_files == 0) return "no navigation file: ephemerides were not looked for\n";
    const ephemeris_count_t& e = result.ephemerides;
    std::string line = "ephemerides: " + std::to_string(e.told) + " sent, " + std::to_string(e.sets) + " different, " +
                       std::to_string(e.found) + " found";
    const auto add = [&line](std::uint64_t n, const char* what) {
        if (n > 0) line += ", " + std::to_string(n) + " " + what;
    };
    add(e.missing, "missing");
    add(e.differ, "with other digits");
    add(e.extra, "not of the log");
    add(e.not_asked, "left out by option");
    add(e.no_file, "of systems without a file here");
    add(result.other_records, "other records not compared");
    add(result.unpublished_files, "files in no published form not compared");
    return line + "\n";
}

json_t signals_json(const verification_t& result, const rinex::signals_t& names)
{
    json_t signals = json_t::array();
    for (const signal_row_t& row : rows_of(result, names)) {
        json_t reasons = json_t::object();
        for (std::size_t i = 1; i < kFates; ++i) {
            if (row.fates[i] > 0) reasons[kFateTexts[i]] = row.fates[i];
        }
        signals.push_back({{"system", row.system},
                           {"type", row.type},
                           {"code", row.code},
                           {"records", row.records},
                           {"found", row.count(fate_t::found)},
                           {"not_found", reasons},
                           {"without_phase", row.without_phase}});
    }
    return signals;
}

}   // namespace

std::string verification_text(const verification_t& result, const rinex::signals_t& names)
{
    std::string text;
    for (const std::string& fault : result.first_faults) text += fault + "\n";
    if (result.faults > result.first_faults.size())
        text += "and " + std::to_string(result.faults - result.first_faults.size()) + " more\n";
    text += observation_text(result, names) + navigation_text(result);
    if (result.logs_damaged) text += "parts of the logs are damaged; what they held is not known\n";
    return text + (result.proven() ? "proven: the files hold what the logs sent\n"
                                   : "not proven: " + plural(result.faults, "fault") + "\n");
}

std::string verification_json(const verification_t& result, const rinex::signals_t& names)
{
    json_t json = {{"proven", result.proven()}, {"faults", result.faults}, {"first_faults", result.first_faults}};
    json["logs_damaged"] = result.logs_damaged;
    if (result.observation_files > 0) {
        json["epochs"] = {{"compared", result.epochs},
                          {"missing", result.epochs_missing},
                          {"extra", result.epochs_extra},
                          {"left_out", result.epochs_left_out},
                          {"out_of_order", result.epochs_out_of_order}};
        json["values"] = result.values;
        json["signals"] = signals_json(result, names);
    }
    if (result.navigation_files > 0) {
        const ephemeris_count_t& e = result.ephemerides;
        json["ephemerides"] = {{"sent", e.told},
                               {"different", e.sets},
                               {"found", e.found},
                               {"missing", e.missing},
                               {"other_digits", e.differ},
                               {"extra", e.extra},
                               {"not_asked", e.not_asked},
                               {"without_file", e.no_file},
                               {"other_records", result.other_records},
                               {"files_not_compared", result.unpublished_files}};
    }
    return json_text(json) + "\n";
}

}   // namespace kvx
