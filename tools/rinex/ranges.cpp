#include "rinex/ranges.h"

#include <cmath>
#include <cstdlib>

#include "gnss/foundation/satellites.h"
#include "gnss/foundation/wire.h"
#include "gnss/log/range.h"
#include "gnss/log/signals.h"
#include "rinex/fields.h"

namespace rinex {

namespace {

constexpr std::int64_t kSameEpoch = 1;              // ms, between the two messages
constexpr double kFullLockTime = 0x1FFFFF / 32.0;   // s; the compressed message counts no further
constexpr double kMostCycles = 1e15;                // phases beyond it have no fraction to speak of

// Zero means none.
void tell(observation_t& o, kind_t kind, double value, bool has_room)
{
    if (has_room) {
        o.value[kind] = value;
    } else {
        ++o.beyond_columns;
    }
}

// Channels are sent as numbers from 0; other values than these name none.
bool is_channel(int channel)
{
    return channel >= -7 && channel <= 6;
}

}   // namespace

range_collector_t::range_collector_t(const signals_t& signals, ledger_t& ledger, take_t take)
    : ledger_(ledger), take_(std::move(take)), epoch_(std::make_unique<epoch_t>())
{
    for (int key = 0; key < kTrackingKeys; ++key) meanings_[static_cast<std::size_t>(key)] = meaning_of(signals, key);
}

range_collector_t::meaning_t range_collector_t::meaning_of(const signals_t& signals, int tracking_key)
{
    const auto [constellation, signal] = signals[tracking_key];
    if (signal < 0) return {constellation, signal, 0, 0, 0, 0.0, 0.0, 0.0};
    const constellation_t& c = kConstellations[constellation];
    const char band = signals.codes(constellation)[static_cast<std::size_t>(signal)][0];
    const double frequency = carrier_frequency(c.letter, band);
    return {constellation,
            signal,
            c.first + c.prn_offset,
            static_cast<std::int16_t>(c.last - c.first + 1),
            static_cast<std::int16_t>(kFirstPlaces[static_cast<std::size_t>(constellation)]),
            frequency,
            carrier_frequency(c.letter, band, 1) - frequency,
            kLightSpeed / frequency};
}

// Two full messages of one epoch have one time.
bool range_collector_t::belongs(std::int64_t time, bool compressed) const
{
    return pending_ && std::llabs(time - epoch_->time) <= (compressed || !has_full_ ? kSameEpoch : 0);
}

void range_collector_t::begin(std::int64_t time, std::uint64_t offset)
{
    flush();
    epoch_->time = time;
    epoch_->offset = offset;
    pending_ = true;
    has_full_ = false;
}

bool range_collector_t::add(std::int64_t time, const std::uint8_t* body, int size, bool compressed,
                            std::uint64_t offset)
{
    const auto record = static_cast<std::uint64_t>(compressed ? korvex::kRangeCompressedSize : korvex::kRangeSize);
    if (size < korvex::kCountSize) return false;
    const std::uint64_t n = wire::u32(body);
    if (korvex::kCountSize + n * record > static_cast<std::uint64_t>(size)) return false;
    if (!belongs(time, compressed)) begin(time, offset);
    if (!compressed) {
        epoch_->time = time;
        has_full_ = true;
    }
    const std::uint8_t* const records = body + korvex::kCountSize;
    if (compressed) {
        for (std::uint64_t i = 0; i < n; ++i) add_record<true>(records + i * record);
    } else {
        for (std::uint64_t i = 0; i < n; ++i) add_record<false>(records + i * record);
    }
    return true;
}

// Where an observation is to stand in the epoch; null when one that counts for more is there.
template <bool compressed>
observation_t* range_collector_t::place_for(int place, int signal, std::uint8_t tracking_key)
{
    if (!epoch_->has(place, signal)) return &epoch_->add(place, signal);
    observation_t& there = epoch_->at(place, signal);
    if (there.compressed && !compressed) {
        ledger_.add(there.tracking_key, fate_t::superseded);
        return &there;
    }
    ledger_.add(tracking_key, compressed && !there.compressed ? fate_t::superseded : fate_t::repeated);
    return nullptr;
}

// Each message has a loop without questions.
template <bool compressed>
void range_collector_t::add_record(const std::uint8_t* p)
{
    const korvex::range_t r = compressed ? korvex::read_compressed_range(p) : korvex::read_range(p);
    const korvex::trackstat_t track = korvex::read_trackstat(r.status);
    const int key = tracking_key(r.status);
    const meaning_t& m = meanings_[static_cast<std::size_t>(key)];
    const auto sent = static_cast<std::uint8_t>(key);
    if (!track.code_lock) return ledger_.add(sent, fate_t::no_code_lock);
    if (m.signal < 0) return ledger_.add(sent, fate_t::unknown_type);
    const int nth = r.prn - m.first_prn;
    if (nth < 0 || nth >= m.satellites) return ledger_.add(sent, fate_t::no_satellite);
    if (m.constellation == kGlonass && is_channel(r.channel)) {
        const int number = kConstellations[kGlonass].first + nth;
        channels_[static_cast<std::size_t>(number)] = static_cast<std::int8_t>(r.channel);
    }

    observation_t* const there = place_for<compressed>(m.first_place + nth, m.signal, sent);
    if (there == nullptr) return;
    observation_t& o = *there = {};   // filled where it stays: a copy would wait for each of its fields
    o.tracking_key = sent;
    o.compressed = compressed;
    tell(o, kPseudorange, r.pseudorange, has_room(r.pseudorange));
    if (track.phase_lock) {
        double phase = -r.adr;
        if (compressed) {
            const double wavelength = m.step == 0.0 ? m.wavelength : kLightSpeed / (m.frequency + r.channel * m.step);
            phase = korvex::unrolled_phase(r.pseudorange, wavelength, r.adr);
        }
        tell(o, kPhase, phase, std::fabs(phase) <= kMostCycles);
    }
    tell(o, kDoppler, r.doppler, has_room(r.doppler));
    tell(o, kStrength, r.cn0, has_room(r.cn0));
    o.lock_time = r.locktime;
    o.lock_time_full = compressed && r.locktime >= kFullLockTime;
    o.parity_known = track.parity_known;
}

void range_collector_t::flush()
{
    if (!pending_) return;
    pending_ = false;
    take_(epoch_);
    epoch_->clear();
}

}   // namespace rinex
