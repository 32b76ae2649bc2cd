#include "log_to_files.h"

#include <CEpochCollector.h>

#include <cmath>

#include "fakes/memory_input.h"
#include "gnss/foundation/wire.h"
#include "gnss/log/frame.h"
#include "log/epoch_order.h"
#include "log/log_reader.h"
#include "rinex/check_file.h"
#include "rinex/dates.h"
#include "rinex/nav_messages.h"
#include "rinex/nav_text.h"
#include "rinex/observation_header.h"
#include "rinex/observation_text.h"
#include "rinex/ranges.h"
#include "rinex/relay.h"

namespace {

constexpr int kVersions[] = {211, 304, 305, 402};
constexpr std::int64_t kWeekMs = 604800000;
constexpr char kDate[] = "20240301 120000 UTC";
constexpr int kLastWeekOf2 = 5200;   // in 2079: years of RINEX 2 have two digits

// Slots without a channel, steps of any size, values that cannot be or that no field holds, the same again: the
// messages' fault.
bool is_fault(rinex::rule_t rule)
{
    using rinex::rule_t;
    constexpr rule_t kOfMessages[] = {rule_t::glonass_slot_missing,
                                      rule_t::interval,
                                      rule_t::interval_unused,
                                      rule_t::nav_range,
                                      rule_t::nav_week,
                                      rule_t::nav_twice,
                                      rule_t::nav_blank};
    return std::find(std::begin(kOfMessages), std::end(kOfMessages), rule) == std::end(kOfMessages);
}

// Gives lines where they stand.
class lines_t : public rinex::line_source_t {
public:
    explicit lines_t(std::string_view text) : left_(text) {}

    bool next(std::string_view& line) override
    {
        line = left_.substr(0, left_.find('\n'));
        const bool more = !left_.empty();
        left_.remove_prefix(std::min(line.size() + 1, left_.size()));
        return more;
    }

private:
    std::string_view left_;
};

void check(const std::string& file)
{
    lines_t lines(file);
    rinex::findings_t findings(
        [&](const rinex::finding_t& f) {
            if (!is_fault(f.rule)) return;
            std::fprintf(stderr, "%llu: %s %s\n", static_cast<unsigned long long>(f.line), f.subject.c_str(),
                         f.text.c_str());
            FUZZ_CHECK(false);
        },
        5);
    rinex::file_summary_t summary;
    FUZZ_CHECK(rinex::check_file(lines, findings, summary));
}

// The epochs with a header, as the converter puts them together.
class observation_file_t {
public:
    observation_file_t(int version, const rinex::signals_t& signals, rinex::ledger_t& ledger)
        : version_(version), text_(version, signals, ledger), buffer_(rinex::observation_text_t::kLongestEpoch)
    {}

    void add(rinex::epoch_t& epoch)
    {
        rinex::text_t out(buffer_.data(), buffer_.size());
        if (!text_.epoch(epoch, out)) return;
        session_.last = epoch.time * rinex::kTicksPerMs;
        if (epochs_.empty()) session_.first = session_.last;
        epochs_ += out.view();
    }

    std::string whole(const rinex::channels_t& channels)
    {
        rinex::station_t station;
        station.program = "fuzz", station.date = kDate, station.marker = "M", station.marker_type = "GEODETIC";
        std::string file =
            rinex::observation_header(version_, station, session_, text_.columns(), text_.seen(), channels);
        return file += text_.columns().settled() ? epochs_ : in_order();
    }

    bool empty() const { return epochs_.empty(); }

private:
    std::string in_order()
    {
        char* out = nullptr;
        std::size_t size = 0;
        std::FILE* const from = fmemopen(epochs_.data(), epochs_.size(), "r");
        std::FILE* const to = open_memstream(&out, &size);
        rinex::copy_in_order(from, to, text_.columns());
        std::fclose(from), std::fclose(to);
        const std::string ordered(out, size);
        std::free(out);
        return ordered;
    }

    int version_;
    rinex::observation_text_t text_;
    std::vector<char> buffer_;
    rinex::session_t session_;
    std::string epochs_;
};

// Range messages on their way into files.
class observations_t {
public:
    explicit observations_t(int version) : version_(version) {}

    void take(const korvex::header_t& h, std::int64_t time, const std::uint8_t* body)
    {
        if ((h.id != MSG_RANGE && h.id != MSG_RANGE_COMPRESSED) || h.week == 0) return;
        if (!way_) way_.emplace(*this);
        if (!way_->ranges.add(time, body, h.body_size, h.id == MSG_RANGE_COMPRESSED)) return;
        way_->order.expect(way_->ranges.time());
        records_ += wire::u32(body);
    }

    // What became of every record is known.
    void finish()
    {
        if (!way_) return;
        way_->ranges.flush();
        way_->order.flush();
        for (int key = 0; key < rinex::kTrackingKeys; ++key) records_ -= ledger_.row(key).records();
        FUZZ_CHECK(records_ == 0);
        finish_file();
    }

private:
    using epoch_ptr_t = std::unique_ptr<rinex::epoch_t>;
    struct way_t {
        explicit way_t(observations_t& o)
            : ranges(signals(), o.ledger_, [&](epoch_ptr_t& epoch) { order.add(epoch->time, epoch); }),
              order(std::make_unique<rinex::epoch_t>,
                    [&](epoch_ptr_t& e, kvx::order_t verdict) { o.judged(*e, verdict); })
        {}
        rinex::range_collector_t ranges;
        kvx::epoch_order_t<epoch_ptr_t> order;
    };

