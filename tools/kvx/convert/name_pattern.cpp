#include "convert/name_pattern.h"

#include <algorithm>
#include <charconv>

namespace kvx {

namespace {

// Of text in UTF-8.
std::string first_characters(const std::string& text, std::size_t most)
{
    std::size_t end = 0;
    for (std::size_t n = 0; end < text.size(); ++end) {
        const bool begins = (static_cast<unsigned char>(text[end]) & 0xC0) != 0x80;
        if (begins && n++ == most) break;
    }
    return text.substr(0, end);
}

}   // namespace

std::string expand_fields(std::string_view pattern,
                          const std::function<std::optional<std::string>(std::string_view name)>& value_of)
{
    std::string expanded;
    while (!pattern.empty()) {
        const std::size_t open = pattern.find('{'), close = pattern.find('}', open);
        expanded += pattern.substr(0, close == pattern.npos ? pattern.size() : open);
        if (close == pattern.npos) break;
        const std::string_view field = pattern.substr(open + 1, close - open - 1);
        std::size_t colon = std::min(field.find(':'), field.size()), most = std::string::npos;
        if (colon < field.size()) {
            const char* const end = field.data() + field.size();
            const auto [rest, error] = std::from_chars(field.data() + colon + 1, end, most);
            if (error != std::errc() || rest != end || most == 0) colon = field.size();   // no name of a field then
        }
        const auto value = value_of(field.substr(0, colon));
        expanded += value ? first_characters(*value, most) : std::string(pattern.substr(open, close - open + 1));
        pattern.remove_prefix(close + 1);
    }
    return expanded;
}

std::string fault_in_fields(std::string_view pattern, std::initializer_list<std::string_view> names)
{
    std::string fault;
    const std::string rest = expand_fields(pattern, [&](std::string_view name) -> std::optional<std::string> {
        if (std::find(names.begin(), names.end(), name) != names.end()) return "";
        if (fault.empty()) fault = "has no field {" + std::string(name) + "}; there are";
        return "";
    });
    if (fault.empty() && rest.find_first_of("{}") != rest.npos) fault = "has a brace that nothing closes; fields are";
    if (fault.empty()) return "";
    for (const std::string_view name : names) fault += " {" + std::string(name) + "}";
    return fault;
}

}   // namespace kvx
