# SPDX-License-Identifier: MPL-2.0
# Completion of orvel(1) for bash, loaded by the package bash-completion.
#
# The command's own help names its commands, options and kinds, so that no list here grows old.

# Prints the labels and ids of the devices in the folder that the line names, or else in the default one.
_orvel_devices() {
  local folder=() i
  for ((i = 1; i < ${#words[@]} - 1; i++)); do
    [[ ${words[i]} != --db-dir ]] || folder=(--db-dir "${words[i + 1]}")
  done
  "${words[0]}" status "${folder[@]}" 2>/dev/null | sed -nE 's/^([^ ].*)/\1/p; s/^  Device  *//p'
}

# Prints the names of columns, which the error about an unknown one lists.
_orvel_columns() {
  "${words[0]}" list songs --sort '?' 2>&1 | sed -n 's/.*There are: *\([a-z_ ]*\);.*/\1/p' | tr ' ' '\n'
}

# Prints the kinds that `orvel list` takes.
_orvel_kinds() {
  "${words[0]}" list --help 2>/dev/null | sed -n '/^  KIND /,/^$/p' | grep -oE '\b[a-z]+s\b'
}

# Offers the lines of standard input that begin with the current word, quoted for the shell.
_orvel_offer() {
  local candidate
  while IFS= read -r candidate; do
    [[ $candidate != "$cur"* ]] || COMPREPLY+=("$(printf '%q' "$candidate")")
  done
  [[ $cur != *:* ]] || __ltrim_colon_completions "$cur"
}

_orvel() {
  local cur prev words cword
  _init_completion -n : || return
  if ((cword == 1)); then
    _orvel_offer < <("${words[0]}" --help 2>/dev/null | sed -nE 's/^  ([a-z]+) .*/\1/p')
    return
  fi
  case $prev in
    --db-dir) _filedir -d ;;
    --db | --scripted | -o | --output) _filedir ;;
    -d | --device | --device-id) _orvel_offer < <(_orvel_devices) ;;
    --kind) _orvel_offer < <(_orvel_kinds) ;;
    --columns | --sort) _orvel_offer < <(_orvel_columns) ;;
    --format) _orvel_offer < <(printf '%s\n' table tsv json) ;;
    --artist | --album | --genre | --composer | --playlist | --directory | --wait | --limit) ;;
    *)
      if [[ $cur == -* ]]; then
        _orvel_offer < <("${words[0]}" "${words[1]}" --help 2>/dev/null | grep -oE -- '^  (-[a-z],)?--?[a-z-]+' | grep -oE -- '--?[a-z-]+')
      elif [[ ${words[1]} == list ]]; then
        _orvel_offer < <(_orvel_kinds)
      elif [[ ${words[1]} == cover ]]; then
        _filedir
      elif [[ ${words[1]} == forget ]]; then
        _orvel_offer < <(_orvel_devices)
      elif [[ ${words[1]} == mtp ]]; then
        _orvel_offer <<<list
      elif [[ ${words[1]} == index ]]; then
        _filedir -d
      fi
      ;;
  esac
}

complete -F _orvel orvel
