#include "convert/conversion.h"

#include <array>
#include <cstring>
#include <memory>

#include "common/error.h"
#include "common/interrupt.h"
#include "common/progress.h"
#include "common/text_format.h"
#include "convert/file_names.h"
#include "convert/foresight.h"
#include "convert/navigation_output.h"
#include "convert/observation_output.h"
#include "convert/observation_series.h"
#include "convert/position_list.h"
#include "convert/selection.h"
#include "convert/thinning.h"
#include "host/host_conversion.h"
#include "log/log_reader.h"
#include "log/message_time.h"
#include "rinex/dates.h"
#include "rinex/ranges.h"
#include "verify/verification.h"

namespace kvx {

namespace {

class conversion_t {
public:
    conversion_t(const convert_options_t& options, const std::string& log)
        : options_(options),
          source_(log),
          frame_(std::make_unique_for_overwrite<raw_t>()),
          reader_(source_, *frame_, false),
          selection_(options),
          foreseen_(sampled_columns(source_, options_, selection_)),
          station_(options),
          ranges_(options.names, ledger_, [this](auto& epoch) { on_epoch(epoch); }),
          order_(std::make_unique<rinex::epoch_t>, [this](auto& epoch, order_t order) { on_judged(epoch, order); }),
          files_(
              {[this] {
                   return std::make_unique<observation_output_t>(options_, station_.facts(), ranges_.channels(),
                                                                 foreseen_, ledger_);
               },
               [this](const coverage_t& c, int number) { return names_of_files(options_, c, number).observations(); },
               [](observation_output_t& file, const std::string& name) { return file.finish(name); }}),
          navigation_(options, selection_),
          positions_(options)
    {
        Initial_raw(frame_.get(), 1);   // framing needs no more
        reader_.before_waiting([this] { bring_to_disk(); });
    }

    summary_t run()
    {
        read_log();
        if (!files_.any() && source_.ended_by_signal()) throw interruption_t(source_.name(), "before any epoch");
        if (!files_.any()) throw error_t(source_.name(), "no usable epoch, no file written", summary_.why_no_epoch());
        outcome_t& outcome = summary_.outcome.emplace();
        if (options_.navigation() != "none") outcome.navigation = navigation_.count();
        outcome.signals = signal_counts(options_.names, ledger_);
        outcome.partial = source_.cut_short();
        outcome.files = publish();
        outcome.verified = options_.verify && !outcome.partial;
        outcome.observations = files_.counts();
        return std::move(summary_);
    }

private:
    void read_log()
    {
        progress_t progress(source_);
        frame_t frame{};
        while (reader_.next(frame)) {
            if (frame.checksum_ok) frame.result = take(frame);
            summary_.count(frame, frame_->buff, numbering_t::rinex);
            progress.at(source_.position_on_disk());
        }
        ranges_.flush();
        order_.flush();
        if (thinning_) thinning_->flush();
        for (int place = 0; place < rinex::kSatellites; ++place) {
            const std::uint64_t epochs = satellite_epochs_[static_cast<std::size_t>(place)];
            if (epochs > 0) summary_.satellites[rinex::satellite_at(place)].epochs = epochs;
        }
        summary_.finish(reader_, source_);
    }

    int take(const frame_t& frame)
    {
        const int id = frame.id;
        const korvex::header_t header = korvex::read_header(frame_->buff);
        const auto time = time_of(header);
        if (!time) return DECODE_NOTHING;
        const std::uint8_t* const body = frame_->buff + korvex::kHeaderSize;
        if (is_range(id)) return take_range(frame, *time, body, header.body_size);
        const int result = navigation_.take(id, *time, body, header.body_size);
        return result != DECODE_NOTHING ? result : take_station(id, *time, body, header.body_size);
    }

    int take_range(const frame_t& frame, std::int64_t time, const std::uint8_t* body, int size)
    {
        if (!ranges_.add(time, body, size, frame.id == MSG_RANGE_COMPRESSED, frame.offset)) return DECODE_REFUSED;
        order_.expect(ranges_.time());
        return DECODE_OBS;
    }

    int take_station(int id, std::int64_t time, const std::uint8_t* body, int size)
    {
        const int result = station_.take(id, time, body, size);
        if (station_.fix()) positions_.add(*station_.fix());
        if (station_.event() && selection_.in_window(station_.event()->ticks)) {
            const bool behind = ranges_.pending() && ranges_.time() * rinex::kTicksPerMs == station_.event()->ticks;
            files_.current().add(*station_.event(), behind);
        }
        return result;
    }

