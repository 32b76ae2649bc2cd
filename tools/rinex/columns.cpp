#include "rinex/columns.h"

#include <algorithm>
#include <numeric>

namespace rinex {

namespace {

constexpr std::int16_t kNone = -1;

// Of a band's signals in RINEX 2 the precise code comes first, then what is tracked best: pilots before data.
constexpr std::string_view kPreference = "PWYMCQXZLSIBDA";

// Order of the kinds within a band (RINEX 2) or a signal.
constexpr std::string_view kOrder = "CPLDS";

// Signal, then kind.
std::pair<std::string_view, std::size_t> rank_of(std::string_view name)
{
    return {name.substr(1), kOrder.find(name[0])};
}

}   // namespace

columns_t::columns_t(int version, const signals_t& signals) : signals_(signals), one_list_(version < 300)
{
    for (auto& kinds : places_) kinds.fill({kNone, kNone, kNone, kNone});
    for (int c = 0; c < kConstellationCount; ++c) {
        auto& preference = preference_[static_cast<std::size_t>(c)];
        preference.resize(signals.codes(c).size());
        std::iota(preference.begin(), preference.end(), 0);
        if (one_list_) prefer_pilots(c);
    }
    if (one_list_) list_all();
}

void columns_t::prefer_pilots(int constellation)
{
    const auto rank = [&](int signal) {
        return kPreference.find(signals_.codes(constellation)[static_cast<std::size_t>(signal)][1]);
    };
    auto& preference = preference_[static_cast<std::size_t>(constellation)];
    std::stable_sort(preference.begin(), preference.end(), [&](int a, int b) { return rank(a) < rank(b); });
}

// The number of lines that a satellite takes in RINEX 2 must not change on the way: all columns are there at once.
void columns_t::list_all()
{
    for (int c = 0; c < kConstellationCount; ++c) {
        for (const std::string& code : signals_.codes(c)) {
            for (int kind = 0; kind < kKindCount; ++kind) place_of_name(0, name_of(c, code, kind));
        }
    }
    std::sort(lists_[0].begin(), lists_[0].end(),
              [](const std::string& a, const std::string& b) { return rank_of(a) < rank_of(b); });
    for (int c = 0; c < kConstellationCount; ++c) add_signals(c, 0xFFFF);
}

std::string columns_t::name_of(int constellation, const std::string& code, int kind) const
{
    if (!one_list_) return kKinds[static_cast<std::size_t>(kind)] + code;
    const char range = range_letter_211(kConstellations[constellation].letter, code);
    if (range == '\0') return "";
    return {kind == kPseudorange ? range : kKinds[static_cast<std::size_t>(kind)], code[0]};
}

// Appends the column when there is none of that name.
std::int16_t columns_t::place_of_name(std::size_t list, const std::string& name)
{
    if (name.empty()) return kNone;
    auto& columns = lists_[list];
    const auto at = std::find(columns.begin(), columns.end(), name);
    const auto place = static_cast<std::int16_t>(at - columns.begin());
    if (at == columns.end()) columns.push_back(name);
    return place;
}

void columns_t::begin_with(const columns_t& others)
{
    for (std::size_t list = 0; list < lists_.size(); ++list) {
        for (const std::string& name : others.names(list)) place_of_name(list, name);
    }
}

void columns_t::prepare(const epoch_t& epoch)
{
    std::array<std::uint16_t, kConstellationCount> seen = known_;
    epoch.satellites.each([&](int place) {
        auto& bits = seen[static_cast<std::size_t>(satellite_at(place).constellation)];
        bits = static_cast<std::uint16_t>(bits | epoch.signals[static_cast<std::size_t>(place)]);
    });
    for (int c = 0; c < kConstellationCount; ++c) add_signals(c, seen[static_cast<std::size_t>(c)]);
}

// Gives columns to those of the signals that have none.
void columns_t::add_signals(int constellation, unsigned signals)
{
    const auto at = static_cast<std::size_t>(constellation);
    const unsigned added = signals & ~unsigned{known_[at]};
    if (added == 0) return;
    const auto& codes = signals_.codes(constellation);
    for (std::size_t s = 0; s < codes.size(); ++s) {
        if ((added >> s & 1) == 0) continue;
        for (int kind = 0; kind < kKindCount; ++kind)
            places_[at][s][static_cast<std::size_t>(kind)] =
                place_of_name(list_of(constellation), name_of(constellation, codes[s], kind));
    }
    known_[at] = static_cast<std::uint16_t>(known_[at] | added);
}

std::vector<std::size_t> columns_t::order(std::size_t list) const
{
    const auto& columns = lists_[list];
    std::vector<std::size_t> order;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if ((used_[list] >> i & 1) != 0) order.push_back(i);
    }
    std::sort(order.begin(), order.end(),
              [&](std::size_t a, std::size_t b) { return rank_of(columns[a]) < rank_of(columns[b]); });
    return order;
}

std::vector<std::string> columns_t::names(std::size_t list) const
{
    std::vector<std::string> names;
    for (const std::size_t i : order(list)) names.push_back(lists_[list][i]);
    return names;
}

// Columns left empty at the end of a list leave no trace in the lines of RINEX 3.
bool columns_t::settled() const
{
    for (std::size_t list = 0; list < lists_.size(); ++list) {
        const std::vector<std::size_t> places = order(list);
        if (one_list_ && places.size() != lists_[list].size()) return false;
        for (std::size_t i = 0; i < places.size(); ++i) {
            if (places[i] != i) return false;
        }
    }
    return true;
}

}   // namespace rinex
