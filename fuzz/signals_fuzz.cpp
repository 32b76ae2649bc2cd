// Range and ephemeris messages with any contents: the observation file made of them keeps the rules of the format, and
// every record is accounted for. Input: version, then messages: kind, step of time, size of the body, body.
#include <rtk_gnss.h>

#include <memory>

#include "fuzz.h"
#include "gnss/foundation/wire.h"
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
constexpr int kIds[] = {MSG_RANGE,
                        MSG_RANGE_COMPRESSED,
                        MSG_RANGE,
                        MSG_GPS_EPHEMERIS,
                        MSG_RAW_GPS_EPHEMERIS,
                        MSG_SBAS_EPHEMERIS,
                        MSG_GLONASS_EPHEMERIS,
                        MSG_BDS_EPHEMERIS_SECOND,
                        MSG_GAL_EPHEMERIS,
                        MSG_GAL_INAV_EPHEMERIS,
                        MSG_QZSS_EPHEMERIS,
                        MSG_BDS_EPHEMERIS,
                        MSG_ION_UTC};

// The epochs with a header, as the converter puts them together.
class file_t {
public:
    explicit file_t(int version) : version_(version), text_(version, signals_, ledger_) {}

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
        char* out = nullptr;
        std::size_t size = 0;
        std::FILE* const from = fmemopen(epochs_.data(), epochs_.size(), "r");
        std::FILE* const to = open_memstream(&out, &size);
        rinex::copy_in_order(from, to, text_.columns());
        std::fclose(from), std::fclose(to);
        std::string file =
            rinex::observation_header(version_, station, session_, text_.columns(), text_.seen(), channels);
        file.append(out, size);
        std::free(out);
        return file;
    }

    bool empty() const { return epochs_.empty(); }
    const rinex::signals_t& signals() const { return signals_; }
    rinex::ledger_t& ledger() { return ledger_; }

private:
    void count_late(const rinex::observation_t& o) { ledger_.add(o.tracking_key, rinex::fate_t::out_of_order); }

    int version_;
    rinex::signals_t signals_;
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

void check(std::string file)
{
    std::string_view left = file;
    rinex::byte_lines_t lines([&](char* to, std::size_t n) {
        n = left.copy(to, n);
        left.remove_prefix(n);
        return n;
    });
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

}   // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    bytes_t input(data, size);
    const int version = kVersions[take<std::uint8_t>(input) % 4];
    file_t file(version);
    rinex::range_collector_t ranges(file.signals(), file.ledger(), [&](auto& epoch) { file.add(*epoch); });
    std::int64_t time = std::int64_t{2300} * 604800000;
    std::uint64_t records = 0;
    while (!input.empty()) {
        const int id = kIds[take<std::uint8_t>(input) % std::size(kIds)];
        time += take<std::int16_t>(input);
        const std::size_t announced = take<std::uint8_t>(input);
        const auto body = input.first(std::min(announced, input.size()));
        input = input.subspan(body.size());
        const std::vector<std::uint8_t> own(body.begin(), body.end());
        const int n = static_cast<int>(own.size());
        if (id == MSG_RANGE || id == MSG_RANGE_COMPRESSED) {
            if (ranges.add(time, own.data(), n, id == MSG_RANGE_COMPRESSED)) records += wire::u32(own.data());
        } else if (const auto ion =
                       id == MSG_ION_UTC ? rinex::read_ion_utc_record(time, own.data(), n) : std::nullopt) {
            FUZZ_CHECK(!rinex::ion_utc_text(*ion).empty());
        } else {
            rinex::read_ephemerides(id, time, own.data(), n,
                                    [&](const auto& r) { FUZZ_CHECK(rinex::nav_text(version, r).size() < 1000); });
        }
    }
    ranges.flush();
    for (int key = 0; key < rinex::kTrackingKeys; ++key) records -= file.ledger().row(key).records();
    FUZZ_CHECK(records == 0);
    if (!file.empty()) check(file.whole(ranges.channels()));
    return 0;
}
