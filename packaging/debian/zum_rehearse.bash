# Completion of zum_rehearse for bash.
_zum_rehearse() {
    local cur prev words cword
    _init_completion || return
    case $prev in
        --html | --folders-from) _filedir; return ;;
        --changes | --undo) _filedir reg; return ;;
        --trace-output) _filedir -d; return ;;
    esac
    if [[ $cur == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W '-h --help --version --all --json --csv --html --changes --undo
            --trace-output --folders-from' -- "$cur")
    else
        _filedir # exports and folders; a hive has no ending of its own
    fi
} && complete -F _zum_rehearse zum_rehearse
