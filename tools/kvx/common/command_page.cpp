#include "common/command_page.h"

#include <algorithm>
#include <numeric>

#include "common/text_format.h"

namespace kvx {

namespace {

constexpr std::size_t kShortChoices = 24;   // columns that a value's words may take in its place

std::string usage_of(const option_entry_t& entry)
{
    const std::string value = entry.shown_value() + (entry.is_argument() && entry.many ? "..." : "");
    const std::string whole = entry.is_argument() ? value : entry.names.front() + " " + value;
    return entry.required ? whole : "[" + whole + "]";
}

}   // namespace

bool option_entry_t::is_called(const std::string& name) const
{
    return is_argument() ? value == name : std::find(names.begin(), names.end(), name) != names.end();
}

std::string option_entry_t::shown_value() const
{
    const std::string words = joined(choices, "|");
    return choices.empty() || is_argument() || separated || words.size() > kShortChoices ? value : words;
}

std::string option_entry_t::remarks() const
{
    std::vector<std::string> parts;
    if (required && !is_argument()) parts.emplace_back("required");
    if (!choices.empty() && !separated && shown_value() == value) parts.push_back(joined(choices, ", "));
    if (!excludes.empty()) parts.push_back("not with " + excludes);
    if (!range.empty()) parts.push_back(range);
    if (many && !is_argument() && !separated) parts.emplace_back("may be repeated");
    if (!default_text.empty()) parts.push_back("default: " + default_text);
    return parts.empty() ? "" : "[" + joined(parts, "; ") + "]";
}

std::string_view command_page_t::last_name() const
{
    return std::string_view(name).substr(name.rfind(' ') + 1);
}

const command_page_t* command_page_t::find(const std::vector<std::string>& names) const
{
    const auto step = [](const command_page_t* page, const std::string& last) -> const command_page_t* {
        if (page == nullptr) return nullptr;
        const auto found = std::find_if(page->commands.begin(), page->commands.end(),
                                        [&](const command_page_t& p) { return p.last_name() == last; });
        return found == page->commands.end() ? nullptr : &*found;
    };
    return std::accumulate(names.begin(), names.end(), this, step);
}

std::vector<const option_entry_t*> command_page_t::arguments() const
{
    std::vector<const option_entry_t*> found;
    for (const option_entry_t& entry : options)
        if (entry.is_argument()) found.push_back(&entry);
    return found;
}

std::vector<section_t> command_page_t::sections() const
{
    std::vector<section_t> found;
    section_t rest;
    for (const option_entry_t& entry : options) {
        if (entry.is_argument()) continue;
        const auto same = [&](const section_t& section) { return section.title == entry.section; };
        auto place = std::find_if(found.begin(), found.end(), same);
        if (entry.section.empty()) {
            rest.entries.push_back(&entry);
        } else if (place == found.end()) {
            found.push_back({entry.section, {&entry}});
        } else {
            place->entries.push_back(&entry);
        }
    }
    const bool help_alone = !found.empty() && rest.entries.size() == 1;
    rest.title = help_alone ? "Other" : "Options";
    found.insert(help_alone ? found.end() : found.begin(), rest);
    return found;
}

std::string command_page_t::usage() const
{
    if (!commands.empty()) return name + " COMMAND ...";
    std::string line = name + " [OPTIONS]";
    for (const option_entry_t& entry : options)
        if (entry.required && !entry.is_argument()) line += " " + usage_of(entry);
    for (const option_entry_t* entry : arguments()) line += " " + usage_of(*entry);
    return line;
}

}   // namespace kvx
