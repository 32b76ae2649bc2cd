#include "sky/damage.h"

#include <algorithm>

namespace sky {

damage_t::damage_t(std::int64_t faults, std::int64_t epochs, std::uint64_t seed) : random_(~seed)
{
    for (std::int64_t i = 0; i < faults; ++i)
        epochs_.push_back(static_cast<std::int64_t>(random_.below(static_cast<std::uint64_t>(epochs))));
    std::ranges::sort(epochs_, std::greater<>());
}

// Writes what becomes of the bytes at `from`, and steps over those that it used up.
std::string damage_t::strike(bytes_t& out, bytes_t::const_iterator& from, bytes_t::const_iterator end)
{
    const auto count = static_cast<std::ptrdiff_t>(1 + random_.below(40));
    switch (from == end ? 2 : random_.below(3)) {
        case 0: {
            const auto bit = random_.below(8);
            out.push_back(static_cast<std::uint8_t>(*from++ ^ 1u << bit));
            return "bit " + std::to_string(bit) + " inverted";
        }
        case 1: {
            const std::ptrdiff_t lost = std::min(count, end - from);
            from += lost;
            return std::to_string(lost) + " bytes lost";
        }
        default:
            for (std::ptrdiff_t i = 0; i < count; ++i) out.push_back(static_cast<std::uint8_t>(random_.bits()));
            return std::to_string(count) + " foreign bytes";
    }
}

std::vector<fault_t> damage_t::apply(bytes_t& epoch)
{
    std::vector<std::ptrdiff_t> places;
    for (; !epochs_.empty() && epochs_.back() == epoch_; epochs_.pop_back())
        places.push_back(static_cast<std::ptrdiff_t>(random_.below(epoch.size())));
    std::ranges::sort(places);
    std::vector<fault_t> faults;
    bytes_t out;
    bytes_t::const_iterator from = epoch.begin();
    for (std::ptrdiff_t place : places) {
        const auto at = std::max(from, epoch.cbegin() + place);
        out.insert(out.end(), from, at);
        from = at;
        const auto offset = offset_ + static_cast<std::int64_t>(out.size());
        faults.push_back({offset, strike(out, from, epoch.cend())});
    }
    out.insert(out.end(), from, epoch.cend());
    epoch = std::move(out);
    offset_ += static_cast<std::int64_t>(epoch.size());
    ++epoch_;
    return faults;
}

}   // namespace sky
