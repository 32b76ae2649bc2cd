#include "convert/convert_options.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "common/arguments.h"
#include "common/gps_time.h"
#include "common/systems.h"
#include "common/text_format.h"
#include "gnss/foundation/time_scales.h"
#include "gnss/rinex/options.h"
#include "gnss/rinex/version.h"

namespace kvx {

namespace {

template <std::size_t N>
void set_text(char (&field)[N], const std::string& text)
{
    std::memset(field, 0, N);
    std::memcpy(field, text.data(), std::min(text.size(), N - 1));
}

// Antenna type and radome in the 16 + 4 columns of the International GNSS Service.
std::string antenna_with_radome(const std::string& type)
{
    if (type.size() > 16) return type;
    std::string padded = type;
    padded.resize(16, ' ');
    return padded + "NONE";
}

std::string check_time(const std::string& text)
{
    return parse_gps_time(text) ? "" : "'" + text + "' is not a GPS time such as 2024-03-10 12:00:00";
}

// "2.11", "3.02", ...
std::vector<std::string> version_names()
{
    std::vector<std::string> names;
    for (const int version : rinex::kVersions) names.push_back(text("%d.%02d", version / 100, version % 100));
    return names;
}

void add_time(CLI::App& app, const std::string& name, std::optional<double>& value, const std::string& help)
{
    const auto take = [&value](const std::string& text) {
        const auto time = parse_gps_time(text);
        value = gps_seconds(time->week, time->tow);
    };
    app.add_option_function<std::string>(name, take, help)->check(CLI::Validator(check_time, "TIME"));
}

void add_output_options(CLI::App& app, convert_options_t& o)
{
    app.add_option("LOG", o.logs, "Logs of the receiver board; .gz is read directly, - is standard input")->required();
    app.add_option("-o,--output", o.folder, "Folder for the files, made if need be")->capture_default_str();
    app.add_option("--name", o.name, "Stem of the file names instead of the RINEX convention")
        ->check([](const std::string& s) { return s.find('/') == s.npos ? "" : "is a stem, not a path"; });
    app.add_option("--rinex", o.rinex, "RINEX version")->check(CLI::IsMember(version_names()))->capture_default_str();
    app.add_option("--nav", o.nav, "Navigation files: one per system, one for all, none (default: mixed; 2.11: split)")
        ->check(CLI::IsMember({"split", "mixed", "none"}));
    app.add_flag("--nav-repeats", o.nav_repeats, "Write ephemerides as often as the log repeats them");
    app.add_option("-j,--jobs", o.jobs, "Logs converted at once")->check(CLI::Range(1, 256))->capture_default_str();
    app.add_flag("--xyz", o.position_listing, "Also list the positions of the log, a line per fix");
    app.add_flag("--plain-header", o.plain_header, "Leave out header lines that the library itself does not write");
    app.add_flag("--json", o.json, "Print the summary as JSON");
}

void add_selection_options(CLI::App& app, convert_options_t& o)
{
    app.add_option("--systems", o.systems, "Systems to write")->check(system_letters())->capture_default_str();
    app.add_option("--interval", o.interval, "Keep epochs at whole multiples of S seconds from the first one on")
        ->check(within(0.01, kDay))
        ->type_name("S");
    add_time(app, "--start", o.start, "First epoch to write, GPS time YYYY-MM-DD HH:MM:SS");
    add_time(app, "--end", o.end, "Last epoch to write, GPS time");
    app.add_flag("--no-signal-map", o.no_signal_map,
                 "Leave signals in their slots whatever the receiver's override flag");
    app.add_flag("--raw-prn", o.raw_prn, "Map PRNs to satellites by fixed offsets");
}

void add_header_options(CLI::App& app, convert_options_t& o)
{
    app.add_option("--marker", o.marker, "Marker name; also names the site in the file names");
    app.add_option("--marker-number", o.marker_number, "Marker number");
    app.add_option("--marker-type", o.marker_type, "Marker type, as listed in RINEX 3.04")->capture_default_str();
    app.add_option("--observer", o.observer, "Observer");
    app.add_option("--agency", o.agency, "Observer's agency");
    app.add_option("--run-by", o.run_by, "Who ran the conversion");
    app.add_option("--antenna-type", o.antenna_type, "Antenna type and radome (default: as the log says)");
    app.add_option("--antenna-number", o.antenna_number, "Antenna number");
    app.add_option("--antenna-delta", o.antenna_delta, "Antenna height, east and north of the marker (m)")
        ->delimiter(',')
        ->expected(3)
        ->check(within(-99999.0, 99999.0))
        ->type_name("H,E,N");
    app.add_option("--receiver-number", o.receiver_number, "Receiver number");
    app.add_option("--receiver-type", o.receiver_type, "Receiver type; chooses the observation types")
        ->capture_default_str();
    app.add_option("--receiver-version", o.receiver_version, "Receiver firmware version");
    app.add_option("--receiver-kind", o.receiver_kind, "Kind of board; chooses the observation types")
        ->check(CLI::IsMember(std::vector<int>(std::begin(rinex::kBoardKinds), std::end(rinex::kBoardKinds))))
        ->capture_default_str();
}

}   // namespace

int convert_options_t::version() const
{
    return (rinex[0] - '0') * 100 + std::stoi(rinex.substr(2));
}

std::string convert_options_t::navigation() const
{
    if (!nav.empty()) return nav;
    return rinex::records_are_rinex3(version()) ? "mixed" : "split";
}

bool convert_options_t::wants(int sys) const
{
    return (systems_of(systems) & sys) != 0;
}

void add_convert_options(CLI::App& app, convert_options_t& options)
{
    add_output_options(app, options);
    add_selection_options(app, options);
    add_header_options(app, options);
    app.parse_complete_callback([&options] {
        if (options.navigation() == "mixed" && !rinex::records_are_rinex3(options.version())) {
            throw CLI::ValidationError("--nav", "RINEX 2.11 has no mixed navigation files");
        }
    });
}

rnx_t rinex_options(const convert_options_t& o, const std::string& default_marker)
{
    rnx_t opt{};
    Initial_Rnx(&opt);
    opt.version = o.version();
    opt.rcvkind = o.receiver_kind;
    opt.interval = o.interval;
    opt.sys_gps = o.wants(SYS_GPS) || o.wants(SYS_QZS);
    opt.sys_glo = o.wants(SYS_GLO);
    opt.sys_bds = o.wants(SYS_BDS);
    opt.sys_gal = o.wants(SYS_GAL);
    opt.sys_sbs = o.wants(SYS_SBS);
    set_text(opt.prog, "kvx");
    set_text(opt.runby, o.run_by);
    set_text(opt.marker, o.marker.empty() ? default_marker : o.marker);
    set_text(opt.markerno, o.marker_number);
    set_text(opt.observer, o.observer);
    set_text(opt.agency, o.agency);
    set_text(opt.recno, o.receiver_number);
    set_text(opt.rectype, o.receiver_type);
    set_text(opt.recver, o.receiver_version);
    set_text(opt.antno, o.antenna_number);
    if (!o.antenna_type.empty()) set_text(opt.anttype, antenna_with_radome(o.antenna_type));
    if (o.antenna_delta) std::copy(o.antenna_delta->begin(), o.antenna_delta->end(), opt.antdel);
    return opt;
}

bool header_and_records_disagree(const convert_options_t& o)
{
    return rinex::header_is_rinex3(o.version()) && !rinex::board_t(rinex_options(o, "")).header_fits_records();
}

}   // namespace kvx
