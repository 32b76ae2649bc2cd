#include "conversion.h"

#include <memory>

#include "command.h"
#include "epoch_collector.h"
#include "error.h"
#include "interrupt.h"
#include "log_reader.h"
#include "log_summary.h"
#include "navigation_files.h"
#include "observation_file.h"
#include "output_file.h"
#include "progress.h"

namespace kvx {

namespace {

enum message_id_t { kGeodeticPosition = 42, kRangeMessage = 43, kEcefPosition = 241, kAntennaType = 1421 };
constexpr unsigned short kUsualLeaps = 18;

class Conversion {
public:
    Conversion(const convert_options_t& options, const std::string& log)
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

    conversion_result_t run()
    {
        read_log();
        if (!observations_.exists() && interrupted()) throw Error(source_.name(), "interrupted", "before any epoch");
        if (!observations_.exists()) {
            throw Error(source_.name(), "no usable epoch, no file written",
                        summary_.why_no_epoch(reader_.losses(), source_.damage()));
        }
        nlohmann::ordered_json result = summary_.to_json(reader_, source_.damage());
        result["log"] = source_.name();
        result["epochs_written"] = observations_.epochs();
        if (observations_.left_out() > 0) result["observations_left_out"] = observations_.left_out();
        if (observations_.out_of_order() > 0) result["epochs_out_of_order"] = observations_.out_of_order();
        if (options_.navigation() != "none") result["navigation"] = navigation_.to_json();
        result["files"] = publish();
        if (interrupted()) {
            throw Error(source_.name(), "interrupted",
                        "what was read is in " + result["files"].front().get<std::string>());
        }
        const bool damaged = reader_.losses().any() || !source_.damage().empty() || observations_.out_of_order() > 0;
        return {damaged ? kDamaged : kDone, std::move(result)};
    }

private:
    void read_log()
    {
        Progress progress(source_.name(), source_.size_on_disk());
        frame_t frame{};
        while (!interrupted() && reader_.next(frame)) {
            if (frame.result == DECODE_EPH && !navigation_.add(*raw_)) frame.result = DECODE_NOTHING;   // repeated
            summary_.count_frame(frame);
            on_frame(frame);
            progress.at(source_.size_on_disk() > 0 ? source_.position_on_disk() : reader_.bytes());
        }
        epochs_.flush();
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
        if (id == kGeodeticPosition || id == kEcefPosition) list_position();
        if (id == kAntennaType) station_.has_antenna = true;
    }

    void list_position()
    {
        if (!options_.position_listing) return;
        if (positions_ == nullptr) positions_ = std::make_unique<OutputFile>(options_.folder);
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
            if (eph.sat != 0 || id == kRangeMessage) station_.facts.glonass_channels[slot - 1] = eph.frq;
        }
    }

    nlohmann::ordered_json publish()
    {
        const std::string marker = options_.marker.empty() ? log_stem(source_.name()) : options_.marker;
        std::string stem = options_.name.empty() ? rinex_stem(marker, observations_.coverage(), true) : options_.name;
        const std::string navigation_stem =
            options_.name.empty() ? rinex_stem(marker, observations_.coverage(), false) : options_.name;
        const std::string partial = interrupted() ? ".partial" : "";
        auto files = nlohmann::ordered_json::array();
        files.push_back(observations_.finish(*raw_, station_, stem + "_MO.rnx" + partial));
        for (const std::string& path : navigation_.finish(*raw_, navigation_stem, partial)) files.push_back(path);
        if (positions_ != nullptr) files.push_back(positions_->publish(stem + ".xyz" + partial));
        return files;
    }

    const convert_options_t& options_;
    LogSource source_;
    std::unique_ptr<raw_t> raw_;
    LogReader reader_;
    LogSummary summary_;
    station_t station_;
    ObservationFile observations_;
    NavigationFiles navigation_;
    std::unique_ptr<OutputFile> positions_;
    EpochCollector epochs_;
};

}   // namespace

conversion_result_t convert_log(const convert_options_t& options, const std::string& log)
{
    return Conversion(options, log).run();
}

}   // namespace kvx
