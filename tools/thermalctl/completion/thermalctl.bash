# Completion of thermalctl for bash.

_thermalctl_words() {
  mapfile -t COMPREPLY < <(compgen -W "$1" -- "$2")
}

_thermalctl_paths() {
  mapfile -t COMPREPLY < <(compgen "$1" -- "$2")
  # Marks directories; there is none outside of a completion.
  compopt -o filenames 2>/dev/null || true
}

_thermalctl_rules() {
  thermalctl check --list-rules 2>/dev/null
}

# The value of the option before it.
_thermalctl_value() {
  case $1 in
    --env | --conf | --plant | --workload) _thermalctl_paths -f "$2" ;;
    --dir | --nodes | --board | --out) _thermalctl_paths -d "$2" ;;
    --format) _thermalctl_words 'text json sarif markdown' "$2" ;;
    --disable) _thermalctl_words "$(_thermalctl_rules)" "$2" ;;
    --explain) _thermalctl_words "all $(_thermalctl_rules)" "$2" ;;
    --timeout | --duration | --limit | --seed) COMPREPLY=() ;;
    *) return 1 ;;
  esac
}

_thermalctl_options() {
  case $1 in
    check) echo '--env --conf --format --werror --disable --nodes --explain --list-rules --help -h' ;;
    scenario) echo '--dir --timeout --help -h' ;;
    reload) echo '--dir --env --force --timeout --help -h' ;;
    status) echo '--dir --env --watch --help -h' ;;
    simulate)
      echo '--board --env --conf --plant --workload --duration --out --limit --seed --help -h'
      ;;
    plot) echo '--board --out --help -h' ;;
    *) echo '--version --help -h' ;;
  esac
}

_thermalctl() {
  local word=${COMP_WORDS[COMP_CWORD]} command=${COMP_WORDS[1]}
  if ((COMP_CWORD == 1)); then
    _thermalctl_words "check scenario reload status simulate plot $(_thermalctl_options)" "$word"
  elif [[ $word == -* ]]; then
    _thermalctl_words "$(_thermalctl_options "$command")" "$word"
  elif ! _thermalctl_value "${COMP_WORDS[COMP_CWORD - 1]}" "$word" && [[ $command == @(reload|plot) ]]; then
    _thermalctl_paths -f "$word"
  fi
}

complete -F _thermalctl thermalctl
