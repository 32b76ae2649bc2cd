#include "sky/damage.h"

#include <algorithm>

namespace sky {

damage::damage(std::int64_t faults, std::int64_t epochs, std::uint64_t seed) : m_random(~seed)
{
    for (std::int64_t i = 0; i < faults; ++i)
        m_epochs.push_back(static_cast<std::int64_t>(m_random.below(static_cast<std::uint64_t>(epochs))));
    std::ranges::sort(m_epochs, std::greater<>());
}

/// Writes what becomes of the bytes at `from`, and steps over those that it used up.
std::string damage::strike(bytes_t& out, bytes_t::const_iterator& from, bytes_t::const_iterator end)
{
    const auto count = static_cast<std::ptrdiff_t>(1 + m_random.below(40));
    switch (from == end ? 2 : m_random.below(3)) {
        case 0: {
            const auto bit = m_random.below(8);
            out.push_back(static_cast<std::uint8_t>(*from++ ^ 1u << bit));
            return "bit " + std::to_string(bit) + " inverted";
        }
        case 1: {
            const std::ptrdiff_t lost = std::min(count, end - from);
            from += lost;
            return std::to_string(lost) + " bytes lost";
        }
        default:
            for (std::ptrdiff_t i = 0; i < count; ++i) out.push_back(static_cast<std::uint8_t>(m_random.bits()));
            return std::to_string(count) + " foreign bytes";
    }
}

std::vector<fault_t> damage::apply(bytes_t& epoch)
{
    std::vector<std::ptrdiff_t> places;
    for (; !m_epochs.empty() && m_epochs.back() == m_epoch; m_epochs.pop_back())
        places.push_back(static_cast<std::ptrdiff_t>(m_random.below(epoch.size())));
    std::ranges::sort(places);
    std::vector<fault_t> faults;
    bytes_t out;
    bytes_t::const_iterator from = epoch.begin();
    for (std::ptrdiff_t place : places) {
        const auto at = std::max(from, epoch.cbegin() + place);
        out.insert(out.end(), from, at);
        from = at;
        const auto offset = m_offset + static_cast<std::int64_t>(out.size());
        faults.push_back({offset, strike(out, from, epoch.cend())});
    }
    out.insert(out.end(), from, epoch.cend());
    epoch = std::move(out);
    m_offset += static_cast<std::int64_t>(epoch.size());
    ++m_epoch;
    return faults;
}

}   // namespace sky
