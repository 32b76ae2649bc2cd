#include "sky/slips.h"

namespace sky {

namespace {

constexpr int kHeldBefore = 10, kLeftBehind = 10, kApart = 20;   // epochs
constexpr std::uint64_t kMostCycles = 50;
constexpr std::uint64_t kStream = 0xBB67AE8584CAA73Bu;   // sets its random numbers apart from others of the seed

std::size_t type_of(const range_t& r)
{
    return r.status >> 21 & 31;
}

// The phase is locked, and not half a cycle off.
bool whole(const range_t& r)
{
    return (r.status >> 10 & 3) == 3;
}

}   // namespace

slips_t::slips_t(std::int64_t wanted, std::int64_t epochs, double interval, std::uint64_t seed)
    : wanted_(wanted), epochs_(epochs), interval_(interval), random_(seed ^ kStream)
{}

slips_t::state_t& slips_t::state_of(const range_t& r)
{
    const int system = static_cast<int>(r.status >> 16 & 7);
    return states_.try_emplace(system << 16 | r.prn, state_t{epoch_, -kApart}).first->second;
}

// Adds what slipped before, as far as the satellite has stayed in view.
void slips_t::keep(std::span<range_t> ranges)
{
    for (range_t& r : ranges) {
        state_t& state = state_of(r);
        if (state.seen < epoch_ - 1) state.cycles = {};
        state.seen = epoch_;
        r.phase += state.cycles[type_of(r)];
    }
}

// Each of the epochs left is as likely as the others to have one of the slips left. One that finds no satellite is left
// to the next epochs.
bool slips_t::due()
{
    const std::int64_t left = wanted_ - static_cast<std::int64_t>(placed_.size());
    const std::int64_t epochs = epochs_ - kLeftBehind - epoch_;
    return epochs > 0 && static_cast<std::int64_t>(random_.below(static_cast<std::uint64_t>(epochs))) < left;
}

std::vector<range_t*> slips_t::able(std::span<range_t> ranges)
{
    std::vector<range_t*> able;
    for (range_t& r : ranges) {
        const bool held = r.lock_time > (kHeldBefore + 0.5) * interval_;
        if (held && whole(r) && epoch_ - state_of(r).slipped >= kApart) able.push_back(&r);
    }
    return able;
}

void slips_t::apply(std::span<range_t> ranges, double t)
{
    ++epoch_;
    if (wanted_ == 0) return;
    keep(ranges);
    if (!due()) return;
    const std::vector<range_t*> places = able(ranges);
    if (places.empty()) return;
    range_t& r = *places[random_.below(places.size())];
    const int size = 1 + static_cast<int>(random_.below(kMostCycles));
    const int cycles = random_.below(2) == 0 ? size : -size;
    state_t& state = state_of(r);
    state.slipped = epoch_;
    state.cycles[type_of(r)] += cycles;
    r.phase += cycles;
    placed_.push_back({t, r.prn, r.status, cycles});
}

}   // namespace sky
