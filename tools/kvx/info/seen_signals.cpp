#include "info/seen_signals.h"

#include <bit>
#include <cstdlib>
#include <utility>

#include "gnss/foundation/wire.h"
#include "gnss/log/range.h"
#include "gnss/log/signals.h"

namespace kvx {

seen_signals_t::seen_signals_t(const rinex::signals_t& signals, take_t take) : signals_(signals), take_(std::move(take))
{}

bool seen_signals_t::add(std::int64_t time, const std::uint8_t* body, int size, bool compressed, std::uint64_t offset)
{
    const auto record = static_cast<std::uint64_t>(compressed ? korvex::kRangeCompressedSize : korvex::kRangeSize);
    if (size < korvex::kCountSize) return false;
    const std::uint64_t n = wire::u32(body);
    if (korvex::kCountSize + n * record > static_cast<std::uint64_t>(size)) return false;
    const int apart = compressed || !has_full_ ? 1 : 0;   // ms, of the two messages of an epoch
    if (!pending_ || std::llabs(time - time_) > apart) {
        flush();
        time_ = time, offset_ = offset;
        pending_ = true, has_full_ = false;
    }
    if (!compressed) time_ = time, has_full_ = true;
    constexpr int kAtStatus = 40, kAtCompressedPrn = 17;
    const std::uint8_t* p = body + korvex::kCountSize;
    for (std::uint64_t i = 0; i < n; ++i, p += record) {
        const std::uint32_t status = wire::u32(compressed ? p : p + kAtStatus);
        const auto [constellation, signal] = signals_[rinex::tracking_key(status)];
        if (signal < 0 || !korvex::read_trackstat(status).code_lock) continue;
        const rinex::satellite_t satellite =
            rinex::satellite_of_prn(constellation, compressed ? p[kAtCompressedPrn] : wire::u16(p));
        if (!satellite.valid()) continue;
        const int place = rinex::place_of(satellite);
        auto& bits = now_[static_cast<std::size_t>(place)];
        bits = static_cast<std::uint16_t>(bits | 1U << signal);
        satellites_.set(place);
    }
    return true;
}

void seen_signals_t::flush()
{
    if (!pending_) return;
    pending_ = false;
    satellites_.each([this](int place) {
        const auto at = static_cast<std::size_t>(place);
        ++epochs_[at];
        for (unsigned left = now_[at]; left != 0; left &= left - 1)
            ++observed_[at][static_cast<std::size_t>(std::countr_zero(left))];
        now_[at] = 0;
    });
    satellites_.clear();
    take_(time_, offset_);
}

}   // namespace kvx
