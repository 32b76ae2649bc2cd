// kvx positions: where a log was recorded, for maps and tables.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>

#include "common/command.h"
#include "common/error.h"
#include "common/interrupt.h"
#include "common/progress.h"
#include "common/publish.h"
#include "common/text_format.h"
#include "convert/selection.h"
#include "convert/station_messages.h"
#include "info/inputs.h"
#include "log/message_time.h"
#include "positions/track_formats.h"
#include "rinex/dates.h"
#include "rinex/observation_text.h"

namespace kvx {

namespace {

struct options_t {
    inspection_options_t inspection;
    std::vector<std::string> paths;
    std::string output = "-";
    std::string format;   // empty: as the output is called, else csv
    bool computed = false;
    bool force = false, quiet = false;
};

// The receiver's own positions, marks and sites: one pass over the messages.
class station_track_t {
public:
    station_track_t(const selection_options_t& options, const std::string& path)
        : source_(path),
          frame_(std::make_unique_for_overwrite<raw_t>()),
          reader_(source_, *frame_, false),
          selection_(options)
    {
        Initial_raw(frame_.get(), 1);   // framing needs no more
    }

    // @return whether bytes were lost
    bool read(track_t& track)
    {
        progress_t progress(source_);
        for (frame_t frame{}; reader_.next(frame);) {
            if (frame.checksum_ok) take(frame, track);
            progress.at(source_.position_on_disk());
        }
        std::stable_sort(track.points.begin(), track.points.end(),
                         [](const track_point_t& a, const track_point_t& b) { return a.time < b.time; });
        return reader_.losses().any() || !source_.damage().empty();
    }

private:
    void take(const frame_t& frame, track_t& track)
    {
        const korvex::header_t header = korvex::read_header(frame_->buff);
        const auto time = time_of(header);
        if (!time) return;
        station_.take(frame.id, *time, frame_->buff + korvex::kHeaderSize, header.body_size);
        if (station_.fix() && selection_.in_window(*time * rinex::kTicksPerMs)) take_fix(*station_.fix(), track);
        if (station_.event() && selection_.in_window(station_.event()->ticks)) take_event(*station_.event(), track);
    }

    // Of two messages of one time the Cartesian one has the position, the other one the geoid.
    static void take_fix(const fix_t& fix, track_t& track)
    {
        const position::vec3_t ecef{fix.position[0], fix.position[1], fix.position[2]};
        track_point_t point{fix.time, position::geodetic_of(ecef), {}, 0, 0.0F};
        if (!fix.cartesian) point.undulation = static_cast<float>(fix.undulation);
        if (track.points.empty() || track.points.back().time != fix.time) return track.points.push_back(point);
        track_point_t& same = track.points.back();
        if (fix.cartesian) same.at = point.at;
        if (point.undulation) same.undulation = point.undulation;
    }

    void take_event(const event_t& event, track_t& track)
    {
        const std::int64_t time = event.ticks / rinex::kTicksPerMs;
        if (event.flag == rinex::kExternalEvent)
            track.waypoints.push_back({time, "mark " + std::to_string(++marks_), {}});
        if (event.flag == rinex::kNewSite) track.waypoints.push_back({time, "site " + std::to_string(++sites_), {}});
    }

