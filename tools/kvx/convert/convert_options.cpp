#include "convert/convert_options.h"

#include <algorithm>
#include <map>

#include "common/ascii.h"
#include "common/command_line.h"
#include "common/progress.h"
#include "common/systems.h"
#include "convert/file_names.h"
#include "convert/header_settings.h"
#include "convert/name_pattern.h"
#include "gnss/rinex/options.h"

namespace kvx {

namespace {

// "3" and "4" are the newest of theirs.
const std::map<std::string, std::string> kVersions = {{"2", "2.11"}, {"3", "3.05"}, {"4", "4.02"}};
const std::vector<std::string> kOwnVersions = {"2.11", "3.04", "3.05", "4.02"};
constexpr int kFirstNotCompact = 402;
const std::vector<std::string> kHostVersions = {"2.11", "3.02", "3.03", "3.04"};

// A text for a header line: printable ASCII that fits its columns.
void add_text(command_line_t& app, const std::string& name, std::string& value, std::size_t columns,
              const std::string& help)
{
    const auto take = [&value, name, columns](const std::string& text) {
        const auto ascii = to_ascii(text);
        if (!ascii) throw usage_error_t(name, "'" + text + "' has characters that RINEX cannot carry; use ASCII");
        if (ascii->size() > columns)
            throw usage_error_t(
                name, "'" + text + "' is longer than the " + std::to_string(columns) + " columns of its line");
        value = *ascii;
    };
    app.option(name, take, help, {.type_name = "TEXT", .default_text = value});
}

void add_output_options(command_line_t& app, convert_options_t& o)
{
    app.option("LOG", &o.logs,
               "Logs of the receiver board, RINEX files; .gz and .zst are read directly, - is standard input",
               {.default_text = ""});
    app.section("Output");
    app.option("-o,--output", &o.folder, "Folder for the files, made if need be",
               {.type_name = "DIR", .show_default = true});
    app.option("--name", &o.name, "Stem of the file names instead of the RINEX convention",
               {.check = {[](const std::string& s) { return s.find('/') == s.npos ? "" : "is a stem, not a path"; }},
                .type_name = "STEM"});
    app.option("--scratch", &o.scratch,
               "Folder for what is made on the way to compact and compressed files: a fast disk of this machine",
               {.type_name = "DIR", .default_text = "that of --output"});
    app.flag("--force", &o.force, "Replace files that exist");
    app.option("--rinex", &o.rinex, "RINEX version; 3 and 4 stand for the newest of them",
               {.type_name = "VERSION", .words = {"2.11", "3.04", "3.05", "4.02"}, .default_text = "3.05"});
    app.option("--nav", &o.nav, "Navigation files: one per system, one for all, none",
               {.check = one_of({"split", "mixed", "none"}), .default_text = "mixed; of 2.11, GPS and GLONASS"});
    app.flag("--nav-repeats", &o.nav_repeats, "Write ephemerides as often as the log repeats them");
    app.option("-j,--jobs", &o.jobs, "Logs converted at once", {.check = whole_within(1, 256), .show_default = true});
    app.flag("--xyz", &o.position_listing, "Also list the positions of the log, a line per fix");
    app.flag("--crx", &o.crx, "Make observation files compact (Hatanaka compression)");
    app.flag("--gz", &o.gz, "Compress the files with gzip");
    app.flag("--zst", &o.zst, "Compress the files with Zstandard", {.excludes = "--gz"});
    app.flag("--verify", &o.verify, "Prove that the files hold all that the log sent before they get their names");
    app.flag("--json", &o.json, "Print the summary as JSON");
    add_quiet_option(app, &o.quiet, "and no summary but that as JSON");
}

// "15m", "1h", "1d" in ms: whole minutes of which a day is a multiple; 0: none of these.
std::int64_t unit_of_day(const std::string& text)
{
    constexpr std::int64_t kMinute = 60'000, kDay = 1440 * kMinute;
    const std::map<char, std::int64_t> units = {{'m', kMinute}, {'h', 60 * kMinute}, {'d', kDay}};
    const auto unit = text.empty() ? units.end() : units.find(text.back());
    const bool digits = text.size() > 1 && text.size() < 6 &&
                        std::all_of(text.begin(), text.end() - 1, [](char c) { return c >= '0' && c <= '9'; });
    if (unit == units.end() || !digits) return 0;
    const std::int64_t span = std::stoi(text) * unit->second;
    return span > 0 && kDay % span == 0 ? span : 0;
}

void add_session_options(command_line_t& app, convert_options_t& o)
{
    const auto fault = [](const std::string& text) -> std::string {
        return unit_of_day(text) > 0 ? "" : "'" + text + "' is no part of a day such as 15m, 1h or 1d";
    };
    app.section("Sessions");
    app.flag("--join", &o.join, "The logs are one session, in any order: one file, what they have in common once");
    app.option("--split", [&o](const std::string& text) { o.split = unit_of_day(text); },
               "Files of so long each, cut at whole units of GPS time: 15m, 1h, 1d",
               {.check = {fault, ""}, .type_name = "UNIT"});
    app.flag("--follow", &o.follow, "Wait for more at the end of a log that is being written");
}

void add_batch_options(command_line_t& app, convert_options_t& o)
{
    app.section("Archives");
    app.option(
        "--batch", &o.batch,
        "Convert the logs of a list (a line each: LOG, or LOG, marker and country between tabs), or of a folder and "
        "those below it; what is done already is skipped",
        {.type_name = "FILE"});
    app.option("--match", &o.match, "Of a folder the files of such names: *.log", {.type_name = "PATTERN"});
    app.option(
        "--tree", &o.tree,
        "Folders for the files below that of --output: {yyyy}/{doy}/{site}; also {yy}, {mm}, {dd}, {hh}, and of the "
        "log {stem} and {dir}, with a number ({stem:4}) the first characters",
        {.check = {fault_in_tree, ""}, .type_name = "PATTERN"});
    app.option("--ledger", &o.ledger, "Account of the batch, a line of JSON a log",
               {.type_name = "FILE", .default_text = "kvx-ledger.ndjson in the folder of --output"});
    app.option("--known", &o.known, "Ledgers of other runs, which tell what is done, too", {.type_name = "FILE"});
    app.flag("--adopt", &o.adopt,
             "Files of logs that are gone (moved, renamed, compressed) go over to those that make them again");
    app.flag("--checksum", &o.checksum, "Compare the contents of logs and files, not their sizes and times alone");
}

void add_event_option(command_line_t& app, convert_options_t& o)
{
    app.section("Selection");
    app.option("--events", [&o](const std::string& events) { o.events = events == "keep"; },
               "Marks and stops of the receiver as event records: keep or none", {.check = one_of({"keep", "none"})});
}

void add_header_options(command_line_t& app, convert_options_t& o)
{
    app.section("Header");
    add_text(app, "--marker", o.marker, kMarkerColumns, "Marker name; also names the site in the file names");
    add_text(app, "--marker-number", o.marker_number, 20, "Marker number");
    add_text(app, "--marker-type", o.marker_type, 20, "Marker type, as listed in RINEX 3.05 (default: GEODETIC)");
    const auto set = [&o](const std::vector<std::string>& texts) {
        for (const std::string& text : texts) {
            o.settings.push_back(header_setting(text));
            if (o.settings.back().label == "MARKER NAME") o.marker = o.settings.back().text;   // also in file names
        }
    };
    app.option("--set", set, "A header line, its label before the =: \"MARKER NAME=BASE\"; may be given more than once",
               {.one_argument = true, .type_name = "LABEL=TEXT"});
    app.option("--country", &o.country, "Country of the site in the file names, three letters of ISO 3166",
               {.check = {fault_in_country, "CCC"}});
    add_text(app, "--observer", o.observer, 20, "Observer");
    add_text(app, "--agency", o.agency, 40, "Observer's agency");
    add_text(app, "--run-by", o.run_by, 20, "Who ran the conversion");
    add_text(app, "--antenna-type", o.antenna_type, 20, "Antenna type and radome; else as the log says");
    add_text(app, "--antenna-number", o.antenna_number, 20, "Antenna number");
    app.option("--antenna-delta", &o.antenna_delta, "Antenna height, east and north of the marker (m)",
               {.check = within(-99999.0, 99999.0), .delimiter = ',', .values = 3, .type_name = "H,E,N"});
    add_text(app, "--receiver-number", o.receiver_number, 20, "Receiver number; else as the log says");
    add_text(app, "--receiver-type", o.receiver_type, 20, "Receiver type; else as the log says, for hosts KV4A0");
    add_text(app, "--receiver-version", o.receiver_version, 20, "Receiver firmware version; else as the log says");
}

void add_host_options(command_line_t& app, convert_options_t& o)
{
    app.section("For hosts");
    app.flag("--as-host", &o.as_host,
             "Write byte for byte what a host application of the library gets: 2.11, 3.02, 3.03 or 3.04 (default)");
    app.option("--receiver-kind", &o.receiver_kind, "Kind of board; chooses the observation types",
               {.check = one_of(std::vector<int>(std::begin(rinex::kBoardKinds), std::end(rinex::kBoardKinds))),
                .show_default = true});
    app.flag("--no-signal-map", &o.no_signal_map, "Leave signals in their slots whatever the receiver's override flag");
    app.flag("--raw-prn", &o.raw_prn, "Map PRNs to satellites by fixed offsets");
}

void complete_batch(const command_line_t& app, convert_options_t& o)
{
    if (o.batch.empty() && o.logs.empty()) throw usage_error_t("LOG is required");
    if (o.batch.empty()) {
        const bool lonely =
            !o.tree.empty() || !o.ledger.empty() || !o.known.empty() || o.checksum || o.adopt || o.match != "*";
        if (lonely)
            throw usage_error_t("--batch",
                                "--match, --tree, --ledger, --known, --adopt and --checksum are for batches");
        return;
    }
    if (!o.logs.empty()) throw usage_error_t("--batch", "names the logs; LOG is for those without");
    if (o.join || o.follow || o.as_host || !o.name.empty() || o.force)
        throw usage_error_t("--batch", "takes no --join, --follow, --as-host, --name or --force");
    if (const std::string fault = fault_in_fields(o.marker, {"stem", "dir"}); !fault.empty())
        throw usage_error_t("--marker", fault);
    if (o.ledger.empty()) o.ledger = o.folder + "/kvx-ledger.ndjson";
    o.spelled = KVX_VERSION + app.spelled({"--batch", "--match", "--ledger", "--known", "--checksum", "--output",
                                           "--jobs", "--quiet", "--json", "--scratch", "--adopt", "--verify"});
}

void complete_session(const convert_options_t& o)
{
    if (o.as_host && (o.join || o.follow || o.split > 0))
        throw usage_error_t("--as-host", "takes no --join, --split or --follow");
    if (o.join && (o.follow || std::find(o.logs.begin(), o.logs.end(), "-") != o.logs.end()))
        throw usage_error_t("--join", "needs logs that are whole: they are looked at before they are read");
    if (o.follow && (o.logs.size() > 1 || o.verify))
        throw usage_error_t("--follow", "is for one log, and not with --verify: it cannot be read again");
}

void complete(convert_options_t& o)
{
    const auto& versions = o.as_host ? kHostVersions : kOwnVersions;
    if (const auto newest = kVersions.find(o.rinex); newest != kVersions.end()) o.rinex = newest->second;
    o.version_given = !o.rinex.empty();
    if (o.rinex.empty()) o.rinex = o.as_host ? "3.04" : "3.05";
    if (o.as_host && o.receiver_type.empty()) o.receiver_type = "KV4A0";
    if (std::find(versions.begin(), versions.end(), o.rinex) == versions.end()) {
        std::string list;
        for (const std::string& version : versions) list += (list.empty() ? "" : ", ") + version;
        throw usage_error_t("--rinex", o.rinex + " is not written" + (o.as_host ? " by the library: " : ": ") + list);
    }
    if (o.navigation() == "mixed" && o.version() < 300)
        throw usage_error_t("--nav", "RINEX 2.11 has no mixed navigation files");
    if (o.as_host && (!o.satellites.empty() || !o.signals.empty() || o.names_changed || o.anchor_first || !o.events))
        throw usage_error_t("--as-host", "takes no --satellites, --signals, --signal, --anchor or --events");
    if (o.as_host && !o.settings.empty()) throw usage_error_t("--as-host", "takes no --set");
    complete_session(o);
    if (o.verify && (o.as_host || std::find(o.logs.begin(), o.logs.end(), "-") != o.logs.end()))
        throw usage_error_t("--verify", "needs files with every signal, and a log that can be read again");
    if (o.crx && o.version() >= kFirstNotCompact)
        throw usage_error_t(
            "--crx", "RINEX 4.02 belongs to CRINEX 3.1, which is not written here; use --gz alone, or --rinex 3.05");
    o.wanted_systems = systems_of(o.systems);
}

}   // namespace

double convert_options_t::passes() const
{
    constexpr double kText = 2.0, kCompact = 0.5;   // bytes of an observation file to one of its log
    if (follow) return 0.0;
    return 1.0 + (verify ? 1.0 : 0.0) + (crx ? kText : 0.0) + (packs() ? (crx ? kCompact : kText) : 0.0);
}

int convert_options_t::version() const
{
    return (rinex[0] - '0') * 100 + std::stoi(rinex.substr(2));
}

std::string convert_options_t::navigation() const
{
    if (!nav.empty()) return nav;
    return version() >= 300 ? "mixed" : "split";
}

void add_convert_options(command_line_t& app, convert_options_t& options)
{
    add_output_options(app, options);
    add_session_options(app, options);
    add_batch_options(app, options);
    add_selection_options(app, options, "to write");
    add_event_option(app, options);
    add_header_options(app, options);
    add_host_options(app, options);
    app.when_read([&options](const command_line_t& command) {
        complete(options);
        complete_batch(command, options);
    });
}

}   // namespace kvx
