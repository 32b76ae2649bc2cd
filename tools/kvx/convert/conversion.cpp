#include "convert/conversion.h"

#include <array>
#include <memory>
#include <optional>

#include "common/error.h"
#include "common/interrupt.h"
#include "common/progress.h"
#include "common/text_format.h"
#include "convert/conversion_files.h"
#include "convert/epoch_choice.h"
#include "convert/foresight.h"
#include "convert/joined_logs.h"
#include "convert/recorder.h"
#include "convert/selection.h"
#include "host/host_conversion.h"
#include "log/torn_frames.h"
#include "rinex/dates.h"
#include "rinex/ranges.h"
#include "verify/verification.h"

namespace kvx {

namespace {

class conversion_t {
public:
    conversion_t(const convert_options_t& options, const sources_t& logs)
        : options_(options),
          logs_(logs),
          selection_(options),
          station_(options),
          choice_(options_, selection_, [this](auto& epoch, rinex::fate_t fate) { on_chosen(epoch, fate); })
    {}

    summary_t run()
    {
        if (options_.join) {
            read_joined();
        } else {
            read_one();
        }
        choice_.flush();
        name_satellites();
        if (!files_->any() && summary_.ended_by_signal) throw interruption_t(summary_.log, "before any epoch");
        if (!files_->any()) throw error_t(summary_.log, "no usable epoch, no file written", summary_.why_no_epoch());
        if (cut_short_ && options_.recorder != nullptr)
            throw interruption_t(summary_.log, "it is left for the next run");
        if (const auto leaps = files_->navigation().leap_seconds()) station_.take_leap_seconds(*leaps);
        const std::vector<finished_file_t> files = files_->finish(cut_short_ ? ".partial" : "");
        outcome_t& outcome = summary_.outcome.emplace();
        outcome.partial = cut_short_;
        if (options_.navigation() != "none") outcome.navigation = files_->navigation().count();
        outcome.signals = signal_counts(options_.names, ledger_);
        outcome.verified = options_.verify && !outcome.partial;
        outcome.observations = files_->counts();
        if (outcome.verified) prove(files);
        outcome.files = files_->publish(files, claim(files));
        return std::move(summary_);
    }

private:
    std::unique_ptr<log_feed_t> open(const std::string& log)
    {
        auto feed = std::make_unique<log_feed_t>(
            log, options_.follow, options_.names, ledger_,
            log_feed_t::takes_t{
                [this](const log_feed_t& from, const message_t& message) { return take(from, message); },
                [this](const log_feed_t& from, const frame_t& frame, const std::uint8_t* content) {
                    summary_.count(frame, content, numbering_t::rinex);
                    progress_->at(finished_bytes_ + from.source().position_on_disk());
                }});
        if (torn_) torn_->apply_to(feed->reader(), log);
        return feed;
    }

    void begin_files(bool live)
    {
        const bool as_they_fill = options_.follow || (live && options_.split > 0);
        files_.emplace(options_, selection_, station_, channels_, foreseen_ ? &*foreseen_ : nullptr, ledger_,
                       as_they_fill);
    }

    // What is split has files of all sizes: they begin without.
    void foresee(input_file_t& log)
    {
        foresight_t foresight(options_, selection_);
        if (options_.split == 0) foresight.look_at(log);
        if (const rinex::columns_t* columns = foresight.columns()) foreseen_.emplace(*columns);
    }

    // @return their bytes
    std::uint64_t look_at_logs()
    {
        std::uint64_t bytes = 0;
        foresight_t foresight(options_, selection_);
        for (const std::string& name : logs_) {
            demand_file(name);
            input_file_t log(name);
            bytes += log.size_on_disk();
            if (options_.split == 0) foresight.look_at(log, foresight_t::kMostSamples / logs_.size() + 1);
        }
        if (const rinex::columns_t* columns = foresight.columns()) foreseen_.emplace(*columns);
        return bytes;
    }

    void read_one()
    {
        const auto log = open(logs_.front());
        foresee(log->source());
        live_ = log->source().live();
        begin_files(live_);
        progress_.emplace(log->source());
        log->reader().before_waiting([this] { files_->bring_to_disk(); });
        while (log->next()) on_judged(*log, log->current());
        finish(*log);
    }

    void read_joined()
    {
        const std::uint64_t bytes = look_at_logs();
        begin_files(false);
        summary_.joined.emplace();
        torn_.emplace(logs_);
        progress_.emplace(logs_.front(), bytes);
        joined_logs_t joined(
            logs_, options_.names, ledger_, [this](const std::string& log) { return open(log); },
            [this](const log_feed_t& log, judged_epoch_t& epoch) { on_judged(log, epoch); },
            [this](const log_feed_t& log) { finish(log); });
        joined.read();
        summary_.joined->sort();
        summary_.joined->epochs_in_common = joined.epochs_in_common();
    }

    void finish(const log_feed_t& log)
    {
        finished_bytes_ += log.source().size_on_disk();
        if (!log.source().read_error().empty()) read_error_ = log.source().read_error();
        cut_short_ = cut_short_ || log.source().cut_short();
        if (summary_.joined) {
            const log_reader_t& reader = log.reader();
            summary_.joined->logs.push_back(
                {log.source().name(), reader.bytes(), reader.losses().bytes(), log.epochs()});
        }
        summary_.finish(log.reader(), log.source());
        if (!options_.join) progress_.reset();
    }

