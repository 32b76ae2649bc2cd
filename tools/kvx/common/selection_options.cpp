#include "common/selection_options.h"

#include "common/command_line.h"
#include "common/gps_time.h"
#include "common/systems.h"
#include "gnss/foundation/time_scales.h"

namespace kvx {

namespace {

std::string check_time(const std::string& text)
{
    return parse_gps_time(text) ? "" : "'" + text + "' is not a GPS time such as 2024-03-10 12:00:00";
}

void add_time(command_line_t& app, const std::string& name, std::optional<double>& value, const std::string& help)
{
    const auto take = [&value](const std::string& text) {
        const auto time = parse_gps_time(text);
        value = gps_seconds(time->week, time->tow);
    };
    app.option(name, take, help, {.check = {check_time, "TIME"}});
}

}   // namespace

void add_selection_options(command_line_t& app, selection_options_t& o, const std::string& what)
{
    app.section("Selection");
    app.option("--systems", &o.systems, "Systems " + what,
               {.check = {fault_in_letters, "LETTERS"}, .show_default = true});
    app.option("--satellites", &o.satellites, "Satellites " + what + ": G01,E*",
               {.delimiter = ',', .type_name = "NAMES"});
    app.option("--signals", &o.signals, "Signals " + what + ", by their RINEX 3 names: 1C,2W, or of one system: G1C,E*",
               {.delimiter = ',', .type_name = "NAMES"});
    const auto rename = [&o](const std::vector<std::string>& rules) {
        o.names_changed = true;
        for (const std::string& rule : rules) {
            if (const std::string fault = o.names.rename(rule); !fault.empty()) throw usage_error_t("--signal", fault);
        }
    };
    app.option("--signal", rename, "Call a signal by another name: G:17=2L is signal type 17 of GPS as 2L",
               {.type_name = "RULE"});
    app.option("--interval", &o.interval, "Of the epochs, those at the points of the GPS time grid of S seconds",
               {.check = within(0.001, kDay), .type_name = "S"});
    app.option("--anchor", [&o](const std::string& anchor) { o.anchor_first = anchor == "first"; },
               "Where that grid begins: grid (GPS time) or first (the first epoch)",
               {.check = one_of({"grid", "first"})});
    add_time(app, "--start", o.start, "First epoch " + what + ", GPS time YYYY-MM-DD HH:MM:SS");
    add_time(app, "--end", o.end, "Last epoch " + what + ", GPS time");
    app.section("");
}

}   // namespace kvx
