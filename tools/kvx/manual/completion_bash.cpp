// Completion for bash: three tables as case statements, and a function that looks into them.
#include "common/text_format.h"
#include "manual/completion.h"

namespace kvx {

namespace {

// File names are left to readline, which knows how to quote them: that is its default where COMPREPLY stays empty.
constexpr const char kHead[] = R"bash(# Completion of kvx in bash; made by 'kvx completion bash'.

_kvx() {
    local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD-1]}
    local command='' option='' kind='' words='' list='' first=1 place=0 i
    while _kvx_commands "$command" && ((first < COMP_CWORD)); do
        command+="${command:+ }${COMP_WORDS[first++]}"
    done
    if [[ $cur == = ]]; then   # the shell has cut --option=value at the sign
        option=$prev cur=''
    elif [[ $prev == = ]]; then
        option=${COMP_WORDS[COMP_CWORD-2]}
    elif [[ $prev == -* ]]; then
        option=$prev
    fi
    if [[ $kind == commands ]] || ! _kvx_value "$command $option"; then
        for ((i = first; i < COMP_CWORD; i++)); do
            [[ ${COMP_WORDS[i]} == [-:]* || ${COMP_WORDS[i-1]} == : ]] || ((place++))
        done
        if [[ $cur == -* ]]; then
            _kvx_options "$command"
        elif [[ $kind != commands ]]; then
            _kvx_argument "$command $place"
        fi
    fi
    case $kind in
        file) return ;;
        folder) compopt -o dirnames +o default +o bashdefault; return ;;
        list) compopt -o nospace; [[ $cur == *,* ]] && list=${cur%,*}, ;;
    esac
    compopt +o default +o bashdefault
    mapfile -t COMPREPLY < <(compgen -P "$list" -W "$words" -- "${cur##*,}")
}
complete -o bashdefault -o default -F _kvx kvx
)bash";

std::string quoted(const std::string& text)
{
    return "'" + text + "'";
}

// What is set for a value, "kind=choice words='split mixed none'".
std::string setting(const option_entry_t& entry)
{
    switch (entry.kind) {
        case value_kind_t::file:
            return "kind=file";
        case value_kind_t::folder:
            return "kind=folder";
        case value_kind_t::choice:
            return std::string("kind=") + (entry.separated ? "list" : "choice") +
                   " words=" + quoted(joined(entry.choices, " "));
        default:
            return "kind=text";
    }
}

std::string row(const std::string& pattern, const std::string& action)
{
    return "        " + pattern + ") " + action + " ;;\n";
}

std::string commands_row(const command_page_t& page)
{
    std::vector<std::string> names;
    for (const command_page_t& command : page.commands) names.emplace_back(command.last_name());
    return names.empty() ? "" : row(quoted(path_of(page)), "kind=commands words=" + quoted(joined(names, " ")));
}

std::string options_row(const command_page_t& page)
{
    std::vector<std::string> names;
    for (const option_entry_t& entry : page.options) names.insert(names.end(), entry.names.begin(), entry.names.end());
    return row(quoted(path_of(page)), "words=" + quoted(joined(names, " ")));
}

std::string value_rows(const command_page_t& page)
{
    std::string rows;
    for (const option_entry_t& entry : page.options) {
        std::vector<std::string> patterns;
        for (const std::string& name : entry.names) patterns.push_back(quoted(path_of(page) + " " + name));
        if (!entry.is_argument() && !entry.is_flag()) rows += row(joined(patterns, "|"), setting(entry));
    }
    return rows;
}

std::string argument_rows(const command_page_t& page)
{
    std::string rows;
    std::size_t place = 0;
    for (const option_entry_t* entry : page.arguments()) {
        const std::string path = path_of(page) + " ";
        rows += row(entry->many ? quoted(path) + "*" : quoted(path + std::to_string(place++)), setting(*entry));
    }
    return rows;
}

std::string table(const char* name, std::string (*rows)(const command_page_t&), const command_page_t& program,
                  const std::string& otherwise)
{
    std::string text = std::string("\n") + name + "() {\n    case $1 in\n";
    for_each_page(program, [&](const command_page_t& page) { text += rows(page); });
    return text + otherwise + "    esac\n}\n";
}

}   // namespace

std::string bash_completion(const command_page_t& program)
{
    const std::string unknown = row("*", "return 1");
    return kHead + table("_kvx_commands", commands_row, program, row("*", "kind='' words=''; return 1")) +
           table("_kvx_options", options_row, program, "") + table("_kvx_value", value_rows, program, unknown) +
           table("_kvx_argument", argument_rows, program, unknown);
}

}   // namespace kvx
