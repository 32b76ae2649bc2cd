// Completion for fish: a line for each command and option.
#include "common/text_format.h"
#include "manual/completion.h"

namespace kvx {

namespace {

constexpr const char kHead[] = R"fish(# Completion of kvx in fish; made by 'kvx completion fish'.

function __kvx_words   # of the line before the cursor, without options
    set -l words (commandline -opc)
    string match -v -- '-*' $words[2..-1]
end

function __kvx_at   # COMMAND...: the line is one of this command
    set -l words (__kvx_words)
    set -l n (count $argv)
    test (count $words) -ge $n; and test "$words[1..$n]" = "$argv"
end

function __kvx_next   # COMMAND...: the next word names one of its commands
    set -l words (__kvx_words)
    test "$words" = "$argv"
end

function __kvx_place   # N COMMAND...: so many arguments of the command stand on the line
    set -l n (count (__kvx_words))
    __kvx_at $argv[2..-1]; and test $n -eq (math $argv[1] + (count $argv) - 1)
end

complete -c kvx -f
)fish";

std::string quoted(const std::string& text)
{
    std::string safe = "'";
    for (const char c : text) safe += (c == '\'' || c == '\\' ? "\\" : "") + std::string(1, c);
    return safe + "'";
}

// "-x -a 'split mixed none'"
std::string value_of(const option_entry_t& entry)
{
    const std::string words = joined(entry.choices, " ");
    switch (entry.kind) {
        case value_kind_t::none:
            return "";
        case value_kind_t::file:
            return " -r -F";
        case value_kind_t::folder:
            return " -x -a '(__fish_complete_directories)'";
        case value_kind_t::choice:
            return " -x -a " + quoted(entry.separated
                                          ? "(__fish_complete_list , " + quoted("printf '%s\\n' " + words) + ")"
                                          : words);
        case value_kind_t::text:
            break;
    }
    return " -x";
}

std::string line(const std::string& condition, const std::string& rest)
{
    return "complete -c kvx -n " + quoted(condition) + rest + "\n";
}

std::string option_line(const command_page_t& page, const option_entry_t& entry)
{
    std::string names;
    for (const std::string& name : entry.names)
        names += name.compare(0, 2, "--") == 0 ? " -l " + name.substr(2) : " -s " + name.substr(1);
    const std::string condition = path_of(page).empty() ? "__kvx_next" : "__kvx_at " + path_of(page);
    return line(condition, names + value_of(entry) + " -d " + quoted(entry.help));
}

// Without -r and -x, which are about the value of an option.
std::string argument_line(const command_page_t& page, const option_entry_t& entry, std::size_t place)
{
    const std::string where = entry.many ? "__kvx_at " : "__kvx_place " + std::to_string(place) + " ";
    if (entry.kind == value_kind_t::text) return "";
    const std::string offer = entry.kind == value_kind_t::file ? " -F" : value_of(entry).substr(3);
    return line(where + path_of(page), offer);
}

std::string lines(const command_page_t& page)
{
    std::string text = "\n";
    const std::string next = page.name == path_of(page) ? "" : path_of(page);
    for (const command_page_t& command : page.commands)
        text += line(next.empty() ? "__kvx_next" : "__kvx_next " + next,
                     " -a " + std::string(command.last_name()) + " -d " + quoted(command.what));
    std::size_t place = 0;
    for (const option_entry_t& entry : page.options)
        text += entry.is_argument() ? argument_line(page, entry, place++) : option_line(page, entry);
    return text;
}

}   // namespace

std::string fish_completion(const command_page_t& program)
{
    std::string text = kHead;
    for_each_page(program, [&](const command_page_t& page) { text += lines(page); });
    return text;
}

}   // namespace kvx
