// Completion for zsh: a function for each command, which hands its options to _arguments.
#include "common/text_format.h"
#include "manual/completion.h"

namespace kvx {

namespace {

std::string escaped(const std::string& text, const char* special)
{
    std::string safe;
    for (const char c : text) {
        if (std::string(special).find(c) != std::string::npos) safe += '\\';
        safe += c;
    }
    return safe;
}

std::string quoted(const std::string& text)
{
    std::string safe = "'";
    for (const char c : text) safe += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return safe + "'";
}

// "_kvx_dump_cat"
std::string function_of(const command_page_t& page)
{
    std::string name = "_" + page.name;
    for (char& c : name) c = c == ' ' ? '_' : c;
    return name;
}

// What follows an option or the place of an argument: ":DIR:_files -/".
std::string value_of(const option_entry_t& entry)
{
    const std::string words = joined(entry.choices, " ");
    switch (entry.kind) {
        case value_kind_t::none:
            return "";
        case value_kind_t::file:
            return ":" + entry.value + ":_files";
        case value_kind_t::folder:
            return ":" + entry.value + ":_files -/";
        case value_kind_t::choice:
            return ":" + entry.value +
                   (entry.separated ? ":_values -s , " + entry.value + " " + words : ":(" + words + ")");
        case value_kind_t::text:
            break;
    }
    return ":" + entry.value + ": ";
}

std::string option_rows(const option_entry_t& entry)
{
    std::vector<std::string> others = entry.names;
    if (entry.excludes.compare(0, 1, "-") == 0) others.push_back(entry.excludes);
    if (entry.names.back() == "--help" || entry.names.back() == "--version") others.insert(others.end(), {"-", "*"});
    const std::string before = entry.many ? "*" : "(" + joined(others, " ") + ")";
    std::string rows;
    for (const std::string& name : entry.names) {
        const bool equals = !entry.is_flag() && name.compare(0, 2, "--") == 0;
        rows += " \\\n    " +
                quoted(before + name + (equals ? "=" : "") + "[" + escaped(entry.help, "[]\\") + "]" + value_of(entry));
    }
    return rows;
}

std::string argument_row(const option_entry_t& entry, std::size_t place)
{
    return " \\\n    " + quoted((entry.many ? "*" : std::to_string(place)) + value_of(entry));
}

std::string all_options(const command_page_t& page)
{
    std::string rows;
    std::size_t place = 1;
    for (const option_entry_t& entry : page.options)
        rows += entry.is_argument() ? argument_row(entry, place++) : option_rows(entry);
    return rows;
}

std::string group_function(const command_page_t& page)
{
    std::string text = "  local curcontext=$curcontext state\n  local -a line commands\n  commands=(\n";
    for (const command_page_t& command : page.commands)
        text += "    " + quoted(std::string(command.last_name()) + ":" + command.what) + "\n";
    return text + "  )\n  _arguments -C" + all_options(page) +
           " \\\n    '1:command:->command' '*::argument:->argument'\n  case $state in\n"
           "    command) _describe -t commands 'kvx command' commands ;;\n    argument) (( $+functions[" +
           function_of(page) + "_$words[1]] )) && " + function_of(page) + "_$words[1] ;;\n  esac\n";
}

std::string function(const command_page_t& page)
{
    const std::string body =
        page.commands.empty() ? "  _arguments -s -S" + all_options(page) + "\n" : group_function(page);
    return "\n" + function_of(page) + "() {\n" + body + "}\n";
}

}   // namespace

std::string zsh_completion(const command_page_t& program)
{
    std::string text = "#compdef kvx\n# Completion of kvx in zsh; made by 'kvx completion zsh'.\n";
    for_each_page(program, [&](const command_page_t& page) { text += function(page); });
    return text + "\nif [[ $funcstack[1] == _kvx ]]; then _kvx \"$@\"; else compdef _kvx kvx; fi\n";
}

}   // namespace kvx
