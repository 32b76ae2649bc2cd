#include "log/summary.h"

#include <algorithm>

#include "common/file_kinds.h"
#include "common/gps_time.h"
#include "common/systems.h"
#include "common/text_format.h"

namespace kvx {

namespace {

struct message_name_t {
    int id;
    const char* name;
};

constexpr message_name_t kMessageNames[] = {
    {MSG_GPS_EPHEMERIS, "GPS ephemeris"},
    {MSG_ION_UTC, "ionosphere and UTC"},
    {MSG_VERSION, "receiver version"},
    {MSG_RAW_GPS_EPHEMERIS, "raw GPS ephemeris"},
    {MSG_POSITION, "geodetic position"},
    {MSG_RANGE, "range observations"},
    {MSG_RANGE_COMPRESSED, "compressed range"},
    {MSG_MARK_TIME, "mark time"},
    {MSG_ECEF_POSITION, "ECEF position"},
    {MSG_SBAS_EPHEMERIS, "SBAS ephemeris"},
    {MSG_GLONASS_EPHEMERIS, "GLONASS ephemeris"},
    {MSG_VISIBILITY, "satellite visibility"},
    {MSG_BDS_EPHEMERIS_SECOND, "BeiDou ephemeris, second form"},
    {MSG_GAL_EPHEMERIS, "Galileo ephemeris"},
    {MSG_GAL_INAV_EPHEMERIS, "Galileo I/NAV ephemeris"},
    {MSG_QZSS_EPHEMERIS, "QZSS ephemeris"},
    {MSG_ANTENNA, "antenna type"},
    {MSG_BDS_EPHEMERIS, "BeiDou ephemeris"},
    {MSG_STOP_AND_GO, "stop-and-go"},
};

}   // namespace

const char* message_name(int id)
{
    for (const message_name_t& m : kMessageNames) {
        if (m.id == id) return m.name;
    }
    return "not used";
}

void epoch_count_t::add(double gps_seconds)
{
    if (last == 0.0) {
        first = gps_seconds;
    } else {
        steps.add(gps_seconds - last);
    }
    last = gps_seconds;
    ++epochs;
}

void summary_t::count(const frame_t& frame, const std::uint8_t* content, numbering_t numbering)
{
    // A frame with a wrong checksum may carry any number: it counts as lost, not as a message.
    if (!frame.checksum_ok) return;
    message_count_t& m = messages[frame.id];
    ++m.frames;
    m.bytes += static_cast<std::uint64_t>(frame.size);
    m.new_data += frame.result > 0;
    if (frame.result != DECODE_REFUSED || notices.take(content, numbering)) return;
    ++m.refused;
    ++refused;
}

void summary_t::count_epoch(std::int64_t time, std::uint64_t offset, order_t order, std::string_view from)
{
    const double seconds = static_cast<double>(time) / 1000.0, before = epochs.last;
    const auto name = [&](auto& places) {
        if (places.size() < clock_faults_t::kMostNamed)
            places.push_back({offset, seconds, before, std::string(joined ? from : "")});
    };
    if (order == order_t::out) {
        ++epochs.epochs;
        ++clock.epochs_out;
        return name(clock.first_out);
    }
    if (order == order_t::begins_file && before != 0.0) {
        ++clock.steps_back;
        name(clock.first_steps);
    }
    epochs.add(seconds);
}

void summary_t::count_satellites(const raw_t& epoch)
{
    for (int i = 0; i < epoch.nobs; ++i) {
        satellite_count_t& s = by_number[epoch.obs[i].sat];
        ++s.epochs;
        for (int slot = 0; slot < kNumSlots; ++slot) s.signals[slot] += epoch.obs[i].P[slot] != 0.0;
    }
}

void summary_t::finish(const log_reader_t& reader, const input_file_t& file)
{
    if (log.empty()) log = file.name();
    bytes += reader.bytes();
    lost += reader.losses();
    lost.refused = refused;
    if (!file.damage().empty())
        source_damage += (source_damage.empty() ? "" : "; ") + (joined ? file.name() + ": " : "") + file.damage();
    for (std::size_t sat = 0; sat < by_number.size(); ++sat) {
        if (by_number[sat].epochs > 0) satellites[satellite_of_record(static_cast<int>(sat))] += by_number[sat];
    }
    ended_by_signal = ended_by_signal || file.ended_by_signal();
}

bool summary_t::damaged() const
{
    return lost.any() || !source_damage.empty() || clock.epochs_out > 0 ||
           (outcome && outcome->observations.events_lost > 0);
}

std::string summary_t::why_no_epoch() const
{
    std::uint64_t frames = 0, ranges = 0, decoded = 0;
    for (const auto& [id, m] : messages) {
        frames += m.frames;
        if (id != MSG_RANGE && id != MSG_RANGE_COMPRESSED) continue;
        ranges += m.frames;
        decoded += m.new_data;
    }
    const std::string kind = frames == 0 ? foreign_kind(log) : "";
    if (!kind.empty()) return "it is " + kind;
    if (frames == 0 && !source_damage.empty()) return source_damage;
    if (frames == 0 && lost.bad_checksum > 0) return "every frame found has a wrong checksum";
    if (frames == 0) return "no frame of the receiver's log was found";
    if (ranges == 0) return "there is no range message (43 or 140) among " + plural(frames, "message");
    if (decoded == 0) return plural(ranges, "range message") + ", none with a known time and in binary form";
    return plural(decoded, "range message") + ", none with an observation that was asked for";
}

std::vector<std::pair<const char*, std::uint64_t>> summary_t::satellites_by_system() const
{
    std::vector<std::pair<const char*, std::uint64_t>> counts;
    for (const rinex::constellation_t& c : rinex::kConstellations) {
        const auto n = std::count_if(satellites.begin(), satellites.end(),
                                     [&c](const auto& s) { return s.first.letter() == c.letter; });
        if (n > 0) counts.emplace_back(c.name, static_cast<std::uint64_t>(n));
    }
    return counts;
}

std::string signal_count_t::name() const
{
    return code.empty() ? text("%s type %d", system.c_str(), type) : system + code;
}

std::vector<signal_count_t> signal_counts(const rinex::signals_t& signals, const rinex::ledger_t& ledger)
{
    std::vector<signal_count_t> counts;
    for (int key = 0; key < rinex::kTrackingKeys; ++key) {
        const auto& row = ledger.row(key);
        if (row.records() == 0) continue;
        const auto [constellation, signal] = signals[key];
        const std::string system =
            constellation < 0 ? "?" : std::string(1, rinex::kConstellations[constellation].letter);
        const std::string code = signal < 0 ? "" : signals.codes(constellation)[static_cast<std::size_t>(signal)];
        counts.push_back({system, key & 31, code, row});
    }
    return counts;
}

}   // namespace kvx