    void name_satellites()
    {
        for (int place = 0; place < rinex::kSatellites; ++place) {
            const std::uint64_t epochs = satellite_epochs_[static_cast<std::size_t>(place)];
            if (epochs > 0) summary_.satellites[rinex::satellite_at(place)].epochs = epochs;
        }
    }

    int take(const log_feed_t& from, const message_t& m)
    {
        const int result = files_->navigation().take(m.id, m.sent, m.body, m.size);
        return result != DECODE_NOTHING ? result : take_station(from, m);
    }

    int take_station(const log_feed_t& from, const message_t& m)
    {
        const int result = station_.take(m.id, m.sent, m.body, m.size);
        if (station_.fix()) files_->add(*station_.fix());
        if (station_.event() && selection_.in_window(station_.event()->ticks)) {
            const bool behind = station_.event()->ticks % rinex::kTicksPerMs == 0 &&
                                from.is_in_epoch(station_.event()->ticks / rinex::kTicksPerMs);
            files_->observations().add(*station_.event(), behind);
        }
        return result;
    }

    void on_judged(const log_feed_t& log, judged_epoch_t& judged)
    {
        std::unique_ptr<rinex::epoch_t>& epoch = judged.epoch;
        epoch->satellites.each([this](int place) { ++satellite_epochs_[static_cast<std::size_t>(place)]; });
        take_channels(log.channels());
        if (summary_.joined) tell_gap(*epoch, judged.order);
        summary_.count_epoch(epoch->time, epoch->offset, judged.order, log.source().name());
        if (judged.order == order_t::out) return ledger_.add(*epoch, rinex::fate_t::out_of_order);
        if (judged.order == order_t::begins_file) {
            choice_.begin();
            files_->begin_file();
        }
        choice_.take(epoch);
    }

    void tell_gap(const rinex::epoch_t& epoch, order_t order)
    {
        const epoch_count_t& before = summary_.epochs;
        const double time = static_cast<double>(epoch.time) / 1000.0, usual = before.steps.usual();
        if (order == order_t::follows && usual > 0.0 && time - before.last > 1.5 * usual)
            summary_.joined->add_gap(before.last, time);
    }

    void take_channels(const rinex::channels_t& channels)
    {
        for (std::size_t n = 0; n < channels.size(); ++n) {
            if (channels[n]) channels_[n] = channels[n];
        }
    }

    void on_chosen(rinex::epoch_t& epoch, rinex::fate_t fate)
    {
        if (fate != rinex::fate_t::written) {
            files_->enter(epoch.time);
            files_->observations().follow(epoch);
            return ledger_.add(epoch, fate);
        }
        selection_.apply(epoch, ledger_);
        if (const auto leaps = files_->navigation().leap_seconds()) station_.take_leap_seconds(*leaps);
        files_->enter(epoch.time);
        files_->observations().add(epoch);
    }

    // Reads the log again, and the files that have no names yet.
    void prove(const std::vector<finished_file_t>& files)
    {
        std::vector<std::string> paths;
        for (const finished_file_t& f : files) {
            if (!f.name.ends_with(".xyz")) paths.push_back(f.file->path());
        }
        const verification_t result = verify(options_, logs_, paths);
        if (result.read_error.empty() != read_error_.empty())
            throw error_t(summary_.log, "cannot be read again", "proving the files, none is kept");
        if (result.proven()) return;
        std::string first = result.first_faults.front();
        for (const finished_file_t& f : files) {
            if (first.starts_with(f.file->path())) first.replace(0, f.file->path().size(), f.name);
        }
        throw error_t(summary_.log, "the files do not hold what the log sent, none is kept",
                      plural(result.faults, "fault") + ", the first: " + first);
    }

    claim_t claim(const std::vector<finished_file_t>& files) const
    {
        claim_t claim{.replace = options_.force, .live = live_};
        if (recorder_t* const recorder = options_.recorder; recorder != nullptr) {
            claim.root = recorder->root();
            claim.foreign = [recorder](const std::string& path) { return recorder->obstacle(path); };
            for (const auto& [file, name] : files) file->close(name);
            recorder->look_at(files);
            claim.before = [this, recorder](const auto& paths) { recorder->record(summary_, paths); };
        }
        return claim;
    }

    const convert_options_t& options_;
    const sources_t& logs_;
    summary_t summary_;
    rinex::ledger_t ledger_;
    selection_t selection_;
    std::optional<rinex::columns_t> foreseen_;
    station_messages_t station_;
    rinex::channels_t channels_;
    std::optional<torn_frames_t> torn_;   // of logs that are joined
    std::optional<conversion_files_t> files_;
    epoch_choice_t<rinex::epoch_t> choice_;
    std::optional<progress_t> progress_;
    std::uint64_t finished_bytes_ = 0;   // of logs read to their end
    std::string read_error_;             // of a log
    bool live_ = false, cut_short_ = false;
    std::array<std::uint64_t, rinex::kSatellites> satellite_epochs_{};
};

}   // namespace

summary_t convert_logs(const convert_options_t& options, const sources_t& logs)
{
    if (options.as_host) return convert_log_as_host(options, logs.front());
    return conversion_t(options, logs).run();
}

}   // namespace kvx
