#include "convert/conversion.h"

#include <array>
#include <cstring>
#include <memory>

#include "common/error.h"
#include "common/interrupt.h"
#include "common/progress.h"
#include "common/text_format.h"
#include "convert/file_names.h"
#include "convert/navigation_output.h"
#include "convert/observation_output.h"
#include "convert/position_list.h"
#include "convert/selection.h"
#include "gnss/log/frame.h"
#include "host/host_conversion.h"
#include "log/log_reader.h"
#include "rinex/dates.h"
#include "rinex/ranges.h"
#include "verify/verification.h"

namespace kvx {

namespace {

constexpr std::int64_t kWeekMs = 604800000;

class conversion_t {
public:
    conversion_t(const convert_options_t& options, const std::string& log)
        : options_(options),
          source_(log),
          frame_(std::make_unique<raw_t>()),
          reader_(source_, *frame_, false),
          selection_(options),
          station_(options),
          ranges_(options.names, ledger_, [this](auto& epoch) { on_epoch(epoch); }),
          thinning_(options.interval, options.anchor_first,
                    [this](auto& epoch, bool kept) { on_released(epoch, kept); }),
          observations_(options, station_.facts(), ranges_.channels(), ledger_),
          navigation_(options, selection_),
          positions_(options)
    {
        Initial_raw(frame_.get(), 0);
    }

    summary_t run()
    {
        read_log();
        if (!observations_.exists() && interrupted()) throw error_t(source_.name(), "interrupted", "before any epoch");
        if (!observations_.exists())
            throw error_t(source_.name(), "no usable epoch, no file written", summary_.why_no_epoch());
        outcome_t& outcome = summary_.outcome.emplace();
        outcome.epochs_written = observations_.epochs().epochs;
        outcome.out_of_order = out_of_order_;
        if (options_.navigation() != "none") outcome.navigation = navigation_.count();
        outcome.signals = signal_counts(options_.names, ledger_);
        outcome.files = publish();
        outcome.verified = options_.verify;
        outcome.events = observations_.events_written();
        outcome.events_lost = observations_.events_lost();
        if (interrupted()) throw error_t(source_.name(), "interrupted", "what was read is in " + outcome.files.front());
        return std::move(summary_);
    }

private:
    void read_log()
    {
        progress_t progress(source_.name(), source_.size_on_disk());
        frame_t frame{};
        while (reader_.next(frame)) {
            if (frame.checksum_ok) frame.result = take(frame.id);
            if (frame.checksum_ok && frame.result == DECODE_REFUSED) reader_.refuse();
            summary_.count(frame);
            progress.at(source_.size_on_disk() > 0 ? source_.position_on_disk() : reader_.bytes());
        }
        ranges_.flush();
        thinning_.flush();
        for (int place = 0; place < rinex::kSatellites; ++place) {
            const std::uint64_t epochs = satellite_epochs_[static_cast<std::size_t>(place)];
            if (epochs > 0) summary_.satellites[rinex::satellite_at(place)].epochs = epochs;
        }
        summary_.finish(reader_, source_);
    }

    int take(int id)
    {
        const korvex::header_t header = korvex::read_header(frame_->buff);
        const bool range = id == MSG_RANGE || id == MSG_RANGE_COMPRESSED;
        if (header.time_status == korvex::kTimeUnknown || header.week == korvex::kWeekUnknown) return DECODE_NOTHING;
        if (header.format != korvex::kBinary || (header.week == 0 && range)) return DECODE_NOTHING;
        const std::int64_t time = header.week * kWeekMs + header.ms;
        const std::uint8_t* const body = frame_->buff + korvex::kHeaderSize;
        if (range)
            return ranges_.add(time, body, header.body_size, id == MSG_RANGE_COMPRESSED) ? DECODE_OBS : DECODE_REFUSED;
        const int result = navigation_.take(id, time, body, header.body_size);
        return result != DECODE_NOTHING ? result : take_station(id, time, body, header.body_size);
    }

    int take_station(int id, std::int64_t time, const std::uint8_t* body, int size)
    {
        const int result = station_.take(id, time, body, size);
        if (station_.fix()) positions_.add(*station_.fix());
        if (station_.event() && selection_.in_window(station_.event()->ticks)) {
            const bool behind = ranges_.pending() && ranges_.time() * rinex::kTicksPerMs == station_.event()->ticks;
            observations_.add(*station_.event(), behind);
        }
        return result;
    }

