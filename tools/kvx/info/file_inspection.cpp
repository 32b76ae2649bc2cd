// What RINEX files tell.
#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "common/error.h"
#include "common/interrupt.h"
#include "common/progress.h"
#include "common/rinex_file.h"
#include "convert/epoch_choice.h"
#include "convert/selection.h"
#include "gnss/foundation/time_scales.h"
#include "info/inspection.h"
#include "info/navigation_records.h"
#include "rinex/dates.h"
#include "rinex/read_observations.h"

namespace kvx {

namespace {

constexpr std::size_t kMostCodes = 60;   // of a system: signals are bits

// The signal that an observation type is of. RINEX 2 names pseudoranges of a code and of a precise code; its other
// types belong to the one or the other of their band.
std::string signal_of(const rinex::observation_code_t& code, const std::vector<rinex::listed_type_t>& types)
{
    const auto& [kind, band, attribute] = code.letters;
    if (attribute != ' ') return {band, attribute};
    const auto lists = [&types, band = band](char range) {
        return std::any_of(types.begin(), types.end(), [&](const rinex::listed_type_t& t) {
            return t.code.letters[0] == range && t.code.letters[1] == band;
        });
    };
    if (kind == 'C' || kind == 'P') return {band, kind};
    return {band, lists('P') && (band != '1' || !lists('C')) ? 'P' : 'C'};
}

// Where the values of a system's types go.
struct column_t {
    int signal = -1;
    int kind = 0;
};

class file_inspection_t {
public:
    file_inspection_t(const inspection_options_t& options, const std::string& path, const on_quality_t& on_quality)
        : options_(options),
          file_(path,
                [this](const std::string& text) {
                    if (result_.findings++ == 0) result_.first_finding = text;
                }),
          selection_(options),
          order_(std::make_unique<quality::measured_epoch_t>,
                 [this](auto& epoch, order_t order) { on_judged(epoch, order); }),
          choice_(options, selection_, [this](auto& epoch, rinex::fate_t fate) { on_chosen(epoch, fate); })
    {
        result_.kind = inspection_t::kind_t::observations;
        name_signals();
        result_.carriers = std::make_unique<quality::carriers_t>(codes_);
        result_.quality = std::make_unique<quality::quality_t>(*result_.carriers);
        if (on_quality) on_quality(*result_.quality);
        describe_header();
    }

    void take_navigation(const std::string& path)
    {
        navigation_records_t records(path);
        const auto take = [this](const rinex::ephemeris_record_t& e) {
            if (!selection_.wants(e.satellite)) return;
            result_.quality->add(e);
            result_.quality->count(e);
        };
        records.read(take);
        if (records.ionosphere()) result_.quality->take_ionosphere(*records.ionosphere());
        take_channels(records.channels());
    }

    inspection_t run()
    {
        progress_t progress(file_.source());
        rinex::observation_reader_t reader(file_.lines(), file_.header(), file_.findings());
        rinex::read_epoch_t epoch;
        while (!interrupted() && reader.next(epoch)) {
            if (!epoch.is_event() && epoch.has_time) take(epoch);
            progress.at(file_.source().position_on_disk());
        }
        order_.flush();
        choice_.flush();
        result_.quality->finish();
        file_.finish();
        result_.summary.log = file_.path();
        result_.summary.bytes = file_.source().size_on_disk();
        return std::move(result_);
    }

private:
    using epoch_ptr_t = std::unique_ptr<quality::measured_epoch_t>;

    void name_signals()
    {
        for (int c = 0; c < rinex::kConstellationCount; ++c) {
            const char letter = rinex::kConstellations[c].letter;
            const auto at = static_cast<std::size_t>(c);
            const auto& types = file_.header().types_of(letter).types;
            for (const rinex::listed_type_t& t : types) {
                const std::string signal = signal_of(t.code, types);
                const bool named = std::find(codes_[at].begin(), codes_[at].end(), signal) != codes_[at].end();
                const bool known = rinex::carrier_frequency(letter, signal[0]) != 0.0;
                if (known && !named && codes_[at].size() < kMostCodes) codes_[at].push_back(signal);
            }
            std::sort(codes_[at].begin(), codes_[at].end());
            for (const rinex::listed_type_t& t : types) {
                const auto found = std::find(codes_[at].begin(), codes_[at].end(), signal_of(t.code, types));
                const char kind = t.code.letters[0] == 'P' ? 'C' : t.code.letters[0];
                const std::size_t number = rinex::kKinds.find(kind);
                column_t column;
                if (found != codes_[at].end() && number != rinex::kKinds.npos && wants(c, *found))
                    column = {static_cast<int>(found - codes_[at].begin()), static_cast<int>(number)};
                columns_[at].push_back(column);
            }
        }
    }

    bool wants(int constellation, const std::string& code) const
    {
        return options_.signals.empty() || matches(options_.signals, code) ||
               matches(options_.signals, rinex::kConstellations[constellation].letter + code);
    }

    void describe_header()
    {
        const rinex::file_header_t& h = file_.header();
        const auto text_of = [&h](const char* label) {
            const rinex::header_record_t* record = h.find(label);
            if (record == nullptr) return std::string();
            std::string text = record->text.substr(0, 60);
            text.resize(text.find_last_not_of(' ') + 1);
            return text;
        };
        result_.header = "RINEX " + h.version_text + ", marker " + text_of("MARKER NAME");
        if (const auto place = h.vector("APPROX POSITION XYZ"))
            result_.quality->take_place({(*place)[0], (*place)[1], (*place)[2]});
        const std::string scale = std::string(h.time_system());
        ahead_of_gps_ = scale == "BDT" || (scale.empty() && h.system == 'C') ? kBdsOffset : 0.0;
        utc_ = scale == "GLO" || (scale.empty() && h.system == 'R');
        rinex::channels_t channels{};
        for (const auto& [slot, channel] : h.glonass_channels()) {
            if (slot > 0 && static_cast<std::size_t>(slot) < channels.size())
                channels[static_cast<std::size_t>(slot)] = static_cast<std::int8_t>(channel);
        }
        take_channels(channels);
    }

