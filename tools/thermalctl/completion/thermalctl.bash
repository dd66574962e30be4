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
    case ${value:-$(_thermalctl_entries Positionals)} in
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
