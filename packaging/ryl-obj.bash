# Completion for ryl-obj: subcommands and options as its help has them, then model files.
_ryl_obj() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} words=''
    if [ "$COMP_CWORD" -eq 1 ]; then
        words="$(ryl-obj --help | sed -n 's/^  \([a-z]\+\) .*/\1/p') --help --version"
    elif [[ $word == -* ]]; then
        words=$(ryl-obj "${COMP_WORDS[1]}" --help 2>/dev/null | sed -n 's/^  \(--[a-z-]*\).*/\1/p')
    else
        case $before in
        --to) words='obj ply' ;;
        --map) words='linear spherical cube' ;;
        --up) words='x y z -x -y -z' ;;
        --background) words='transparent' ;;
        --groups) words='none object material part' ;;
        --fail-on)
            words="all error warning note $(ryl-obj check --help |
                sed -n 's/^  \(error\|warning\|note\) *\([a-z-]*\) .*/\2/p')"
            ;;
        esac
    fi
    if [ -n "$words" ]; then
        mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
    else
        compopt -o filenames
        mapfile -t COMPREPLY < <(compgen -d -- "$word"; compgen -f -X '!*.@(obj|OBJ|ply)' -- "$word")
    fi
}
complete -F _ryl_obj ryl-obj