    void judged(rinex::epoch_t& epoch, kvx::order_t order)
    {
        if (order == kvx::order_t::out)
            return epoch.each([&](int place, int signal) {
                ledger_.add(epoch.at(place, signal).tracking_key, rinex::fate_t::out_of_order);
            });
        if (order == kvx::order_t::begins_file) {
            finish_file();
            file_.emplace(version_, signals(), ledger_);
        }
        file_->add(epoch);
    }

    void finish_file()
    {
        if (file_ && !file_->empty()) check(file_->whole(way_->ranges.channels()));
        file_.reset();
    }

    static const rinex::signals_t& signals()
    {
        static const rinex::signals_t signals;
        return signals;
    }

    int version_;
    rinex::ledger_t ledger_;
    std::optional<observation_file_t> file_;
    std::optional<way_t> way_;
    std::uint64_t records_ = 0;
};

// Navigation messages on their way into a file: a mixed one, of RINEX 2 one of GPS or GLONASS.
class navigation_t {
public:
    navigation_t(int version, char system) : version_(version), system_(version < 300 ? system : 'M') {}

    void take(const korvex::header_t& h, std::int64_t time, const std::uint8_t* body)
    {
        if (const auto ion = h.id == MSG_ION_UTC ? rinex::read_ion_utc_record(time, body, h.body_size) : std::nullopt) {
            if (system_ != 'R') ion_ = ion;
            if (version_ >= 400) records_ += rinex::ion_utc_text(*ion);
        }
        rinex::read_ephemerides(h.id, time, body, h.body_size, [&](const rinex::ephemeris_record_t& r) {
            for (const double value : r.clock) FUZZ_CHECK(std::isfinite(value));
            for (int line = 0; line < 3; ++line)
                for (const double value : r.orbit[line]) FUZZ_CHECK(std::isfinite(value));
            if (system_ == 'M' || system_ == r.satellite.letter()) records_ += rinex::nav_text(version_, r);
        });
    }

    void finish() const
    {
        if (records_.empty()) return;
        const auto leap_seconds = ion_ && ion_->leap_seconds > 0 ? std::optional(ion_->leap_seconds) : std::nullopt;
        check(rinex::nav_header(version_, {"fuzz", "", kDate, {system_}, ion_, leap_seconds}) + records_);
    }

private:
    int version_;
    char system_;
    std::string records_;
    std::optional<rinex::ion_utc_record_t> ion_;
};

// Reads a log and gives its messages to what makes a file of them.
template <class File>
void read_log(raw_t& raw, bytes_t log, std::size_t block, bool decode, bool rinex2, File&& file)
{
    static CEpochCollector epochs;
    memory_input = log;
    memory_input_piece = block;
    kvx::input_file_t source("");
    kvx::log_reader_t reader(source, raw, decode, block);
    std::uint64_t whole = 0;
    for (kvx::frame_t frame{}; reader.next(frame); whole += static_cast<std::uint64_t>(frame.size)) {
        FUZZ_CHECK(frame.checksum_ok == korvex::checksum_agrees(raw.buff, raw.len));
        if (const raw_t* epoch = epochs.Add(&raw, frame.result)) FUZZ_CHECK(epoch->nobs <= kMaxObs);
        const korvex::header_t h = korvex::read_header(raw.buff);
        const bool has_time = h.time_status != korvex::kTimeUnknown && h.week != korvex::kWeekUnknown;
        if (!frame.checksum_ok || !has_time || h.format != korvex::kBinary) continue;
        if (rinex2 && h.week > kLastWeekOf2) continue;
        const auto* const from = raw.buff + korvex::kHeaderSize;
        const std::vector<std::uint8_t> body(from, from + h.body_size);   // a read behind it is seen
        file.take(h, h.week * kWeekMs + h.ms, body.data());
    }
    epochs.Flush();
    file.finish();
    const kvx::losses_t& lost = reader.losses();
    FUZZ_CHECK(reader.bytes() == log.size());
    FUZZ_CHECK(whole == lost.good_bytes + lost.bad_checksum_bytes);
    FUZZ_CHECK(whole + lost.skipped_bytes + lost.too_long_bytes + lost.torn_bytes == log.size());
}

}   // namespace

void log_to_files(raw_t& raw, bytes_t log, std::size_t block, std::uint8_t options)
{
    const int version = kVersions[options & 3];
    const bool decode = (options & 0x10) != 0, navigation = (options & 0x20) != 0, rinex2 = version == 211;
    if (navigation) {
        read_log(raw, log, block, decode, rinex2, navigation_t(version, (options & 8) != 0 ? 'R' : 'G'));
    } else {
        read_log(raw, log, block, decode, rinex2, observations_t(version));
    }
}
