#include "log_to_files.h"

#include "fakes/memory_input.h"
#include "gnss/foundation/wire.h"
#include "gnss/log/frame.h"
#include "log/epoch_collector.h"
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
constexpr int kLastWeekOf2 = 5200;   // in 2079: years of RINEX 2 have two digits

// The epochs with a header, as the converter puts them together.
class file_t {
public:
    file_t(int version, const rinex::signals_t& signals) : version_(version), text_(version, signals, ledger_) {}

    void add(rinex::epoch_t& epoch)
    {
        if (epoch.time <= last_) return epoch.each([&](int p, int s) { count_late(epoch.at(p, s)); });
        last_ = epoch.time;
        text_.follow(epoch);
        const std::string_view text = text_.epoch(epoch);
        if (text.empty()) return;
        session_.last = epoch.time * rinex::kTicksPerMs;
        if (epochs_.empty()) session_.first = session_.last;
        epochs_ += text;
    }

    std::string whole(const rinex::channels_t& channels)
    {
        rinex::station_t station;
        station.program = "fuzz", station.date = "20240301 120000 UTC", station.marker = "M",
        station.marker_type = "GEODETIC";
        std::string file =
            rinex::observation_header(version_, station, session_, text_.columns(), text_.seen(), channels);
        return file += text_.columns().settled() ? epochs_ : in_order();
    }

    bool empty() const { return epochs_.empty(); }
    rinex::ledger_t& ledger() { return ledger_; }

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

    void count_late(const rinex::observation_t& o) { ledger_.add(o.tracking_key, rinex::fate_t::out_of_order); }

    int version_;
    rinex::ledger_t ledger_;
    rinex::observation_text_t text_;
    rinex::session_t session_;
    std::string epochs_;
    std::int64_t last_ = -1;
};

// Slots without a channel that can be, and steps of any size, are the messages' fault.
bool is_fault(const rinex::finding_t& f)
{
    const std::string_view id = rinex::rules()[static_cast<std::size_t>(f.rule)].id;
    return id != "glonass-slot-missing" && id.find("interval") == id.npos;
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
            if (is_fault(f))
                std::fprintf(stderr, "%llu: %s\n", static_cast<unsigned long long>(f.line), f.text.c_str());
            FUZZ_CHECK(!is_fault(f));
        },
        5);
    rinex::file_summary_t summary;
    FUZZ_CHECK(rinex::check_file(lines, findings, summary));
}

// The messages of a log on their way into files.
class conversion_t {
public:
    conversion_t(int version, const rinex::signals_t& signals)
        : version_(version),
          file_(version, signals),
          ranges_(signals, file_.ledger(), [this](auto& epoch) { file_.add(*epoch); })
    {}

    void take(const std::uint8_t* frame)
    {
        const korvex::header_t h = korvex::read_header(frame);
        const bool range = h.id == MSG_RANGE || h.id == MSG_RANGE_COMPRESSED;
        if (h.time_status == korvex::kTimeUnknown || h.week == korvex::kWeekUnknown) return;
        if (h.format != korvex::kBinary || (h.week == 0 && range)) return;
        if (version_ == 211 && h.week > kLastWeekOf2) return;
        const std::vector<std::uint8_t> body(frame + korvex::kHeaderSize, frame + korvex::kHeaderSize + h.body_size);
        const std::int64_t time = h.week * kWeekMs + h.ms;
        if (range) {
            const bool taken = ranges_.add(time, body.data(), h.body_size, h.id == MSG_RANGE_COMPRESSED);
            if (taken) records_ += wire::u32(body.data());
        } else if (h.id == MSG_ION_UTC) {
            const auto ion = rinex::read_ion_utc_record(time, body.data(), h.body_size);
            FUZZ_CHECK(!ion || !rinex::ion_utc_text(*ion).empty());
        } else {
            rinex::read_ephemerides(h.id, time, body.data(), h.body_size, [&](const auto& record) {
                FUZZ_CHECK(rinex::nav_text(version_, record).size() < 1000);
            });
        }
    }

    void finish()
    {
        ranges_.flush();
        for (int key = 0; key < rinex::kTrackingKeys; ++key) records_ -= file_.ledger().row(key).records();
        FUZZ_CHECK(records_ == 0);
        if (!file_.empty()) check(file_.whole(ranges_.channels()));
    }

private:
    int version_;
    file_t file_;
    rinex::range_collector_t ranges_;
    std::uint64_t records_ = 0;   // of range messages
};

}   // namespace

void log_to_files(raw_t& raw, bytes_t log, std::size_t block, std::uint8_t options)
{
    static const rinex::signals_t signals;
    conversion_t conversion(kVersions[options & 3], signals);
    const bool decode = (options & 0x10) != 0;
    static kvx::epoch_collector_t epochs([](raw_t& epoch) { FUZZ_CHECK(epoch.nobs <= kMaxObs); });

    memory_input = log;
    memory_input_piece = block;
    kvx::input_file_t source("");
    kvx::log_reader_t reader(source, raw, decode, block);
    std::uint64_t whole = 0;
    for (kvx::frame_t frame{}; reader.next(frame); whole += static_cast<std::uint64_t>(frame.size)) {
        FUZZ_CHECK(frame.checksum_ok == korvex::checksum_agrees(raw.buff, raw.len));
        if (frame.result == DECODE_OBS) epochs.add(raw);
        if (frame.checksum_ok) conversion.take(raw.buff);
    }
    epochs.flush();
    conversion.finish();
    const kvx::losses_t& lost = reader.losses();
    FUZZ_CHECK(reader.bytes() == log.size());
    FUZZ_CHECK(whole + lost.skipped_bytes + lost.too_long * korvex::kLengthKnown + lost.torn_bytes == log.size());
}
