#include "host/host_conversion.h"

#include <CEpochCollector.h>

#include <cmath>
#include <memory>

#include "common/error.h"
#include "common/gps_time.h"
#include "common/interrupt.h"
#include "common/progress.h"
#include "common/publish.h"
#include "convert/file_names.h"
#include "convert/observation_series.h"
#include "gnss/log/frame.h"
#include "host/navigation_files.h"
#include "host/observation_file.h"
#include "host/record_limits.h"
#include "log/log_reader.h"
#include "log/summary.h"

namespace kvx {

namespace {

constexpr unsigned short kUsualLeaps = 18;

// Time of a record's epoch (ms since the beginning of GPS time).
std::int64_t epoch_time(const raw_t& epoch)
{
    return std::llround(gps_seconds(epoch.week, epoch.tow) * 1000.0);
}

class host_conversion_t {
public:
    host_conversion_t(const convert_options_t& options, const std::string& log)
        : options_(options),
          source_(log),
          raw_(std::make_unique<raw_t>()),
          reader_(source_, *raw_),
          files_({[this] { return std::make_unique<observation_file_t>(options_, log_stem(source_.name())); },
                  [this](const coverage_t& c, int number) { return names_of(c, number).observations(); },
                  [this](observation_file_t& file, const std::string& name) {
                      return file.finish(*raw_, has_antenna_, name);
                  }}),
          navigation_(options),
          limits_(!options.no_signal_map, options.raw_prn),
          order_([] { return host_epoch_t(); }, [this](host_epoch_t& epoch, order_t order) { on_judged(epoch, order); })
    {
        Initial_raw(raw_.get(), 0);
        raw_->opt_nosigmap = options.no_signal_map;
        raw_->opt_rawprn = options.raw_prn;
        reader_.before_waiting([this] { bring_to_disk(); });
        g_curleap = kUsualLeaps;   // what another log has told is no concern of this one
    }

    summary_t run()
    {
        read_log();
        if (!files_.any() && source_.ended_by_signal()) throw interruption_t(source_.name(), "before any epoch");
        if (!files_.any()) {
            throw error_t(source_.name(), "no usable epoch, no file written", summary_.why_no_epoch());
        }
        outcome_t& outcome = summary_.outcome.emplace();
        limits_.flush();
        outcome.beyond_record = limits_.lost();
        outcome.under_other_number = limits_.under_other_number();
        if (options_.navigation() != "none") outcome.navigation = navigation_.count();
        outcome.partial = source_.cut_short();
        outcome.files = publish();
        outcome.observations = files_.counts();
        outcome.observations.events_lost += events_lost_;
        return std::move(summary_);
    }

private:
    // An epoch until it is judged, and the events behind it.
    struct host_epoch_t {
        std::unique_ptr<raw_t> record = std::make_unique<raw_t>();
        std::uint64_t offset = 0;
        events_t events;
    };

    void read_log()
    {
        progress_t progress(source_);
        frame_t frame{};
        while (reader_.next(frame)) {
            if (frame.result == DECODE_EPH && !navigation_.add(*raw_)) frame.result = DECODE_NOTHING;   // repeated
            summary_.count(frame, raw_->buff, numbering_t::record);
            on_frame(frame);
            progress.at(source_.position_on_disk());
        }
        if (epochs_.Flush() != nullptr) on_epoch();
        order_.flush();
        summary_.finish(reader_, source_);
    }

    // A program that follows the files sees what has come so far.
    void bring_to_disk()
    {
        files_.current().bring_to_disk();
        if (positions_ != nullptr) std::fflush(positions_->stream());
    }

    void on_frame(const frame_t& frame)
    {
        switch (frame.result) {
            case DECODE_OBS:
                on_observations(frame);
                break;
            case DECODE_MARK:
                on_event(files_.current().mark_text(*raw_));
                break;
            case DECODE_STOP_AND_GO:
                on_event(files_.current().stop_and_go_text(*raw_));
                break;
            case DECODE_STATION:
                note_station(frame.id);
                break;
            default:
                break;
        }
    }

    void on_observations(const frame_t& frame)
    {
        const bool begins = !epochs_.Continues(raw_.get());
        limits_.add(raw_->buff + korvex::kHeaderSize, raw_->len - korvex::kHeaderSize, frame.id == MSG_RANGE_COMPRESSED,
                    begins);
        if (epochs_.Add(raw_.get(), frame.result) != nullptr) on_epoch();
        if (begins) epoch_.offset = frame.offset;
        order_.expect(epoch_time(*raw_));
    }

    // An event stands behind the epoch that came before it.
    void on_event(const std::string& text)
    {
        if (text.empty()) return;
        if (epochs_.Pending()) {
            events_lost_ += !events_.add(text);
        } else {
            files_.current().add_event(text);
        }
    }

    // The collector has a whole one.
    void on_epoch()
    {
        epochs_.Exchange(epoch_.record);
        summary_.count_satellites(*epoch_.record);
        std::swap(epoch_.events, events_);
        order_.add(epoch_time(*epoch_.record), epoch_);
    }

    void on_judged(host_epoch_t& epoch, order_t order)
    {
        summary_.count_epoch(epoch_time(*epoch.record), epoch.offset, order);
        if (order == order_t::begins_file) files_.begin();
        if (order != order_t::out) files_.current().add_epoch(*epoch.record);
        epoch.events.each([this](const std::string& text) { files_.current().add_event(text); });
        epoch.events.clear();
    }

    void note_station(int id)
    {
        if (id == MSG_POSITION || id == MSG_ECEF_POSITION) list_position();
        if (id == MSG_ANTENNA) has_antenna_ = true;
    }

    void list_position()
    {
        if (!options_.position_listing) return;
        if (positions_ == nullptr) positions_ = std::make_unique<output_file_t>(options_.folder);
        WriteBestxyzFile(positions_->stream(), raw_.get());
    }

    std::vector<std::string> publish()
    {
        const std::string partial = source_.cut_short() ? ".partial" : "";
        std::vector<finished_file_t> files = files_.finish(partial);
        const file_names_t names = names_of(files_.coverage(), 1);
        const auto name_of = [&](char letter) { return names.navigation(letter) + partial; };
        for (finished_file_t& file : navigation_.finish(*raw_, name_of)) files.push_back(std::move(file));
        if (positions_ != nullptr) files.push_back({std::move(positions_), names.positions() + partial});
        return kvx::publish(files, {.replace = options_.force, .live = source_.live()});
    }

    file_names_t names_of(const coverage_t& coverage, int number) const
    {
        constexpr int kLongNames = 300;   // for all versions
        const std::string marker = options_.marker.empty() ? log_stem(source_.name()) : options_.marker;
        return {kLongNames, marker, options_.country, options_.name, coverage, number};
    }

    const convert_options_t& options_;
    input_file_t source_;
    std::unique_ptr<raw_t> raw_;
    log_reader_t reader_;
    summary_t summary_;
    bool has_antenna_ = false;
    observation_series_t<observation_file_t> files_;
    navigation_files_t navigation_;
    record_limits_t limits_;
    std::unique_ptr<output_file_t> positions_;
    host_epoch_t epoch_;
    events_t events_;   // behind the epoch that is collected
    std::uint64_t events_lost_ = 0;
    epoch_order_t<host_epoch_t> order_;
    CEpochCollector epochs_;
};

}   // namespace

summary_t convert_log_as_host(const convert_options_t& options, const std::string& log)
{
    return host_conversion_t(options, log).run();
}

}   // namespace kvx
