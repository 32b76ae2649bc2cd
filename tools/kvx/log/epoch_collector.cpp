#include "log/epoch_collector.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "common/gps_time.h"

namespace kvx {

namespace {
constexpr double kSameEpoch = 0.0015;   // s; the decoder joins compressed messages up to 1 ms apart
}

std::int64_t epoch_time(const raw_t& epoch)
{
    return std::llround(gps_seconds(epoch.week, epoch.tow) * 1000.0);
}

epoch_collector_t::epoch_collector_t(take_t on_epoch)
    : on_epoch_(std::move(on_epoch)), epoch_(std::make_unique<raw_t>())
{
    Initial_raw(epoch_.get(), 0);
}

// The same time, and the satellites so far still at their places: the decoder has not started anew.
bool epoch_collector_t::continues(const raw_t& raw) const
{
    if (!held_ || raw.week != epoch_->week || std::fabs(raw.obs_tow - epoch_->obs_tow) > kSameEpoch) return false;
    if (raw.nobs < epoch_->nobs) return false;
    for (int i = 0; i < epoch_->nobs; ++i) {
        if (raw.obs[i].sat != epoch_->obs[i].sat) return false;
    }
    return true;
}

void epoch_collector_t::add(const raw_t& raw, std::uint64_t offset)
{
    if (!continues(raw)) {
        flush();
        offset_ = offset;
    }
    // What lies before the ephemerides, without entries that are free and were, and between them and the lock tables.
    const auto entries = static_cast<std::size_t>(std::min<int>(std::max(raw.nobs, epoch_->nobs), kMaxObs));
    std::memcpy(static_cast<void*>(epoch_.get()), &raw, offsetof(raw_t, obs) + entries * sizeof(obsd_t));
    std::memcpy(epoch_->reserved1, raw.reserved1, offsetof(raw_t, eph) - offsetof(raw_t, reserved1));
    std::memcpy(epoch_->ant_type, raw.ant_type, offsetof(raw_t, reserved5) - offsetof(raw_t, ant_type));
    held_ = true;
}

void epoch_collector_t::flush()
{
    if (!held_) return;
    held_ = false;
    on_epoch_(epoch_, offset_);
}

}   // namespace kvx
