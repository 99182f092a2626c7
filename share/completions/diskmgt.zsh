#compdef diskmgt
# Completion of diskmgt for zsh. What commands, options and formats there are is read from the command's own help.

# The lines of what the program as it was typed says.
_diskmgt_say() {
    said=("${(@f)$(LC_ALL=C _call_program "$1" "${words[1]}" "${(@q)@[2,-1]}" 2>/dev/null </dev/null)}")
}

_diskmgt_commands() {
    local -a said names
    local line in_list=
    _diskmgt_say commands --help
    for line in "${said[@]}"; do
        case $line in
            Commands:) in_list=1 ;;
            '') in_list= ;;
            *) [[ -z $in_list ]] || names+=("${${line#  }%% *}:${line##  [a-z]# #}") ;;
        esac
    done
    _describe -t commands command names
}

# The long options of the command (or of none): `flags` and `valued`, each with what it is for.
_diskmgt_read_options() {
    local -a said
    local line
    _diskmgt_say options ${1:+"$1"} --help
    flags=() valued=()
    for line in "${said[@]}"; do
        [[ $line == (#b)'  '(-?,|)(--[a-z-]##)(' '[A-Z]##( ...|)|)' '##(*) ]] || continue
        if [[ -n $match[3] ]]; then valued+=("$match[2]:$match[5]"); else flags+=("$match[2]:$match[5]"); fi
    done
}

_diskmgt_formats() {
    local -a said formats
    local line
    _diskmgt_say formats ${1:+"$1"} --help
    for line in "${said[@]}"; do
        [[ $line == (#b)'  --format FORMAT '##(*)' (default: '* ]] && formats=("${(@s:, :)match[1]}")
    done
    _wanted formats expl format compadd -a formats
}

# The names of all classes; of a class: of its properties.
_diskmgt_read_names() {
    local -a said
    local line
    _diskmgt_say names classes "$@" --format json
    for line in "${said[@]}"; do
        [[ $line == (#b)'      "name": "'(*)'",' ]] && names+=("$match[1]")
    done
}

_diskmgt_classes() {
    local -a names
    _diskmgt_read_names
    _wanted classes expl class compadd -a names
}

_diskmgt_read_tree_columns() {
    local -a said
    local line in_list=
    _diskmgt_say columns tree --help
    for line in "${said[@]}"; do
        [[ $line == Columns:* ]] && in_list=1
        [[ -n $in_list ]] && names+=(${(s:, :)${${line#Columns: }%[.,]}})
        [[ $line == *. ]] && in_list=
    done
}

_diskmgt_columns() {
    local -a names
    local class
    if [[ -z $command || $command == tree ]]; then
        _diskmgt_read_tree_columns
        compset -P '+'
    fi
    for class in "${operands[@]}"; do _diskmgt_read_names "$class"; done
    _wanted columns expl property _sequence compadd -a names
}

# A device, then a file; "plain": also a device's name without a path.
_diskmgt_devices() {
    local -a names=(/sys/class/block/*(N:t)) devices
    names=("${(@)names//!//}")
    devices=("/dev/"${^names})
    [[ $1 == plain && -n $PREFIX && $PREFIX != */* ]] && devices=("${names[@]}")
    local -a others expl
    local -i ret=1
    [[ $PREFIX == /dev/* ]] && others=(-g "^(${(j:|:)names})")  # as devices they are offered already
    _tags devices files
    while _tags; do
        _requested -V devices expl device compadd -f -a devices && ret=0
        _requested files && _files "${others[@]}" && ret=0
        (( ret )) || break
    done
    return ret
}

# The value of an option, by the option's name.
_diskmgt_value() {
    case $1 in
        --format) _diskmgt_formats "$command" ;;
        --log-level) _wanted levels expl level compadd error warning status debug verbose none ;;
        --color) _wanted times expl when compadd auto always never ;;
        --columns) _diskmgt_columns ;;
        --plugin | --schema | --output) _files ;;
        --timeout) _message seconds ;;
        --virtual-device) _message text ;;
    esac
}

_diskmgt() {
    setopt local_options extended_glob
    local command= word expl
    local -a flags valued operands match mbegin mend
    local -i i
    _diskmgt_read_options
    for ((i = 2; i <= $#words; i++)); do
        word=${words[i]}
        if [[ $word == -* ]]; then
            (( ${valued[(I)${word}:*]} )) && (( i++ ))
        elif (( i == CURRENT )); then
            continue
        elif [[ -z $command ]]; then
            command=$word
            _diskmgt_read_options "$command"
        else
            operands+=("$word")
        fi
    done

    local previous=${words[CURRENT-1]}
    if (( CURRENT > 2 && ${valued[(I)${previous}:*]} )); then
        _diskmgt_value "$previous"
    elif [[ $PREFIX == --*=* ]]; then
        local option=${PREFIX%%=*}
        compset -P 1 '*='
        _diskmgt_value "$option"
    elif [[ $PREFIX == -* ]]; then
        _describe -o -t options option flags -- valued -q -S '='
    else
        case $command in
            '') if [[ $PREFIX == */* ]]; then _diskmgt_devices; else _diskmgt_commands; fi ;;
            get | trace | classes) _diskmgt_classes ;;
            export) _wanted formats expl format compadd json prometheus mof html ;;
            tree | explain) _diskmgt_devices plain ;;
            probe) _diskmgt_devices ;;
            diff) _files ;;
        esac
    fi
}

_diskmgt "$@"
