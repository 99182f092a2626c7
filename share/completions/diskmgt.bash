# Completion of diskmgt for bash. What commands, options and formats there are is read from the command's own help.

# _diskmgt_say PROGRAM ARG...: what the program as it was typed says.
_diskmgt_say() {
    local program
    program=$(dequote "$1") && LC_ALL=C "$program" "${@:2}" 2>/dev/null </dev/null
}

# The names of all commands.
_diskmgt_commands() {
    _diskmgt_say "$1" --help | sed -n '/^Commands:/,/^$/s/^  \([a-z][a-z]*\) .*/\1/p'
}

# The long options of a command (or of none), one a line; "=" at the end of those that a value follows.
_diskmgt_options() {
    _diskmgt_say "$@" --help | sed -n -e 's/^  \(-[a-zA-Z],\)\{0,1\}\(--[a-z-]*\) [A-Z][A-Z].*/\2=/p' \
        -e 's/^  \(-[a-zA-Z],\)\{0,1\}\(--[a-z-]*\)  .*/\2/p'
}

# The values of --format.
_diskmgt_formats() {
    _diskmgt_say "$@" --help | sed -n 's/^  --format FORMAT *\(.*\) (default: .*/\1/p' | tr ',' ' '
}

# The names of all classes; of a class: of its properties.
_diskmgt_names() {
    _diskmgt_say "$1" classes "${@:2}" --format json | sed -n 's/^      "name": "\(.*\)",$/\1/p'
}

# The names of the kernel's block devices below /dev, each behind a prefix.
_diskmgt_devices() {
    local entry
    for entry in /sys/class/block/*; do
        [[ ! -e $entry ]] || { entry=${entry##*/} && printf '%s\n' "$1${entry//!//}"; }
    done
}

# Completes the word as a device, then as a file; "plain": also as a device's name without a path.
_diskmgt_devices_and_files() {
    local prefix=/dev/ devices word
    [[ $1 != plain || -z $cur || $cur == */* ]] || prefix=
    mapfile -t devices < <(compgen -W "$(_diskmgt_devices "$prefix")" -- "$cur")
    _filedir
    for word in "${COMPREPLY[@]}"; do
        [[ " ${devices[*]} " == *" $word "* ]] || devices+=("$word")
    done
    COMPREPLY=("${devices[@]}")
    compopt -o nosort 2>/dev/null  # since bash 4.4
}

# The columns of the tree.
_diskmgt_tree_columns() {
    _diskmgt_say "$1" tree --help | sed -n '/^Columns:/,/\.$/{s/^Columns://;p}' | tr -cs 'a-z' '\n'
}

# Names separated by commas: completes the last.
_diskmgt_columns() {
    local class names done_part=
    [[ $cur != +* ]] || done_part=+
    [[ $cur != *,* ]] || done_part=${cur%,*},
    names=$(for class in "${operands[@]}"; do _diskmgt_names "$1" "$class"; done)
    [[ -n $command && $command != tree ]] || names=$(_diskmgt_tree_columns "$1")
    mapfile -t COMPREPLY < <(compgen -P "$done_part" -W "$names" -- "${cur:${#done_part}}")
    compopt -o nospace
}

_diskmgt() {
    # shellcheck disable=SC2034  # _init_completion sets them
    local cur prev words cword split
    _init_completion -s || return

    local i word command='' options operands=()
    options=$(_diskmgt_options "$1")
    for ((i = 1; i < ${#words[@]}; i++)); do
        word=${words[i]}
        if [[ $word == -* ]]; then
            [[ $'\n'$options$'\n' != *$'\n'"$word="$'\n'* ]] || ((i++))  # its value
        elif ((i == cword)); then
            continue
        elif [[ -z $command ]]; then
            command=$word
            options=$(_diskmgt_options "$1" "$command")
        else
            operands+=("$word")
        fi
    done

    case $prev in
        --format)
            mapfile -t COMPREPLY < <(compgen -W "$(_diskmgt_formats "$1" ${command:+"$command"})" -- "$cur")
            return
            ;;
        --log-level)
            mapfile -t COMPREPLY < <(compgen -W "error warning status debug verbose none" -- "$cur")
            return
            ;;
        --color)
            mapfile -t COMPREPLY < <(compgen -W "auto always never" -- "$cur")
            return
            ;;
        --columns)
            _diskmgt_columns "$1"
            return
            ;;
        --plugin | --schema | --output)
            _filedir
            return
            ;;
        --timeout | --virtual-device) return ;;
    esac
    $split && return

    if [[ $cur == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$cur")
        [[ ${COMPREPLY[0]-} != *= ]] || compopt -o nospace
        return
    fi
    case $command in
        '')
            if [[ $cur == */* ]]; then
                _diskmgt_devices_and_files
            else
                mapfile -t COMPREPLY < <(compgen -W "$(_diskmgt_commands "$1")" -- "$cur")
            fi
            ;;
        get | trace | classes)
            mapfile -t COMPREPLY < <(compgen -W "$(_diskmgt_names "$1")" -- "$cur")
            ;;
        export) mapfile -t COMPREPLY < <(compgen -W "json prometheus mof html" -- "$cur") ;;
        tree | explain) _diskmgt_devices_and_files plain ;;
        probe) _diskmgt_devices_and_files ;;
        diff) _filedir ;;
    esac
} && complete -F _diskmgt diskmgt