    void count(const rinex::epoch_t& epoch, rinex::fate_t fate)
    {
        epoch.each([&](int place, int signal) { ledger_.add(epoch.at(place, signal).tracking_key, fate); });
    }

    void on_epoch(std::unique_ptr<rinex::epoch_t>& epoch)
    {
        summary_.epochs.add(static_cast<double>(epoch->time) / 1000.0);
        epoch->satellites.each([this](int place) { ++satellite_epochs_[static_cast<std::size_t>(place)]; });
        if (epoch->time <= last_) {   // a file's epochs follow each other
            ++out_of_order_;
            return count(*epoch, rinex::fate_t::out_of_order);
        }
        last_ = epoch->time;
        if (selection_.in_window(epoch->time * rinex::kTicksPerMs)) return thinning_.add(epoch);
        thinning_.flush();
        leave_out(*epoch, rinex::fate_t::outside);
    }

    // Its phases are followed all the same.
    void leave_out(const rinex::epoch_t& epoch, rinex::fate_t fate)
    {
        observations_.follow(epoch);
        count(epoch, fate);
    }

    void on_released(rinex::epoch_t& epoch, bool kept)
    {
        if (!kept) return leave_out(epoch, rinex::fate_t::off_grid);
        selection_.apply(epoch, ledger_);
        if (const auto leaps = navigation_.leap_seconds()) station_.take_leap_seconds(*leaps);
        observations_.add(epoch);
    }

    // Reads the log again, and the files that have no names yet.
    void prove(const std::vector<finished_file_t>& files)
    {
        const verify_options_t o{options_.systems,  options_.satellites,   options_.signals, options_.names,
                                 options_.interval, options_.anchor_first, options_.start,   options_.end};
        std::vector<std::string> paths;
        for (const finished_file_t& f : files) {
            if (!f.name.ends_with(".xyz")) paths.push_back(f.file->path());
        }
        const verification_t result = verify(o, {source_.name()}, paths);
        if (result.proven()) return;
        std::string first = result.first_faults.front();
        for (const finished_file_t& f : files) {
            if (first.starts_with(f.file->path())) first.replace(0, f.file->path().size(), f.name);
        }
        throw error_t(source_.name(), "the files do not hold what the log sent, none is kept",
                      plural(result.faults, "fault") + ", the first: " + first);
    }

    std::vector<std::string> publish()
    {
        const epoch_count_t& epochs = observations_.epochs();
        const double interval = options_.interval > 0.0 ? options_.interval : epochs.steps.usual();
        const file_names_t names(options_.version(), options_.marker, options_.country, options_.name,
                                 {epochs.first, epochs.last, interval});
        const std::string partial = interrupted() ? ".partial" : "";
        if (const auto leaps = navigation_.leap_seconds()) station_.take_leap_seconds(*leaps);
        std::vector<finished_file_t> files;
        files.push_back(observations_.finish(names.observations() + partial));
        for (auto& file : navigation_.finish(station_.facts(), epochs.first,
                                             [&](char letter) { return names.navigation(letter) + partial; }))
            files.push_back(std::move(file));
        if (positions_.exists()) files.push_back(positions_.finish(names.positions() + partial));
        if (options_.verify && !interrupted()) prove(files);
        return kvx::publish(files, options_.force);
    }

    const convert_options_t& options_;
    input_file_t source_;
    std::unique_ptr<raw_t> frame_;   // the framing keeps the frame in hand there
    log_reader_t reader_;
    summary_t summary_;
    rinex::ledger_t ledger_;
    selection_t selection_;
    station_messages_t station_;
    rinex::range_collector_t ranges_;
    thinning_t thinning_;
    observation_output_t observations_;
    navigation_output_t navigation_;
    position_list_t positions_;
    std::array<std::uint64_t, rinex::kSatellites> satellite_epochs_{};
    std::int64_t last_ = -1;   // epoch, ms
    std::uint64_t out_of_order_ = 0;
};

}   // namespace

summary_t convert_log(const convert_options_t& options, const std::string& log)
{
    if (options.as_host) return convert_log_as_host(options, log);
    return conversion_t(options, log).run();
}

}   // namespace kvx
