# Completion of thermalctl for bash. What there is to complete, the help of each command tells.

_thermalctl_words() {
  mapfile -t COMPREPLY < <(compgen -W "$1" -- "$2")
}

_thermalctl_paths() {
  mapfile -t COMPREPLY < <(compgen "$1" -- "$2")
  # Marks directories; there is none outside of a completion.
  compopt -o filenames 2>/dev/null || true
}

# The entries of a section, such as "--env FILE": words that are not two spaces apart.
_thermalctl_entries() {
  sed -En "/^$1:\$/,/^\$/s/^  ([^ ]+( [^ ]+)*).*/\1/p" <<<"$help"
}

# What an option takes, if it takes anything.
_thermalctl_value_of() {
  local name value
  while read -r name value; do
    [[ $name != "$1" ]] || echo "$value"
  done < <(_thermalctl_entries Options)
}

# Configurations, and the folders in which there may be some.
_thermalctl_configurations() {
  mapfile -t COMPREPLY < <(compgen -f -X '!*.conf' -- "$1"; compgen -d -- "$1")
  compopt -o filenames 2>/dev/null || true
}

# What the user has given an option, or what the help says that it is otherwise.
_thermalctl_given() {
  local i value
  for ((i = 2; i < COMP_CWORD; i++)); do
    [[ ${COMP_WORDS[i - 1]} != "$1" ]] || value=${COMP_WORDS[i]}
  done
  [[ -n $value ]] || value=$(_thermalctl_value_of "$1" | sed -n 's/^[^=]*=//p')
  # As the shell would take it.
  echo "${value/#\~/$HOME}"
}

# Of the configurations beside the daemon's own.
_thermalctl_scenarios() {
  cat "$(_thermalctl_given --dir)"/config/*.conf 2>/dev/null | awk '$1 == "SCEN" && NF > 1 {print $2}' | sort -u
}

# Of the board, by their names.
_thermalctl_workloads() {
  local board file
  board=$(_thermalctl_given --board)
  for file in "$board"/workloads/*.toml "$board"/workloads/*.csv; do
    [[ -z $board || ! -e $file ]] || basename "${file%.*}"
  done
}

# What a word behind `before` is: as the help shows it, or by a name of its own.
_thermalctl_kind() {
  case $1:$2:${COMP_WORDS[1]} in
    --workload:*) echo WORKLOAD ;;
    --conf:* | *::reload) echo CONFIGURATION ;;
    *::scenario) echo SCENARIO ;;
    *::*) _thermalctl_entries Positionals ;;
    *) echo "$2" ;;
  esac
}

_thermalctl() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} help options value all=
  help=$("${COMP_WORDS[0]}" "${COMP_WORDS[@]:1:COMP_CWORD>1}" --help 2>/dev/null)
  options=$(_thermalctl_entries Options | sed 's/ .*//; s/,/ /')
  value=$(_thermalctl_value_of "$before")
  if ((COMP_CWORD == 1)); then
    _thermalctl_words "$(_thermalctl_entries Commands) $options" "$word"
  elif [[ $word == -* ]]; then
    _thermalctl_words "$options" "$word"
  else
    case $(_thermalctl_kind "$before" "$value") in
      SCENARIO) _thermalctl_words "$(_thermalctl_scenarios)" "$word" ;;
      WORKLOAD)
        _thermalctl_paths -f "$word"
        mapfile -t -O ${#COMPREPLY[@]} COMPREPLY < <(compgen -W "$(_thermalctl_workloads)" -- "$word")
        ;;
      CONFIGURATION) _thermalctl_configurations "$word" ;;
      OUTPUTS*) _thermalctl_words 'html csv json results' "$word" ;;
      *FILE*) _thermalctl_paths -f "$word" ;;
      DIR* | '[ROOT]'*) _thermalctl_paths -d "$word" ;;
      TEXT:*) _thermalctl_words "$(sed -E 's/.*\{(.*)\}.*/\1/; s/,/ /g' <<<"$value")" "$word" ;;
      RULE*)
        [[ $before != --explain ]] || all=all
        _thermalctl_words "$all $("${COMP_WORDS[0]}" check --list-rules 2>/dev/null)" "$word"
        ;;
    esac
  fi
}

complete -F _thermalctl thermalctl
