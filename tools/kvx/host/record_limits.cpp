#include "host/record_limits.h"

#include <set>

#include "common/systems.h"
#include "common/text_format.h"
#include "gnss/foundation/satellites.h"
#include "gnss/foundation/wire.h"
#include "gnss/log/range.h"
#include "gnss/log/signals.h"

namespace kvx {

void record_limits_t::lose(const place_t& observation)
{
    const auto [constellation, signal] = signals_[observation.tracking_key];
    const std::string code = signal < 0 ? text("type %d", observation.tracking_key & 31)
                                        : signals_.codes(constellation)[static_cast<std::size_t>(signal)];
    const rinex::satellite_t satellite = rinex::satellite_of_prn(constellation, observation.prn);
    ++lost_[{code, satellite.valid() ? satellite.name() : text("PRN %d", observation.prn)}];
}

void record_limits_t::add(const std::uint8_t* body, int size, bool compressed, bool new_epoch)
{
    if (new_epoch) flush();
    const int record = compressed ? korvex::kRangeCompressedSize : korvex::kRangeSize;
    const std::uint32_t n = wire::u32(body);
    for (std::uint32_t i = 0; i < n && korvex::kCountSize + static_cast<int>(i + 1) * record <= size; ++i) {
        const std::uint8_t* const p = body + korvex::kCountSize + static_cast<int>(i) * record;
        const korvex::range_t r = compressed ? korvex::read_compressed_range(p) : korvex::read_range(p);
        const korvex::trackstat_t track = korvex::read_trackstat(r.status);
        if (!track.code_lock) continue;
        const place_t sent{static_cast<std::uint8_t>(rinex::tracking_key(r.status)), r.prn};
        const bool override_slot = signal_map_ && (compressed || raw_prn_) && track.slot_override;
        const int slot = track.slot >= 0 && override_slot ? 2 : track.slot;
        const int small_bds = compressed ? 29 : kBdsHighPrn - 1;
        const int sat = raw_prn_ ? korvex::raw_satellite_number(track.sys, r.prn, small_bds)
                                 : korvex::satellite_number(track.sys, r.prn);
        const bool own =
            sat > 0 && sat <= kMaxSat &&
            satellite_of_record(sat) == rinex::satellite_of_prn(rinex::constellation_of_sys(track.sys), r.prn);
        if (slot < 0 || slot >= kNumSlots || !own) {
            lose(sent);
            continue;
        }
        const auto [at, free] = epoch_.try_emplace({sat, slot}, sent);
        if (!free) lose(at->second);   // the later one takes its place
        at->second = sent;
    }
}

// The record holds a number of satellites; those that come later are not in it.
void record_limits_t::flush()
{
    std::set<int> satellites;
    for (const auto& [place, sent] : epoch_) {
        satellites.insert(place.first);
        if (satellites.size() > static_cast<std::size_t>(kMaxObs)) lose(sent);
    }
    epoch_.clear();
}

}   // namespace kvx
