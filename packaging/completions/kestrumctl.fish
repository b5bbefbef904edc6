# fish completion for kestrumctl. Verbs, keys and signals come from the program's own help.

# The indented lines below a heading of a verb's help: first word, a tab, the rest.
function __kestrumctl_names --argument-names verb heading
    kestrumctl $verb --help 2>/dev/null | sed -n "/^$heading/,\$s/^  \([A-Za-z][A-Za-z-]*\)  *\(.*\)/\1\t\2/p"
end

function __kestrumctl_verbs
    kestrumctl --help 2>/dev/null | sed -n 's/^  \([a-z][a-z-]*\)  *\(.*\)/\1\t\2/p'
end

# Whether the word at the cursor is the verb's first argument: "__kestrumctl_first_of VERB...".
function __kestrumctl_first_of
    set --local words (commandline --tokenize --cut-at-cursor --current-process)
    test (count $words) = 2; and contains -- $words[2] $argv
end

function __kestrumctl_verb_is
    set --local words (commandline --tokenize --cut-at-cursor --current-process)
    test (count $words) -ge 2; and contains -- $words[2] $argv
end

complete -c kestrumctl -f
complete -c kestrumctl -n __fish_is_first_token -a '(__kestrumctl_verbs)'
complete -c kestrumctl -n __fish_is_first_token -l version -d 'Print the version'
complete -c kestrumctl -l help -d 'Print how it is used'

complete -c kestrumctl -n '__kestrumctl_first_of read write delete' -a '(__kestrumctl_names write Keys)'
complete -c kestrumctl -n '__kestrumctl_verb_is read' -l stored -d 'Look only at what is stored'
complete -c kestrumctl -n '__kestrumctl_verb_is write import' -l force -d 'Store values of another type too'
complete -c kestrumctl -n '__kestrumctl_first_of export import' -F
complete -c kestrumctl -n '__kestrumctl_first_of post' -a '(__kestrumctl_names post Tells)'
complete -c kestrumctl -n '__kestrumctl_verb_is listen' -a '(__kestrumctl_names post Tells)'
complete -c kestrumctl -n '__kestrumctl_verb_is listen' -l count -x -d 'Stop after so many deliveries'
complete -c kestrumctl -n '__kestrumctl_verb_is listen' -l timeout -x -d 'Stop after so many seconds'
complete -c kestrumctl -n '__kestrumctl_first_of agent' -a 'start stop'
complete -c kestrumctl -n '__kestrumctl_first_of popover' -a 'cpu memory storage sensors close'
complete -c kestrumctl -n '__kestrumctl_first_of panel' -a 'status add remove'
complete -c kestrumctl -n '__kestrumctl_verb_is panel' -l png -x -a '(__fish_complete_directories)' -d 'Keep pictures of the items there'
complete -c kestrumctl -n '__kestrumctl_verb_is panel' -l scale -x -d 'Pixels a point'
complete -c kestrumctl -n '__kestrumctl_verb_is panel' -l height -x -d "The pictures' height in pixels"
complete -c kestrumctl -n '__kestrumctl_verb_is panel' -l foreground -x -d "The colour of the panel's texts"
complete -c kestrumctl -n '__kestrumctl_first_of login-item' -a 'status on off'
complete -c kestrumctl -n '__kestrumctl_verb_is describe render' -l cores -x -d 'As on a machine with so many cores'
complete -c kestrumctl -n '__kestrumctl_first_of render' -a 'strip (printf "%s\n" {,popover-}{cpu,memory,storage,sensors})'
complete -c kestrumctl -n '__kestrumctl_verb_is render' -s o -r -F -d 'Where the picture goes'
complete -c kestrumctl -n '__kestrumctl_verb_is render' -l scale -x -d 'Pixels a point'
complete -c kestrumctl -n '__kestrumctl_verb_is render' -l appearance -x -a 'light dark'
complete -c kestrumctl -n '__kestrumctl_verb_is render' -l direction -x -a 'ltr rtl'
complete -c kestrumctl -n '__kestrumctl_verb_is render' -l poor -d 'As on a machine that tells little of itself'
complete -c kestrumctl -n '__kestrumctl_verb_is render' -l root -x -a '(__fish_complete_directories)' -d 'Readings of this machine'
complete -c kestrumctl -n '__kestrumctl_verb_is open' -s g -d 'In the background'
complete -c kestrumctl -n '__kestrumctl_verb_is open' -a '(__fish_complete_directories)'