    void take_channels(const rinex::channels_t& channels) { result_.carriers->take_channels(channels); }

    // On the scale of GPS (ms).
    std::int64_t time_of(rinex::ticks_t ticks) const
    {
        const double seconds = static_cast<double>(ticks) / static_cast<double>(rinex::kTicksPerSecond);
        const double behind = utc_ ? rinex::leap_seconds(seconds) : ahead_of_gps_;
        return (ticks + rinex::kTicksPerMs / 2) / rinex::kTicksPerMs + static_cast<std::int64_t>(1000.0 * behind);
    }

    void take(const rinex::read_epoch_t& from)
    {
        reading_->time = time_of(from.time);
        reading_->measurements.clear();
        for (const rinex::read_satellite_t& s : from.satellites) {
            const rinex::satellite_t satellite = rinex::satellite_of(rinex::constellation_of(s.system), s.number);
            if (satellite.valid() && selection_.wants(satellite)) take(from, s, satellite);
        }
        std::sort(reading_->measurements.begin(), reading_->measurements.end(), [](const auto& a, const auto& b) {
            return a.place != b.place ? a.place < b.place : a.signal < b.signal;
        });
        order_.add(reading_->time, reading_);
    }

    void take(const rinex::read_epoch_t& from, const rinex::read_satellite_t& s, rinex::satellite_t satellite)
    {
        const auto constellation = static_cast<std::size_t>(satellite.constellation);
        std::array<int, kMostCodes> places;   // among the measurements, of the signals
        places.fill(-1);
        const auto& columns = columns_[constellation];
        for (std::size_t i = 0; i < s.count && i < columns.size(); ++i) {
            const rinex::read_value_t& value = from.values[s.first + i];
            const auto [signal, kind] = columns[i];
            if (signal < 0 || !value.present || value.thousandths == 0) continue;
            int& at = places[static_cast<std::size_t>(signal)];
            if (at < 0) {
                at = static_cast<int>(reading_->measurements.size());
                reading_->measurements.push_back(
                    {static_cast<std::uint8_t>(rinex::place_of(satellite)), static_cast<std::uint8_t>(signal), 0, {}});
            }
            quality::measurement_t& m = reading_->measurements[static_cast<std::size_t>(at)];
            m.value[kind] = static_cast<double>(value.thousandths) / 1000.0;
            if (kind == rinex::kPhase && value.lock >= '0' && value.lock <= '7')
                m.told = static_cast<std::uint8_t>((value.lock - '0') & (rinex::kSlip | rinex::kHalfCycle));
        }
    }

    void on_judged(epoch_ptr_t& epoch, order_t order)
    {
        result_.summary.count_epoch(epoch->time, 0, order);
        if (order == order_t::out) return;
        if (order == order_t::begins_file) choice_.begin();
        choice_.take(epoch);
    }

    // What slipped in an epoch that is left out has slipped by the next one.
    void on_chosen(quality::measured_epoch_t& epoch, rinex::fate_t fate)
    {
        const bool kept = fate == rinex::fate_t::written;
        for (quality::measurement_t& m : epoch.measurements) {
            std::uint8_t& pending = pending_slips_[std::size_t{m.place} * kMostCodes + m.signal];
            pending |= m.told & rinex::kSlip;
            if (!kept || m.phase() == 0.0) continue;
            m.told |= pending;
            pending = 0;
        }
        if (kept && !epoch.measurements.empty()) result_.quality->add(epoch);
    }

    const inspection_options_t& options_;
    inspection_t result_;
    rinex_file_t file_;
    selection_t selection_;
    epoch_order_t<epoch_ptr_t> order_;
    epoch_choice_t<quality::measured_epoch_t> choice_;
    std::array<std::vector<std::string>, rinex::kConstellationCount> codes_;
    std::array<std::vector<column_t>, rinex::kConstellationCount> columns_;
    epoch_ptr_t reading_ = std::make_unique<quality::measured_epoch_t>();
    std::vector<std::uint8_t> pending_slips_ = std::vector<std::uint8_t>(rinex::kSatellites * kMostCodes);
    double ahead_of_gps_ = 0.0;   // s that are to be added to the times
    bool utc_ = false;
};

}   // namespace

inspection_t inspect_observations(const inspection_options_t& options, const std::string& path,
                                  const std::vector<std::string>& navigation, const on_quality_t& on_quality)
{
    file_inspection_t inspection(options, path, on_quality);
    for (const std::string& file : navigation) inspection.take_navigation(file);
    return inspection.run();
}

inspection_t inspect_navigation(const std::string& path)
{
    inspection_t result;
    result.kind = inspection_t::kind_t::navigation;
    result.carriers =
        std::make_unique<quality::carriers_t>(std::array<std::vector<std::string>, rinex::kConstellationCount>{});
    result.quality = std::make_unique<quality::quality_t>(*result.carriers);
    navigation_records_t records(path, [&result](const std::string& text) {
        if (result.findings++ == 0) result.first_finding = text;
    });
    records.read([&result](const rinex::ephemeris_record_t& e) { result.quality->count(e); });
    result.summary.log = path;
    result.header = "RINEX " + records.version();
    return result;
}

}   // namespace kvx
