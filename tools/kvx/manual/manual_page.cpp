#include "manual/manual_page.h"

#include "common/text_format.h"

namespace kvx {

namespace {

constexpr std::size_t kColumns = 78;

// A line of text. In literal text, and in words that begin with one, "-" is the sign to be typed; else it is a hyphen.
std::string escaped(std::string_view line, bool literal = false)
{
    std::string safe = !line.empty() && (line[0] == '.' || line[0] == '\'') ? "\\&" : "";
    bool option = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        const char c = line[i];
        const bool begins = i == 0 || line[i - 1] == ' ' || line[i - 1] == '(' || line[i - 1] == '\'';
        option = (option && c != ' ') || (begins && c == '-');
        switch (c) {
            case '\\':
                safe += "\\e";
                break;
            case '-':
                safe += literal || option ? "\\-" : "-";
                break;
            case '\'':
                safe += "\\(aq";
                break;
            case '`':
                safe += "\\(ga";
                break;
            case '^':
                safe += "\\(ha";
                break;
            case '~':
                safe += "\\(ti";
                break;
            default:
                safe += c;
        }
    }
    return safe;
}

std::string filled(std::string_view text)
{
    std::string lines;
    for (const std::string& line : wrapped(text, kColumns)) lines += (line.empty() ? ".PP" : escaped(line)) + "\n";
    return lines;
}

std::string literal(std::string_view text)
{
    return escaped(text, true);
}

std::string bold(std::string_view text)
{
    return "\\fB" + literal(text) + "\\fR";
}

std::string italic(std::string_view text)
{
    return "\\fI" + literal(text) + "\\fR";
}

std::string heading(const char* title)
{
    return std::string(".SH ") + title + "\n";
}

// A term, and beside or below it what it means.
std::string tagged(const std::string& term, const std::string& meaning)
{
    return ".TP\n" + term + "\n" + filled(meaning);
}

std::string sentence(const std::string& text)
{
    return closed(text, '.');
}

std::string term_of(const option_entry_t& entry)
{
    const std::string value = entry.shown_value();
    if (entry.is_argument()) return italic(value) + (entry.many ? " ..." : "");
    std::vector<std::string> names;
    for (const std::string& name : entry.names) names.push_back(bold(name));
    return joined(names, ", ") + (entry.is_flag() ? "" : " " + italic(value));
}

std::string entries(const std::vector<const option_entry_t*>& all)
{
    std::string text;
    for (const option_entry_t* entry : all) {
        const std::string remarks = entry->remarks();
        text += tagged(term_of(*entry), sentence(entry->help) + (remarks.empty() ? "" : " " + remarks));
    }
    return text;
}

std::string synopsis(const command_page_t& page)
{
    const std::string rest = page.usage().substr(page.name.size());
    std::string text = bold(page.name) + literal(rest) + "\n";
    if (page.commands.empty() || page.name.find(' ') == page.name.npos) return text;
    text.clear();
    for (const command_page_t& command : page.commands) text += (text.empty() ? "" : ".br\n") + synopsis(command);
    return text;
}

std::string description(const command_page_t& page)
{
    const std::string more = page.description.empty() ? "" : "\n\n" + page.description;
    return filled(sentence(page.what) + more);
}

std::string options(const command_page_t& page)
{
    std::string text;
    if (!page.arguments().empty()) text += heading("ARGUMENTS") + entries(page.arguments());
    const std::vector<section_t> sections = page.sections();
    text += heading("OPTIONS");
    for (const section_t& section : sections)
        text += (sections.size() > 1 ? ".SS " + literal(section.title) + "\n" : "") + entries(section.entries);
    return text;
}

// The commands of one that has some: each with its options.
std::string commands(const command_page_t& page)
{
    std::string text = heading("COMMANDS");
    for (const command_page_t& command : page.commands) {
        text += ".SS " + literal(command.name) + "\n" + description(command) + entries(command.arguments());
        for (const section_t& section : command.sections()) text += entries(section.entries);
    }
    return text;
}

std::string list_of_commands(const command_page_t& program)
{
    std::string text = heading("COMMANDS");
    for (const command_page_t& command : program.commands)
        text += tagged(bold(manual_name(command)) + "(1)", sentence(command.what));
    return text + options(program);
}

std::string examples(const command_page_t& page)
{
    std::string text = page.examples.empty() ? "" : heading("EXAMPLES");
    for (const example_t& example : page.examples) text += tagged(bold(example.command), sentence(example.what));
    return text;
}

std::string exit_status(const command_page_t& page)
{
    std::string text = page.exit_codes.empty() ? "" : heading("EXIT STATUS");
    for (const auto& [code, meaning] : page.exit_codes) text += tagged(bold(code), sentence(meaning));
    return text;
}

std::string see_also(const command_page_t& program, const command_page_t& page)
{
    std::vector<std::string> names;
    if (&page != &program) names.push_back(bold(program.name) + "(1)");
    for (const command_page_t& other : program.commands)
        if (&page == &program) names.push_back(bold(manual_name(other)) + "(1)");
    return heading("SEE ALSO") + joined(names, ",\n") + "\n";
}

}   // namespace

std::string manual_name(const command_page_t& page)
{
    std::string name = page.name;
    for (char& c : name) c = c == ' ' ? '-' : c;
    return name;
}

std::string manual_page(const command_page_t& program, const command_page_t& page)
{
    const std::string name = manual_name(page);
    std::string title = name;
    for (char& c : title) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    std::string text = ".TH " + literal(title) + " 1 " KVX_DATE " \"" KVX_VERSION "\" \"User Commands\"\n";
    text += heading("NAME") + literal(name) + " \\- " + escaped(page.what) + "\n";
    text += heading("SYNOPSIS") + synopsis(page) + heading("DESCRIPTION") + description(page);
    if (page.commands.empty()) {
        text += options(page);
    } else {
        text += &page == &program ? list_of_commands(page) : commands(page);
    }
    return text + examples(page) + exit_status(page) + see_also(program, page);
}

}   // namespace kvx
