#include "CEpochCollector.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

constexpr double kSameEpoch = 0.0015;   // s; the decoder joins compressed messages up to 1 ms apart

int observations(const raw_t& raw)
{
    return std::min<int>(raw.nobs, kMaxObs);
}

// What lies before the ephemerides, without the entries that are free and were, and between them and the lock tables.
void copy_epoch(const raw_t& from, raw_t& to)
{
    const auto entries = static_cast<std::size_t>(std::max(observations(from), observations(to)));
    std::memcpy(static_cast<void*>(&to), &from, offsetof(raw_t, obs) + entries * sizeof(obsd_t));
    std::memcpy(to.reserved1, from.reserved1, offsetof(raw_t, eph) - offsetof(raw_t, reserved1));
    std::memcpy(to.ant_type, from.ant_type, offsetof(raw_t, reserved5) - offsetof(raw_t, ant_type));
}

}   // namespace

bool CEpochCollector::Continues(const raw_t* raw) const noexcept
{
    const raw_t& held = *m_pHeld;
    if (!m_bPending || raw == nullptr || raw->week != held.week) return false;
    if (std::fabs(raw->obs_tow - held.obs_tow) > kSameEpoch || raw->nobs < held.nobs) return false;
    return std::equal(held.obs, held.obs + observations(held), raw->obs,
                      [](const obsd_t& a, const obsd_t& b) { return a.sat == b.sat; });
}

const raw_t* CEpochCollector::Add(const raw_t* raw, int kind) noexcept
{
    if (raw == nullptr || kind != DECODE_OBS) return nullptr;
    const raw_t* const whole = Continues(raw) ? nullptr : Flush();
    copy_epoch(*raw, *m_pHeld);
    m_bPending = true;
    return whole;
}

const raw_t* CEpochCollector::Flush() noexcept
{
    if (!m_bPending) return nullptr;
    m_bPending = false;
    std::swap(m_pHeld, m_pWhole);
    return m_pWhole.get();
}

void CEpochCollector::Exchange(std::unique_ptr<raw_t>& record) noexcept
{
    if (record != nullptr) std::swap(m_pWhole, record);
}
