// Help as a terminal shows it.
#include "common/command_page.h"
#include "common/text_format.h"

namespace kvx {

namespace {

constexpr std::size_t kColumns = 80, kIndent = 26;

std::string paragraph(std::string_view text, std::size_t indent = 0)
{
    std::string lines;
    for (const std::string& line : wrapped(text, kColumns - indent)) lines += std::string(indent, ' ') + line + "\n";
    return lines;
}

// A name, and what is said of it in the column beside it; a long name has a line of its own.
std::string row(const std::string& name, const std::string& text)
{
    std::string beside = paragraph(text, kIndent);
    if (name.size() + 2 > kIndent) return name + "\n" + beside;
    if (beside.empty()) return name + "\n";
    return beside.replace(0, name.size(), name);
}

// Long names stand below each other, also where there is no short one.
std::string name_of(const option_entry_t& entry)
{
    if (entry.is_argument()) return "  " + entry.shown_value() + (entry.many ? "..." : "");
    const std::string names = joined(entry.names, ", ");
    return (names.compare(0, 2, "--") == 0 ? "      " : "  ") + names +
           (entry.is_flag() ? "" : " " + entry.shown_value());
}

std::string rows(const std::string& title, const std::vector<const option_entry_t*>& entries)
{
    std::string text = entries.empty() ? "" : "\n" + title + ":\n";
    for (const option_entry_t* entry : entries) {
        const std::string remarks = entry->remarks();
        text += row(name_of(*entry), entry->help + (remarks.empty() ? "" : " " + remarks));
    }
    return text;
}

std::string examples(const command_page_t& page)
{
    std::string text = page.examples.empty() ? "" : "\nExamples:\n";
    for (const example_t& example : page.examples)
        text += paragraph(closed(example.what, ':'), 2) + "    " + example.command + "\n";
    return text;
}

std::string exit_codes(const command_page_t& page)
{
    std::vector<std::string> codes;
    for (const auto& [code, meaning] : page.exit_codes) codes.emplace_back(code).append(" ").append(meaning);
    return "\n" + paragraph("Exit codes: " + joined(codes, ", ") + ".");
}

}   // namespace

std::string help_text(const command_page_t& page)
{
    std::string text = paragraph(page.what) + "\nUsage: " + page.usage() + "\n";
    if (page.commands.empty() && !page.description.empty()) text += "\n" + paragraph(page.description);
    if (!page.commands.empty()) text += "\nCommands:\n";
    for (const command_page_t& command : page.commands)
        text += row("  " + std::string(command.last_name()), command.what);
    text += rows("Arguments", page.arguments());
    for (const section_t& section : page.sections()) text += rows(section.title, section.entries);
    text += examples(page);
    if (!page.exit_codes.empty()) text += exit_codes(page);
    return text;
}

}   // namespace kvx
