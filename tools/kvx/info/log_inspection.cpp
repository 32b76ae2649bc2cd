// What a log tells.
#include <limits>

#include "common/error.h"
#include "common/interrupt.h"
#include "common/progress.h"
#include "convert/epoch_choice.h"
#include "convert/selection.h"
#include "convert/station_messages.h"
#include "info/inspection.h"
#include "log/log_reader.h"
#include "log/message_time.h"
#include "rinex/dates.h"
#include "rinex/locks.h"
#include "rinex/nav_messages.h"
#include "rinex/ranges.h"

namespace kvx {

namespace {

// Ephemerides of the beginning, for which those that the receiver sends later do as well: until they come nobody knows
// where the satellites stand.
class look_ahead_t {
public:
    explicit look_ahead_t(const std::string& path) : source_(path) {}

    void read(quality::quality_t& quality)
    {
        const auto record = std::make_unique_for_overwrite<raw_t>();
        Initial_raw(record.get(), 1);
        log_reader_t reader(source_, *record, false);
        progress_t progress(source_);
        for (frame_t frame{}; reader.next(frame) && reader.bytes() < kMostBytes;) {
            progress.at(source_.position_on_disk());
            const korvex::header_t header = korvex::read_header(record->buff);
            const auto time = frame.checksum_ok ? time_of(header) : std::nullopt;
            if (!time) continue;
            if (is_range(frame.id)) first_ = std::min(first_, *time);
            if (*time - kWindow > first_) break;
            rinex::read_ephemerides(frame.id, *time, record->buff + korvex::kHeaderSize, header.body_size,
                                    [&](const auto& e) { quality.add(e); });
        }
    }

private:
    static constexpr std::int64_t kWindow = 2 * 3'600'000;   // ms
    static constexpr std::uint64_t kMostBytes = 64 << 20;

    input_file_t source_;
    std::int64_t first_ = std::numeric_limits<std::int64_t>::max() - kWindow;
};

class log_inspection_t {
public:
    log_inspection_t(const inspection_options_t& options, const std::string& path, const on_quality_t& on_quality)
        : options_(options),
          source_(path),
          frame_(std::make_unique_for_overwrite<raw_t>()),
          reader_(source_, *frame_, false),
          selection_(options),
          ranges_(options.names, ledger_, [this](auto& epoch) { order_.add(epoch->time, epoch); }),
          order_(std::make_unique<rinex::epoch_t>, [this](auto& epoch, order_t order) { on_judged(epoch, order); }),
          quick_order_([] { return place_t{}; },
                       [this](place_t& p, order_t o) { result_.summary.count_epoch(p.time, p.offset, o); }),
          choice_(options, selection_, [this](auto& epoch, rinex::fate_t fate) { on_chosen(epoch, fate); })
    {
        Initial_raw(frame_.get(), 1);   // framing needs no more
        std::array<std::vector<std::string>, rinex::kConstellationCount> codes;
        for (int c = 0; c < rinex::kConstellationCount; ++c)
            codes[static_cast<std::size_t>(c)] = options.names.codes(c);
        result_.carriers = std::make_unique<quality::carriers_t>(std::move(codes));
        if (options.quick) {
            result_.seen =
                std::make_unique<seen_signals_t>(options_.names, [this](std::int64_t time, std::uint64_t offset) {
                    place_t place{time, offset};
                    quick_order_.add(time, place);
                });
            return;
        }
        result_.quality = std::make_unique<quality::quality_t>(*result_.carriers);
        if (on_quality) on_quality(*result_.quality);
        if (path != "-" && !source_.live()) look_ahead_t(path).read(*result_.quality);   // else it comes once
    }

    inspection_t run()
    {
        progress_t progress(source_);
        frame_t frame{};
        while (reader_.next(frame)) {
            if (frame.checksum_ok) frame.result = take(frame);
            result_.summary.count(frame, frame_->buff, numbering_t::rinex);
            progress.at(source_.position_on_disk());
        }
        if (result_.seen) result_.seen->flush();
        quick_order_.flush();
        ranges_.flush();
        order_.flush();
        choice_.flush();
        if (result_.quality) result_.quality->finish();
        result_.summary.finish(reader_, source_);
        result_.damage = reader_.damage();
        if (result_.summary.messages.empty() && source_.ended_by_signal())
            throw interruption_t(source_.name(), "before any message");
        if (result_.summary.messages.empty())
            throw error_t(source_.name(), "holds no message of the receiver's log", result_.summary.why_no_epoch());
        return std::move(result_);
    }

private:
    // Of an epoch.
    struct place_t {
        std::int64_t time;   // ms
        std::uint64_t offset;
    };

