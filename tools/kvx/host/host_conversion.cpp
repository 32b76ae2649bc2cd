#include "host/host_conversion.h"

#include <memory>

#include "common/command.h"
#include "common/error.h"
#include "common/interrupt.h"
#include "common/output_file.h"
#include "common/progress.h"
#include "convert/file_names.h"
#include "gnss/log/frame.h"
#include "host/navigation_files.h"
#include "host/observation_file.h"
#include "host/record_limits.h"
#include "log/epoch_collector.h"
#include "log/log_reader.h"
#include "log/summary.h"

namespace kvx {

namespace {

constexpr unsigned short kUsualLeaps = 18;

class host_conversion_t {
public:
    host_conversion_t(const convert_options_t& options, const std::string& log)
        : options_(options),
          source_(log),
          raw_(std::make_unique<raw_t>()),
          reader_(source_, *raw_),
          observations_(options, log_stem(log)),
          navigation_(options),
          limits_(!options.no_signal_map, options.raw_prn),
          epochs_([this](raw_t& epoch) { on_epoch(epoch); })
    {
        Initial_raw(raw_.get(), 0);
        raw_->opt_nosigmap = options.no_signal_map;
        raw_->opt_rawprn = options.raw_prn;
        g_curleap = kUsualLeaps;   // what another log has told is no concern of this one
    }

    summary_t run()
    {
        read_log();
        if (!observations_.exists() && interrupted()) throw error_t(source_.name(), "interrupted", "before any epoch");
        if (!observations_.exists()) {
            throw error_t(source_.name(), "no usable epoch, no file written", summary_.why_no_epoch());
        }
        outcome_t& outcome = summary_.outcome.emplace();
        outcome.epochs_written = observations_.epochs().epochs;
        outcome.left_out = observations_.left_out();
        outcome.out_of_order = observations_.out_of_order();
        outcome.events_lost = observations_.events_lost();
        limits_.flush();
        outcome.beyond_record = limits_.lost();
        if (options_.navigation() != "none") outcome.navigation = navigation_.count();
        outcome.files = publish();
        if (interrupted()) {
            throw error_t(source_.name(), "interrupted", "what was read is in " + outcome.files.front());
        }
        return std::move(summary_);
    }

private:
    void read_log()
    {
        progress_t progress(source_.name(), source_.size_on_disk());
        frame_t frame{};
        while (reader_.next(frame)) {
            if (frame.result == DECODE_EPH && !navigation_.add(*raw_)) frame.result = DECODE_NOTHING;   // repeated
            summary_.count(frame);
            on_frame(frame);
            progress.at(source_.size_on_disk() > 0 ? source_.position_on_disk() : reader_.bytes());
        }
        epochs_.flush();
        summary_.finish(reader_, source_);
    }

    void on_frame(const frame_t& frame)
    {
        switch (frame.result) {
            case DECODE_OBS:
                limits_.add(raw_->buff + korvex::kHeaderSize, raw_->len - korvex::kHeaderSize,
                            frame.id == MSG_RANGE_COMPRESSED, !epochs_.continues(*raw_));
                epochs_.add(*raw_);
                break;
            case DECODE_MARK:
                observations_.add_mark(*raw_, epochs_.pending());
                break;
            case DECODE_STOP_AND_GO:
                observations_.add_stop_and_go(*raw_, epochs_.pending());
                break;
            case DECODE_STATION:
                note_station(frame.id);
                break;
            default:
                break;
        }
    }

    void on_epoch(raw_t& epoch)
    {
        summary_.count_epoch(epoch);
        observations_.add_epoch(epoch);
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
        const std::string marker = options_.marker.empty() ? log_stem(source_.name()) : options_.marker;
        constexpr int kLongNames = 300;   // for all versions
        const file_names_t names(kLongNames, marker, options_.country, options_.name, observations_.coverage());
        const std::string partial = interrupted() ? ".partial" : "";
        std::vector<std::string> files = {observations_.finish(*raw_, has_antenna_, names.observations() + partial)};
        const auto name_of = [&](char letter) { return names.navigation(letter) + partial; };
        for (const std::string& path : navigation_.finish(*raw_, name_of)) files.push_back(path);
        if (positions_ != nullptr) files.push_back(positions_->publish(names.positions() + partial));
        return files;
    }

    const convert_options_t& options_;
    input_file_t source_;
    std::unique_ptr<raw_t> raw_;
    log_reader_t reader_;
    summary_t summary_;
    bool has_antenna_ = false;
    observation_file_t observations_;
    navigation_files_t navigation_;
    record_limits_t limits_;
    std::unique_ptr<output_file_t> positions_;
    epoch_collector_t epochs_;
};

}   // namespace

summary_t convert_log_as_host(const convert_options_t& options, const std::string& log)
{
    return host_conversion_t(options, log).run();
}

}   // namespace kvx
