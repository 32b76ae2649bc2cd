#include "convert/conversion.h"

#include <memory>

#include "common/command.h"
#include "common/error.h"
#include "common/interrupt.h"
#include "common/output_file.h"
#include "common/progress.h"
#include "convert/navigation_files.h"
#include "convert/observation_file.h"
#include "log/epoch_collector.h"
#include "log/log_reader.h"
#include "log/summary.h"

namespace kvx {

namespace {

constexpr unsigned short kUsualLeaps = 18;

class conversion_t {
public:
    conversion_t(const convert_options_t& options, const std::string& log)
        : options_(options),
          source_(log),
          raw_(std::make_unique<raw_t>()),
          reader_(source_, *raw_),
          observations_(options, log_stem(log)),
          navigation_(options),
          epochs_([this](raw_t& epoch) { on_epoch(epoch); })
    {
        Initial_raw(raw_.get(), 0);
        raw_->opt_nosigmap = options.no_signal_map;
        raw_->opt_rawprn = options.raw_prn;
        g_curleap = kUsualLeaps;   // what another log has told is no concern of this one
        station_.facts.marker_type = options.marker_type;
        station_.facts.run_by = options.run_by;
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
                note_glonass(frame.id);
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
        if (id == MSG_ANTENNA) station_.has_antenna = true;
    }

    void list_position()
    {
        if (!options_.position_listing) return;
        if (positions_ == nullptr) positions_ = std::make_unique<output_file_t>(options_.folder);
        WriteBestxyzFile(positions_->stream(), raw_.get());
    }

    // Only the plain range message tells channels by itself; otherwise they come with the ephemerides.
    void note_glonass(int id)
    {
        for (int i = 0; i < raw_->nobs; ++i) {
            int slot = 0;
            if (satsys(raw_->obs[i].sat, &slot) != SYS_GLO) continue;
            const geph_t& eph = raw_->geph[slot - 1];
            station_.facts.glonass_seen[slot - 1] = true;
            if (eph.sat != 0 || id == MSG_RANGE) station_.facts.glonass_channels[slot - 1] = eph.frq;
        }
    }

    std::vector<std::string> publish()
    {
        const std::string marker = options_.marker.empty() ? log_stem(source_.name()) : options_.marker;
        std::string stem = options_.name.empty() ? rinex_stem(marker, observations_.coverage(), true) : options_.name;
        const std::string navigation_stem =
            options_.name.empty() ? rinex_stem(marker, observations_.coverage(), false) : options_.name;
        const std::string partial = interrupted() ? ".partial" : "";
        std::vector<std::string> files;
        files.push_back(observations_.finish(*raw_, station_, stem + "_MO.rnx" + partial));
        for (const std::string& path : navigation_.finish(*raw_, navigation_stem, partial)) files.push_back(path);
        if (positions_ != nullptr) files.push_back(positions_->publish(stem + ".xyz" + partial));
        return files;
    }

    const convert_options_t& options_;
    input_file_t source_;
    std::unique_ptr<raw_t> raw_;
    log_reader_t reader_;
    summary_t summary_;
    station_t station_;
    observation_file_t observations_;
    navigation_files_t navigation_;
    std::unique_ptr<output_file_t> positions_;
    epoch_collector_t epochs_;
};

}   // namespace

summary_t convert_log(const convert_options_t& options, const std::string& log)
{
    return conversion_t(options, log).run();
}

}   // namespace kvx
