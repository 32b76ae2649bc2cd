# Completion for kvx: subcommands and the options that their --help lists.
_kvx() {
    local words
    if [ "$COMP_CWORD" -eq 1 ]; then
        words=$(kvx --help 2>/dev/null | awk '/^Subcommands:/ {on = 1; next} on && NF {print $1}')
    elif [[ ${COMP_WORDS[COMP_CWORD]} == -* ]]; then
        words=$(kvx "${COMP_WORDS[1]}" --help 2>/dev/null | grep -oE -- '--?[a-z][a-z-]*')
    else
        COMPREPLY=($(compgen -f -- "${COMP_WORDS[COMP_CWORD]}"))
        return
    fi
    COMPREPLY=($(compgen -W "$words" -- "${COMP_WORDS[COMP_CWORD]}"))
}
complete -o filenames -F _kvx kvx
