#include "host/record_limits.h"

#include <algorithm>

#include "common/systems.h"
#include "common/text_format.h"
#include "gnss/foundation/satellites.h"
#include "gnss/foundation/wire.h"
#include "gnss/log/range.h"

namespace kvx {

void record_limits_t::lose(const sent_t& observation)
{
    const auto [constellation, signal] = signals_[observation.tracking_key];
    const std::string code = signal < 0 ? text("type %d", observation.tracking_key & 31)
                                        : signals_.codes(constellation)[static_cast<std::size_t>(signal)];
    const rinex::satellite_t satellite = rinex::satellite_of_prn(constellation, observation.prn);
    ++lost_[{code, satellite.valid() ? satellite.name() : text("PRN %d", observation.prn)}];
}

// The number under which the record keeps a satellite; -1 when it has none, or only that of another satellite.
int record_limits_t::find_number(int sys, int prn, bool compressed)
{
    const int small_bds = compressed ? 29 : kBdsHighPrn - 1;
    const int number =
        raw_prn_ ? korvex::raw_satellite_number(sys, prn, small_bds) : korvex::satellite_number(sys, prn);
    if (number <= 0 || number > kMaxSat) return -1;
    const auto own = rinex::satellite_of_prn(rinex::constellation_of_sys(sys), prn);
    const auto kept = satellite_of_record(number);
    if (kept == own) return number;
    ++under_other_number_[(own.valid() ? own.name() : text("PRN %d", prn)) + " as " + kept.name()];
    return -1;
}

int record_limits_t::number_of(std::uint32_t status, int prn, bool compressed)
{
    const int sys = korvex::read_trackstat(status).sys;
    if (prn > 255) return find_number(sys, prn, compressed);
    std::int16_t& known = numbers_[(status >> 16 & 7) << 9 | (compressed ? 256U : 0U) | static_cast<unsigned>(prn)];
    if (known <= 0) known = static_cast<std::int16_t>(find_number(sys, prn, compressed));
    return known;
}

void record_limits_t::add(const std::uint8_t* body, int size, bool compressed, bool new_epoch)
{
    if (new_epoch) flush();
    const int record = compressed ? korvex::kRangeCompressedSize : korvex::kRangeSize;
    const auto n =
        std::min<std::uint64_t>(wire::u32(body), static_cast<std::uint64_t>((size - korvex::kCountSize) / record));
    for (std::uint64_t i = 0; i < n; ++i) {
        const std::uint8_t* const p = body + korvex::kCountSize + i * static_cast<std::uint64_t>(record);
        const korvex::range_t r = compressed ? korvex::read_compressed_range(p) : korvex::read_range(p);
        const korvex::trackstat_t track = korvex::read_trackstat(r.status);
        if (!track.code_lock) continue;
        const sent_t sent{static_cast<std::uint8_t>(rinex::tracking_key(r.status)), static_cast<std::uint16_t>(r.prn),
                          true};
        const bool override_slot = signal_map_ && (compressed || raw_prn_) && track.slot_override;
        const int slot = track.slot >= 0 && override_slot ? 2 : track.slot;
        const int sat = slot < 0 || slot >= kNumSlots ? -1 : number_of(r.status, r.prn, compressed);
        if (sat < 0) {
            lose(sent);
            continue;
        }
        sent_t& kept = epoch_[static_cast<std::size_t>(sat) * kNumSlots + static_cast<std::size_t>(slot)];
        if (kept.there) lose(kept);   // the later one takes its place
        kept = sent;
        if (!came_[static_cast<std::size_t>(sat)]) satellites_.push_back(sat);
        came_[static_cast<std::size_t>(sat)] = true;
    }
}

// The record holds a number of satellites; those that come later are not in it.
void record_limits_t::flush()
{
    for (std::size_t i = 0; i < satellites_.size(); ++i) {
        for (int slot = 0; slot < kNumSlots; ++slot) {
            sent_t& sent =
                epoch_[static_cast<std::size_t>(satellites_[i]) * kNumSlots + static_cast<std::size_t>(slot)];
            if (sent.there && i >= static_cast<std::size_t>(kMaxObs)) lose(sent);
            sent.there = false;
        }
        came_[static_cast<std::size_t>(satellites_[i])] = false;
    }
    satellites_.clear();
}

}   // namespace kvx
