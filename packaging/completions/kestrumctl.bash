# shellcheck shell=bash
# bash completion for kestrumctl. Verbs, keys and signals come from the program's own help.

_kestrumctl_names()
{
    # The first words of the indented lines below a heading, or of all when no heading is given.
    kestrumctl "$1" --help 2>/dev/null | sed -n "/^$2/,\$s/^  \\([A-Za-z][A-Za-z]*\\)  .*/\\1/p"
}

_kestrumctl()
{
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]} verb=${COMP_WORDS[1]} words=
    COMPREPLY=()
    if ((COMP_CWORD == 1)); then
        words="$(kestrumctl --help 2>/dev/null | sed -n 's/^  \([a-z][a-z-]*\)  .*/\1/p') --help --version"
    else
        case $previous in
        -o) mapfile -t COMPREPLY < <(compgen -f -- "$current"); return ;;
        --appearance) mapfile -t COMPREPLY < <(compgen -W 'light dark' -- "$current"); return ;;
        --direction) mapfile -t COMPREPLY < <(compgen -W 'ltr rtl' -- "$current"); return ;;
        --root) mapfile -t COMPREPLY < <(compgen -d -- "$current"); return ;;
        --count | --timeout | --scale | --cores | --height | --foreground) return ;;
        esac
        case $verb in
        read) words='--stored'; ((COMP_CWORD == 2)) && words+=" $(_kestrumctl_names read Keys)" ;;
        write) words='--force'; ((COMP_CWORD == 2)) && words+=" $(_kestrumctl_names write Keys)" ;;
        delete) ((COMP_CWORD == 2)) && words=$(_kestrumctl_names delete Keys) ;;
        export | import)
            [[ $verb == import ]] && words='--force'
            if [[ $current != --* ]]; then
                mapfile -t COMPREPLY < <(compgen -f -- "$current")
                return
            fi ;;
        post) ((COMP_CWORD == 2)) && words=$(_kestrumctl_names post) ;;
        listen) words="--count --timeout $(_kestrumctl_names post)" ;;
        agent) ((COMP_CWORD == 2)) && words='start stop' ;;
        panel)
            words='--png --scale --height --foreground'
            ((COMP_CWORD == 2)) && words+=' status add remove'
            if [[ $previous == --png && $current != -* ]]; then
                mapfile -t COMPREPLY < <(compgen -d -- "$current")
                return
            fi ;;
        popover) ((COMP_CWORD == 2)) && words='cpu memory storage sensors close' ;;
        describe) words='--cores' ;;
        login-item) ((COMP_CWORD == 2)) && words='status on off' ;;
        render)
            words='-o --scale --appearance --cores --direction --poor --root'
            ((COMP_CWORD == 2)) && words="$(printf '%s ' {,popover-}{cpu,memory,storage,sensors}) strip" ;;
        open)
            words='-g'
            if [[ $current != -* ]]; then
                mapfile -t COMPREPLY < <(compgen -d -- "$current")
                return
            fi ;;
        esac
        [[ $current == -* ]] && words+=' --help'
    fi
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}

complete -F _kestrumctl kestrumctl
