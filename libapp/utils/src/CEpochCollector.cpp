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

// Offsets in the record.
void copy(const raw_t& from, raw_t& to, std::size_t begin, std::size_t end)
{
    std::memcpy(reinterpret_cast<std::uint8_t*>(&to) + begin, reinterpret_cast<const std::uint8_t*>(&from) + begin,
                end - begin);
}

// A third of the record: ephemerides and lock tables, which it is made of for the most part, stay.
void copy_epoch(const raw_t& from, raw_t& to)
{
    const auto entries = static_cast<std::size_t>(std::max(observations(from), observations(to)));
    copy(from, to, 0, offsetof(raw_t, obs) + entries * sizeof(obsd_t));      // time, observations in use
    copy(from, to, offsetof(raw_t, reserved1), offsetof(raw_t, eph));        // ionosphere, leap seconds
    copy(from, to, offsetof(raw_t, ant_type), offsetof(raw_t, reserved5));   // antenna, texts, position
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
