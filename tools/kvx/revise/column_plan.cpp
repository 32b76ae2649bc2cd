#include "revise/column_plan.h"

#include <algorithm>

#include "convert/selection.h"
#include "rinex/signals.h"

namespace kvx {

namespace {

using rinex::kSystemCount;
using rinex::kSystems;

constexpr int kNamed = 305;   // version in which RINEX 2 types are chosen

std::string target_of(const typed_t& source, std::size_t system, const std::string& name, int version)
{
    return rinex::name_in_version(kSystems[system], name, source.version, version, source.of(system));
}

bool asked_for(const typed_t& source, std::size_t system, const std::string& name, const asked_t& wanted)
{
    return wanted.type(kSystems[system], source.version < 300 ? target_of(source, system, name, kNamed) : name);
}

// What a source brings to a list of the file.
void add_names(const typed_t& source, std::size_t system, int version, const asked_t& wanted,
               std::vector<std::string>& names)
{
    for (const std::string& name : source.of(system)) {
        const std::string target = target_of(source, system, name, version);
        const bool there = std::find(names.begin(), names.end(), target) != names.end();
        if (!target.empty() && !there && asked_for(source, system, name, wanted)) names.push_back(target);
    }
}

// The names of one source, in its own order.
rinex::type_names_t brought(const typed_t& source, int version, const asked_t& wanted)
{
    rinex::type_names_t names;
    if (source.version < 300 && version < 300) {   // one list for all systems
        for (const std::string& name : source.names[0]) {
            bool asked = false;
            for (std::size_t s = 0; s < kSystemCount; ++s) asked = asked || asked_for(source, s, name, wanted);
            if (asked) names[0].push_back(name);
        }
        return names;
    }
    for (std::size_t s = 0; s < kSystemCount; ++s) add_names(source, s, version, wanted, names[version < 300 ? 0 : s]);
    if (version < 300) rinex::sort_names(names[0]);
    return names;
}

bool has_all(const std::vector<std::string>& names, const std::vector<std::string>& others)
{
    return std::all_of(others.begin(), others.end(), [&](const std::string& name) {
        return std::find(names.begin(), names.end(), name) != names.end();
    });
}

void unite(std::vector<std::string>& names, const std::vector<std::string>& others)
{
    if (has_all(names, others)) return;
    if (has_all(others, names)) {
        names = others;
        return;
    }
    for (const std::string& name : others) {
        if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
    }
    rinex::sort_names(names);
}

}   // namespace

asked_t::asked_t(const selection_options_t& options)
    : systems_(options.systems == selection_options_t().systems ? "" : options.systems),
      satellites_(options.satellites),
      signals_(options.signals)
{}

bool asked_t::satellite(char letter, int number) const
{
    if (!system(letter)) return false;
    if (satellites_.empty()) return true;
    const int n = std::clamp(number, 0, 99);
    return matches(satellites_, {letter, static_cast<char>('0' + n / 10), static_cast<char>('0' + n % 10)});
}

bool asked_t::type(char letter, const std::string& name) const
{
    if (!system(letter)) return false;
    if (signals_.empty()) return true;
    if (name.size() < 3) return false;
    const std::string code = name.substr(1);
    return matches(signals_, code) || matches(signals_, letter + code);
}

rinex::type_names_t planned_types(const std::vector<typed_t>& sources, int version, const asked_t& wanted)
{
    rinex::type_names_t names = brought(sources.front(), version, wanted);
    for (const typed_t& source : sources) {
        const rinex::type_names_t others = brought(source, version, wanted);
        for (std::size_t list = 0; list < kSystemCount; ++list) unite(names[list], others[list]);
    }
    return names;
}

column_plan_t::column_plan_t(const typed_t& source, int version, const rinex::type_names_t& columns,
                             const asked_t& wanted)
    : shares(source.version >= 300 && version < 300)
{
    for (std::size_t s = 0; s < kSystemCount; ++s) {
        const std::vector<std::string>& types = source.of(s);
        const std::vector<std::string>& list = columns[version < 300 ? 0 : s];
        same[s] = source.version == version && list == types;
        for (const std::string& name : types) {
            const std::string target = target_of(source, s, name, version);
            const auto at = std::find(list.begin(), list.end(), target);
            const bool asked = asked_for(source, s, name, wanted);
            same[s] = same[s] && asked;
            way_t way{kNowhere, kSystems[s] + name, false, 0};
            if (asked && !target.empty() && at != list.end()) {
                way.column = static_cast<int>(at - list.begin());
                if (source.version < 300 && version >= 300) meanings[{kSystems[s], ' ', name[0], name[1]}] = target;
            } else if (target.empty() && (asked || source.version < 300) && wanted.system(kSystems[s])) {
                way.unnamed = true;
            }
            ways[s].push_back(way);
        }
        identical = identical && same[s];
        if (shares) add_signals(s, types);
    }
}

void column_plan_t::add_signals(std::size_t system, const std::vector<std::string>& types)
{
    std::map<std::pair<std::size_t, std::string>, signal_t> found;   // by band and preference
    for (std::size_t i = 0; i < types.size(); ++i) {
        const std::size_t kind = rinex::kKinds.find(types[i][0]);
        if (ways[system][i].column == kNowhere || kind >= rinex::kKinds.size()) continue;
        const std::string code = types[i].substr(1);
        signal_t& signal = found[{rinex::preference_211(kSystems[system], code), code}];
        signal.from[kind] = static_cast<int>(i);
        signal.to[kind] = ways[system][i].column;
    }
    for (const auto& [order, signal] : found) signals[system].push_back(signal);
}

}   // namespace kvx