    input_file_t source_;
    std::unique_ptr<raw_t> frame_;
    log_reader_t reader_;
    selection_t selection_;
    convert_options_t usual_;
    station_messages_t station_{usual_};
    int marks_ = 0, sites_ = 0;
};

bool compute(const inspection_options_t& options, const std::string& path, const inputs_t& inputs, track_t& track)
{
    const inspection_t result = inspect(options, path, inputs, [&track](quality::quality_t& quality) {
        quality.on_epoch([&track](const quality::judged_epoch_t& epoch) {
            if (!epoch.solution) return;
            track.points.push_back({epoch.measured.time,
                                    position::geodetic_of(epoch.solution->position),
                                    {},
                                    epoch.solution->used,
                                    static_cast<float>(epoch.solution->hdop)});
        });
    });
    return result.damaged();
}

// By name, else as the output ends, else what spreadsheets read.
std::string all_formats()
{
    return joined(track_format_names(), ", ");
}

const track_format_t& format_of(const options_t& options)
{
    const std::string ending = std::filesystem::path(options.output).extension().string();
    const std::string name = !options.format.empty() ? options.format : ending.empty() ? "csv" : ending.substr(1);
    const track_format_t* format = find_track_format(name);
    if (format == nullptr)
        throw usage_error_t("--format", "'" + name + "' is no ending of " + all_formats() + "; name one");
    return *format;
}

void write_track(const options_t& options, const track_t& track, const track_format_t& format)
{
    const std::string text = format.text(track);
    if (options.output == "-") {
        std::fwrite(text.data(), 1, text.size(), stdout);
        return;
    }
    const std::filesystem::path path(options.output);
    auto file = std::make_unique<output_file_t>(path.has_parent_path() ? path.parent_path().string() : ".");
    std::fwrite(text.data(), 1, text.size(), file->stream());
    publish(std::move(file), path.filename().string(), options.force);
    if (options.quiet) return;
    std::printf("%s: %zu positions, %zu marks and sites\n", options.output.c_str(), track.points.size(),
                track.waypoints.size());
}

// @return whether bytes were lost
bool read_track(const options_t& options, const inputs_t& inputs, track_t& track)
{
    const std::string& path = inputs.described.front();
    const bool once = path == "-" || is_device(path);   // what comes in live: no marks among computed positions
    const bool computed = track.source == "computed", station = !inputs.any_observations && (!computed || !once);
    const progress_run_t progress({path}, options.quiet, computed && station ? 2.0 : 1.0);
    const bool damaged = station && station_track_t(options.inspection, path).read(track);
    if (!computed) return damaged;
    track.points.clear();
    return compute(options.inspection, path, inputs, track);
}

int run(const options_t& options)
{
    catch_interrupts();
    const track_format_t& format = format_of(options);
    if (options.output != "-") demand_free(options.output, options.force);
    begin_run(options.paths);
    const inputs_t inputs = inputs_of(options.paths);
    if (inputs.described.size() != 1) throw usage_error_t("FILE", "positions are those of one log or observation file");
    const std::string& path = inputs.described.front();
    track_t track{path, options.computed || inputs.any_observations ? "computed" : "receiver", {}, {}};
    const bool damaged = read_track(options, inputs, track);
    if (interrupted()) throw interruption_t(path, "nothing is written");
    if (track.points.empty())
        throw error_t(
            path, "no position in it",
            track.source == "receiver" ? "--computed makes them of the ranges" : "that needs ranges and ephemerides");
    place_waypoints(track);
    write_track(options, track, format);
    return damaged ? kDamaged : kDone;
}

}   // namespace

command_t positions_command(command_line_t& program)
{
    auto options = std::make_shared<options_t>();
    command_line_t app = program.command("positions", "Where a log was recorded, for maps and tables");
    app.example("kvx positions survey.log -o survey.gpx", "The receiver's own positions, for a map");
    app.example("kvx positions survey.log --computed --format nmea | head -n 4",
                "Positions computed from the ranges, as NMEA 0183");
    app.option("FILE", &options->paths,
               "A log of the receiver board, or a RINEX observation file with navigation files; - is a log on standard "
               "input",
               {.required = true});
    app.option("-o,--output", &options->output, "File to write; - is the standard output",
               {.type_name = "FILE", .show_default = true});
    app.option("--format", &options->format, "Its format",
               {.check = {[](const std::string& name) {
                    return find_track_format(name) == nullptr ? "is none of " + all_formats() : std::string();
                }},
                .type_name = "FORMAT",
                .words = track_format_names(),
                .default_text = "by the file's ending, else csv"});
    app.flag("--computed", &options->computed, "Positions computed from the ranges, not those of the receiver");
    app.flag("--force", &options->force, "Replace a file that exists");
    add_quiet_option(app, &options->quiet, "and no summary");
    add_selection_options(app, options->inspection, "to use");
    return {app, [options] { return run(*options); }};
}

}   // namespace kvx