    int take(const frame_t& frame)
    {
        const korvex::header_t header = korvex::read_header(frame_->buff);
        const auto time = time_of(header);
        if (!time) return DECODE_NOTHING;
        const std::uint8_t* const body = frame_->buff + korvex::kHeaderSize;
        if (is_range(frame.id)) return take_range(frame, *time, body, header.body_size);
        if (frame.id == MSG_ION_UTC) return take_ionosphere(*time, body, header.body_size);
        bool is_new = false;
        const auto worth = rinex::read_ephemerides(frame.id, *time, body, header.body_size, [&](const auto& e) {
            if (selection_.wants(e.satellite)) is_new |= take_ephemeris(e, *time);
        });
        if (worth == rinex::nav_result_t::no_ephemeris) return take_station(frame.id, *time, body, header.body_size);
        return worth == rinex::nav_result_t::refused ? DECODE_REFUSED : is_new ? DECODE_EPH : DECODE_NOTHING;
    }

    bool take_ephemeris(const rinex::ephemeris_record_t& e, std::int64_t time)
    {
        const bool is_new = known_.add(e);
        if (is_new) known_.leave(static_cast<double>(time) / 1000.0);
        if (result_.quality) result_.quality->add(e);
        if (result_.quality && is_new) result_.quality->count(e);
        return is_new;
    }

    int take_range(const frame_t& frame, std::int64_t time, const std::uint8_t* body, int size)
    {
        const bool compressed = frame.id == MSG_RANGE_COMPRESSED;
        if (result_.seen)
            return result_.seen->add(time, body, size, compressed, frame.offset) ? DECODE_OBS : DECODE_REFUSED;
        if (!ranges_.add(time, body, size, compressed, frame.offset)) return DECODE_REFUSED;
        order_.expect(ranges_.time());
        return DECODE_OBS;
    }

    int take_ionosphere(std::int64_t time, const std::uint8_t* body, int size)
    {
        const auto record = rinex::read_ion_utc_record(time, body, size);
        if (!record) return DECODE_REFUSED;
        std::array<double, 8> model{};
        std::copy_n(record->alpha.begin(), 4, model.begin());
        std::copy_n(record->beta.begin(), 4, model.begin() + 4);
        if (result_.quality) result_.quality->take_ionosphere(model);
        return DECODE_ION_UTC;
    }

    // A fix that two messages tell counts once.
    int take_station(int id, std::int64_t time, const std::uint8_t* body, int size)
    {
        const int result = station_.take(id, time, body, size);
        if (station_.fix() && result_.quality && time != last_fix_ && selection_.in_window(time * rinex::kTicksPerMs)) {
            const auto& p = station_.fix()->position;
            result_.quality->add_fix({p[0], p[1], p[2]}, station_.fix()->type, time);
            last_fix_ = time;
        }
        return result;
    }

    void on_judged(std::unique_ptr<rinex::epoch_t>& epoch, order_t order)
    {
        result_.summary.count_epoch(epoch->time, epoch->offset, order);
        if (order == order_t::out) return;
        if (order == order_t::begins_file) choice_.begin();
        choice_.take(epoch);
    }

    void on_chosen(rinex::epoch_t& epoch, rinex::fate_t fate)
    {
        epoch.each([&](int place, int signal) { locks_.follow(place, signal, epoch.at(place, signal)); });
        if (fate != rinex::fate_t::written) return;
        selection_.apply(epoch, ledger_);
        measured_.time = epoch.time;
        measured_.offset = epoch.offset;
        measured_.measurements.clear();
        epoch.each([&](int place, int signal) {
            rinex::observation_t& o = epoch.at(place, signal);
            o.digits = 0;
            locks_.mark(place, signal, epoch.time, o);
            quality::measurement_t& m = measured_.measurements.emplace_back();
            m.place = static_cast<std::uint8_t>(place);
            m.signal = static_cast<std::uint8_t>(signal);
            m.told = o.digits;
            std::copy_n(o.value, rinex::kKindCount, m.value);
        });
        result_.carriers->take_channels(ranges_.channels());
        if (!measured_.measurements.empty()) result_.quality->add(measured_);
    }

    const inspection_options_t& options_;
    input_file_t source_;
    std::unique_ptr<raw_t> frame_;   // the framing keeps the frame in hand there
    log_reader_t reader_;
    inspection_t result_;
    rinex::ledger_t ledger_;
    selection_t selection_;
    convert_options_t usual_;
    station_messages_t station_{usual_};
    position::broadcast_t known_;   // sent so far
    rinex::range_collector_t ranges_;
    epoch_order_t<std::unique_ptr<rinex::epoch_t>> order_;
    epoch_order_t<place_t> quick_order_;
    epoch_choice_t<rinex::epoch_t> choice_;
    rinex::lock_tracker_t locks_;
    quality::measured_epoch_t measured_;
    std::int64_t last_fix_ = -1;   // ms
};

}   // namespace

inspection_t inspect_log(const inspection_options_t& options, const std::string& path, const on_quality_t& on_quality)
{
    return log_inspection_t(options, path, on_quality).run();
}

}   // namespace kvx
