#include "rinex/version_names.h"

#include <algorithm>

#include "rinex/signals.h"

namespace rinex {

namespace {

// What a code of RINEX 2 most likely is, RINEX 3.05 having no attribute for "unknown": the tracking modes that
// receivers had when 2.11 was written, or X, all components, where several came later.
struct meaning_t {
    char system;
    std::string_view range;   // name of the pseudorange
    char attribute;
};
constexpr meaning_t kMeanings[] = {
    {'G', "C1", 'C'}, {'G', "P1", 'W'}, {'G', "C2", 'X'}, {'G', "P2", 'W'}, {'G', "C5", 'X'}, {'R', "C1", 'C'},
    {'R', "P1", 'P'}, {'R', "C2", 'C'}, {'R', "P2", 'P'}, {'E', "C1", 'X'}, {'E', "C5", 'X'}, {'E', "C6", 'X'},
    {'E', "C7", 'X'}, {'E', "C8", 'X'}, {'S', "C1", 'C'}, {'S', "C5", 'X'},
};

char attribute_of(char system, std::string_view range)
{
    for (const meaning_t& m : kMeanings) {
        if (m.system == system && m.range == range) return m.attribute;
    }
    return '\0';
}

bool has(const std::vector<std::string>& names, std::string_view name)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

// Phase, Doppler and strength go with the pseudorange that is listed: on L1 the C/A code before P, on others P first.
std::string from_2(char system, const std::string& name, const std::vector<std::string>& listed)
{
    if (name.size() < 2) return "";
    const char kind = name[0], band = name[1];
    const bool is_range = kind == 'C' || kind == 'P';
    const std::string_view order = band == '1' ? "CP" : "PC";
    std::string range = is_range ? name : "";
    for (std::size_t i = 0; i < 2 && range.empty(); ++i) {
        const std::string one{order[i], band};
        if (has(listed, one) && attribute_of(system, one) != '\0') range = one;
    }
    if (range.empty()) range = {'C', band};
    const char attribute = attribute_of(system, range);
    if (attribute == '\0' || (!is_range && kKinds.find(kind) == std::string_view::npos)) return "";
    return {is_range ? 'C' : kind, band, attribute};
}

std::string into_2(char system, const std::string& name)
{
    if (name.size() != 3 || kKinds.find(name[0]) == std::string_view::npos) return "";
    const char range = range_letter_211(system, std::string_view(name).substr(1));
    if (range == '\0') return "";
    return {name[0] == 'C' ? range : name[0], name[1]};
}

constexpr int kOldBeidou = 302;   // the version that called B1I 1I

std::string renamed(char system, std::string name, int from, int to)
{
    const bool inphase = name.size() == 3 && std::string_view("IQX").find(name[2]) != std::string_view::npos;
    if (system != 'C' || !inphase) return name;
    if (from == kOldBeidou && to > kOldBeidou && name[1] == '1')
        name[1] = '2';
    else if (from > kOldBeidou && to == kOldBeidou && name[1] == '2')
        name[1] = '1';
    else if (from > kOldBeidou && to == kOldBeidou && name[1] == '1')
        return "";   // B1C
    return name;
}

observation_code_t code_of(const std::string& name)
{
    observation_code_t code;
    std::copy_n(name.begin(), std::min<std::size_t>(3, name.size()), code.letters.begin());
    return code;
}

}   // namespace

type_names_t names_of(const file_header_t& header)
{
    type_names_t names;
    for (std::size_t i = 0; i < (header.version < 300 ? 1 : kSystemCount); ++i) {
        for (const listed_type_t& type : header.types_of(kSystems[i]).types) names[i].push_back(type.code.text());
    }
    return names;
}

std::string name_in_version(char system, const std::string& name, int from, int to,
                            const std::vector<std::string>& listed)
{
    if (from == to || (from < 300 && to < 300)) return name;
    std::string found = from < 300 ? from_2(system, name, listed)
                        : to < 300 ? into_2(system, name)
                                   : renamed(system, name, from, to);
    if (found.empty() || !is_system_of(system, 'O', to)) return "";
    return is_observation_code(system, code_of(found), to) ? found : "";
}

void sort_names(std::vector<std::string>& names)
{
    constexpr std::string_view kOrder = "CPLDS";
    std::sort(names.begin(), names.end(), [kOrder](const std::string& a, const std::string& b) {
        const std::string_view one = std::string_view(a).substr(1), other = std::string_view(b).substr(1);
        return one != other ? one < other : kOrder.find(a[0]) < kOrder.find(b[0]);
    });
}

std::size_t preference_211(char system, std::string_view signal)
{
    constexpr std::string_view kPreference = "PWYMCQXZLSIBDA";
    const bool coarse = signal == "1C" && (system == 'G' || system == 'R');   // readers pair L1 with C1
    return coarse ? 0 : kPreference.find(signal[1]) + 1;
}

}   // namespace rinex