    // A program that follows the files sees what has come so far.
    void bring_to_disk()
    {
        files_.current().bring_to_disk();
        positions_.bring_to_disk();
    }

    void count(const rinex::epoch_t& epoch, rinex::fate_t fate)
    {
        epoch.each([&](int place, int signal) { ledger_.add(epoch.at(place, signal).tracking_key, fate); });
    }

    void on_epoch(std::unique_ptr<rinex::epoch_t>& epoch)
    {
        epoch->satellites.each([this](int place) { ++satellite_epochs_[static_cast<std::size_t>(place)]; });
        order_.add(epoch->time, epoch);
    }

    void on_judged(std::unique_ptr<rinex::epoch_t>& epoch, order_t order)
    {
        summary_.count_epoch(epoch->time, epoch->offset, order);
        if (order == order_t::out) return count(*epoch, rinex::fate_t::out_of_order);
        if (order == order_t::begins_file) begin_file();
        if (selection_.in_window(epoch->time * rinex::kTicksPerMs)) return thinning_->add(epoch);
        thinning_->flush();
        leave_out(*epoch, rinex::fate_t::outside);
    }

    // A file's epochs follow each other, and so do those that an interval is looked for in.
    void begin_file()
    {
        if (thinning_) thinning_->flush();
        thinning_.emplace(options_.interval, options_.anchor_first,
                          [this](auto& epoch, bool kept) { on_released(epoch, kept); });
        files_.begin();
    }

    // Its phases are followed all the same.
    void leave_out(const rinex::epoch_t& epoch, rinex::fate_t fate)
    {
        files_.current().follow(epoch);
        count(epoch, fate);
    }

    void on_released(rinex::epoch_t& epoch, bool kept)
    {
        if (!kept) return leave_out(epoch, rinex::fate_t::off_grid);
        selection_.apply(epoch, ledger_);
        if (const auto leaps = navigation_.leap_seconds()) station_.take_leap_seconds(*leaps);
        files_.current().add(epoch);
    }

    // Reads the log again, and the files that have no names yet.
    void prove(const std::vector<finished_file_t>& files)
    {
        std::vector<std::string> paths;
        for (const finished_file_t& f : files) {
            if (!f.name.ends_with(".xyz")) paths.push_back(f.file->path());
        }
        const verification_t result = verify(options_, {source_.name()}, paths);
        const bool read_as_before = result.read_error.empty() == source_.read_error().empty();
        if (!read_as_before) throw error_t(source_.name(), "cannot be read again", "proving the files, none is kept");
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
        const std::string partial = source_.cut_short() ? ".partial" : "";
        if (const auto leaps = navigation_.leap_seconds()) station_.take_leap_seconds(*leaps);
        std::vector<finished_file_t> files = files_.finish(partial);
        const coverage_t& coverage = files_.coverage();
        const file_names_t names = names_of_files(options_, coverage);
        for (auto& file : navigation_.finish(station_.facts(), coverage.first,
                                             [&](char letter) { return names.navigation(letter) + partial; }))
            files.push_back(std::move(file));
        if (positions_.exists()) files.push_back(positions_.finish(names.positions() + partial));
        if (options_.verify && !source_.cut_short()) prove(files);
        return kvx::publish(files, options_.force, source_.live());
    }

    const convert_options_t& options_;
    input_file_t source_;
    std::unique_ptr<raw_t> frame_;   // the framing keeps the frame in hand there
    log_reader_t reader_;
    summary_t summary_;
    rinex::ledger_t ledger_;
    selection_t selection_;
    std::optional<rinex::columns_t> foreseen_;
    station_messages_t station_;
    rinex::range_collector_t ranges_;
    epoch_order_t<std::unique_ptr<rinex::epoch_t>> order_;
    std::optional<thinning_t> thinning_;   // of the file that is written
    observation_series_t<observation_output_t> files_;
    navigation_output_t navigation_;
    position_list_t positions_;
    std::array<std::uint64_t, rinex::kSatellites> satellite_epochs_{};
};

}   // namespace

summary_t convert_logs(const convert_options_t& options, const sources_t& logs)
{
    if (options.as_host) return convert_log_as_host(options, logs.front());
    return conversion_t(options, logs.front()).run();
}

}   // namespace kvx
