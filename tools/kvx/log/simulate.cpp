#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "common/command.h"
#include "common/compressor.h"
#include "common/error.h"
#include "common/gps_time.h"
#include "common/interrupt.h"
#include "common/progress.h"
#include "common/publish.h"
#include "common/standard_streams.h"
#include "common/systems.h"
#include "common/text_format.h"
#include "gnss/foundation/time_scales.h"
#include "rinex/signals.h"
#include "sky/damage.h"
#include "sky/simulator.h"

namespace kvx {

namespace {

struct options_t {
    sky::scenario_t scenario;
    std::string output;
    std::string start = "2024-03-10 12:00:00";
    std::string systems = "GRECJS";
    std::array<double, 3> position = {31.2, 121.5, 30.0};
    std::string range = "43";
    std::vector<std::string> obstructions;
    std::int64_t faults = 0;
    bool force = false, quiet = false;
};

// Reads the time of the first epoch, within the weeks that are simulated.
bool read_start(const std::string& text, sky::scenario_t& scenario)
{
    const auto time = parse_gps_time(text);
    if (!time || time->week < sky::kFirstWeek || time->week > sky::kLastWeek) return false;
    scenario.week = time->week;
    scenario.tow = std::round(time->tow * 1000.0) / 1000.0;
    return true;
}

// "AZ1,AZ2,EL" in degrees, two azimuths that differ; nothing for another text.
std::optional<sky::obstruction_t> read_obstruction(const std::string& text)
{
    std::array<double, 3> values{};
    const char *at = text.data(), *const end = at + text.size();
    for (double& value : values) {
        if (&value != values.data() && (at == end || *at++ != ',')) return {};
        const auto [next, error] = std::from_chars(at, end, value);
        if (error != std::errc()) return {};
        at = next;
    }
    const auto [from, to, elevation] = values;
    const auto within = [](double value, double most) { return value >= 0.0 && value <= most; };
    if (at != end || !within(from, 360.0) || !within(to, 360.0) || !within(elevation, 90.0) || from == to) return {};
    return sky::obstruction_t{from, to, elevation};
}

struct result_t {
    std::int64_t epochs = 0;
    std::uint64_t bytes = 0;
};

// "G07 L2W"; a signal without a name by its type.
std::string phase_name(const sky::slip_t& slip, const rinex::signals_t& names)
{
    const int key = rinex::tracking_key(slip.status);
    const auto [system, signal] = names[key];
    const std::string satellite = rinex::satellite_of_prn(system, slip.prn).name();
    if (signal < 0) return satellite + text(" type %d", key & 31);
    return satellite + " L" + names.codes(system)[static_cast<std::size_t>(signal)];
}

void list_slips(const sky::simulator_t& simulator, const sky::scenario_t& scenario)
{
    const rinex::signals_t names;
    for (const sky::slip_t& s : simulator.slips()) {
        std::fprintf(stderr, "slip of %d cycles at %s: %s\n", s.cycles,
                     date_text(gps_seconds(scenario.week, s.t)).c_str(), phase_name(s, names).c_str());
    }
    const auto placed = static_cast<std::int64_t>(simulator.slips().size());
    if (placed < scenario.slips && simulator.done() == simulator.epochs())
        std::fprintf(stderr, "kvx: warning: only %lld of %lld slips have room in this log\n",
                     static_cast<long long>(placed), static_cast<long long>(scenario.slips));
}

// @throws error_t when the bytes cannot be written
result_t write_log(const options_t& options, std::FILE* out, compressor_t* compressor = nullptr)
{
    sky::simulator_t simulator(options.scenario);
    sky::damage_t damage(options.faults, simulator.epochs(), options.scenario.seed);
    std::vector<sky::fault_t> faults;
    result_t result;
    {
        const progress_run_t run(std::vector<std::string>{}, options.quiet);
        progress_t progress(options.output, 0);
        const auto epochs = static_cast<double>(simulator.epochs());
        for (sky::bytes_t epoch; !interrupted() && simulator.next(epoch); epoch.clear()) {
            const auto struck = damage.apply(epoch);
            faults.insert(faults.end(), struck.begin(), struck.end());
            if (compressor != nullptr) compressor->write({reinterpret_cast<const char*>(epoch.data()), epoch.size()});
            if (compressor == nullptr) std::fwrite(epoch.data(), 1, epoch.size(), out);
            if (std::ferror(out) != 0) break;
            result.bytes += epoch.size();
            ++result.epochs;
            const double size = static_cast<double>(result.bytes) / static_cast<double>(result.epochs);
            progress.expect(static_cast<std::uint64_t>(size * epochs));
            progress.at(result.bytes);
        }
    }
    if (compressor != nullptr) compressor->finish();
    const bool written = std::fflush(out) == 0 && std::ferror(out) == 0;
    if (!written && out == stdout) throw stdout_lost_t();
    if (!written) throw system_error(options.output, "writing the log");
    for (const sky::fault_t& f : faults)
        std::fprintf(stderr, "damage at byte %lld: %s\n", static_cast<long long>(f.offset), f.what.c_str());
    list_slips(simulator, options.scenario);
    return result;
}

// The file takes its name when it is whole; an interrupted one is named as partial, a failed one goes.
int write_file(const options_t& options)
{
    const std::filesystem::path path(options.output);
    demand_free(options.output, options.force);
    auto file = std::make_unique<output_file_t>(path.has_parent_path() ? path.parent_path().string() : ".");
    const auto compressor = make_compressor(options.output, file->stream());
    const result_t result = write_log(options, file->stream(), compressor.get());
    const std::string name = path.filename().string() + (interrupted() ? ".partial" : "");
    const std::string published = publish(std::move(file), name, options.force);
    if (interrupted())
        throw interruption_t(options.output, std::to_string(result.epochs) + " epochs are in " + published);
    if (options.quiet) return kDone;
    std::printf("%s: %lld epochs, %llu bytes\n", options.output.c_str(), static_cast<long long>(result.epochs),
                static_cast<unsigned long long>(result.bytes));
    return kDone;
}

// For standard output and devices, which take no other name.
int write_stream(const options_t& options, std::FILE* out)
{
    if (out == nullptr) throw system_error(options.output, "opening");
    const result_t result = write_log(options, out);
    if (!options.quiet)
        std::fprintf(stderr, "%lld epochs, %llu bytes\n", static_cast<long long>(result.epochs),
                     static_cast<unsigned long long>(result.bytes));
    return interrupted() ? interrupt_code() : kDone;
}

int simulate(const options_t& options)
{
    catch_interrupts();
    if (options.output == "-") return write_stream(options, stdout);
    if (is_device(options.output)) {
        const std::unique_ptr<std::FILE, int (*)(std::FILE*)> out(std::fopen(options.output.c_str(), "wb"),
                                                                  std::fclose);
        return write_stream(options, out.get());
    }
    return write_file(options);
}

// Puts the texts and lists of the command line into the scenario.
void complete(options_t& options)
{
    sky::scenario_t& s = options.scenario;
    read_start(options.start, s);   // the option's own check has passed
    s.systems = systems_of(options.systems);
    s.range = options.range == "both" ? sky::kBothRanges
              : options.range == "43" ? sky::kFullRange
                                      : sky::kCompressedRange;
    s.lat = options.position[0], s.lon = options.position[1], s.height = options.position[2];
    if (!(std::fabs(s.lat) <= 90.0 && std::fabs(s.lon) <= 360.0 && s.height >= -1000.0 && s.height <= 20000.0))
        throw usage_error_t("--position", "degrees are within 90 and 360, heights -1000 to 20000 m");
    if (s.moving && std::fabs(s.lat) > 89.0)
        throw usage_error_t("--moving", "the drive keeps within 89 degrees of latitude");
    for (const std::string& text : options.obstructions) s.obstructions.push_back(*read_obstruction(text));
}

std::string check_start(const std::string& text)
{
    sky::scenario_t scenario;
    return read_start(text, scenario) ? "" : "not a date from 2009 on in the form YYYY-MM-DD HH:MM:SS: " + text;
}

std::string check_obstruction(const std::string& text)
{
    return read_obstruction(text) ? ""
                                  : "not two azimuths from 0 to 360 that differ and an elevation up to 90: " + text;
}

}   // namespace

command_t simulate_command(command_line_t& program)
{
    auto options = std::make_shared<options_t>();
    sky::scenario_t& s = options->scenario;
    command_line_t app = program.command("simulate", "Make a log of a receiver under a built-in sky");
    app.describe(
        "All six systems with true geometry: whoever computes positions from the log finds the antenna. The same "
        "arguments make the same bytes.");
    app.example("kvx simulate -o survey.log", "Ten minutes at 1 Hz");
    app.example("kvx simulate -o faults.log --duration 1800 --slips 12 --multipath 0.5 --damage 3 --seed 2",
                "With faults, each of which is listed");
    app.example("kvx simulate -o drive.log.gz --moving --position 48.1,11.6,600 --rate 5", "A drive, compressed");
    app.exit_codes({{"3", ""}});
    app.option("-o,--output", &options->output,
               "File to write, compressed when it ends in .gz or .zst; - is the standard output",
               {.required = true, .type_name = "FILE"});
    app.flag("--force", &options->force, "Replace a file that exists");
    add_quiet_option(app, &options->quiet, "and no summary");
    app.option("--start", &options->start, "GPS time of the first epoch, YYYY-MM-DD HH:MM:SS",
               {.check = {check_start, "TIME"}, .show_default = true});
    app.option("--duration", &s.duration, "Length (s)", {.check = within(0.05, 366 * kDay), .show_default = true});
    app.option("--rate", &s.rate, "Epochs per second; below 1 the interval is rounded to whole seconds",
               {.check = within(0.0001, 20.0), .show_default = true});
    app.option("--position", &options->position, "Antenna: latitude and longitude (degrees), height (m)",
               {.delimiter = ',', .type_name = "LAT,LON,H", .show_default = true});
    app.flag("--moving", &s.moving, "Drive around there: a level figure of eight at 10 m/s, 153 m by 306 m");
    app.option("--systems", &options->systems, "Systems: G GPS, R GLONASS, E Galileo, C BeiDou, J QZSS, S SBAS",
               {.check = {fault_in_letters, "LETTERS"}, .show_default = true});
    app.option("--range", &options->range, "Message with the observations: 43, 140 (compressed), or both",
               {.check = one_of({"43", "140", "both"}), .show_default = true});
    app.flag("--every-signal", &s.every_signal,
             "Also signals and satellites that only some boards send, losses of lock, half cycles");
    app.option("--elevation-mask", &s.mask, "Least elevation of a satellite (degrees)",
               {.check = within(0.0, 80.0), .show_default = true});
    app.option("--obstruction", &options->obstructions,
               "Hide what is between two azimuths, clockwise, and below an elevation (degrees)",
               {.check = {check_obstruction, "AZ1,AZ2,EL"}, .one_argument = true});
    app.option("--multipath", &s.multipath, "RMS of the multipath of each pseudorange (m); phases have none",
               {.check = within(0.0, 100.0), .show_default = true});
    app.option("--slips", &s.slips, "Cycle slips that the receiver does not notice; each is listed",
               {.check = whole_within(0, 100000), .show_default = true});
    app.option("--ephemeris-interval", &s.ephemeris_interval, "Repetition of unchanged ephemerides (s)",
               {.check = within(1.0, kDay), .show_default = true});
    app.option("--damage", &options->faults, "Bit errors, lost and foreign bytes to put in; each is listed",
               {.check = whole_within(0, 1000000), .show_default = true});
    app.option("--seed", &s.seed, "Of noise, multipath, slips and damage: the same arguments give the same bytes",
               {.show_default = true});
    app.when_all_read([options] { complete(*options); });
    return {app, [options] { return simulate(*options); }};
}

}   // namespace kvx
