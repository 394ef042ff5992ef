#!/usr/bin/env bash
# Checks that the man page names every verb and option of the command, and that bash completes them.
#
#   documented_options.sh COMMAND REPOSITORY
set -euo pipefail
command=$1
repository=$2
failures=0

fail() {
  echo "$*" >&2
  failures=$((failures + 1))
}

# shellcheck source=tools/runhistory.bash-completion
source "$repository/tools/runhistory.bash-completion"
manual=$(sed 's/\\-/-/g' "$repository/docs/runhistory.1")

# completes WORDS...: what the last of the words is completed to.
completes() {
  COMP_WORDS=(runhistory "$@")
  COMP_CWORD=$#
  COMPREPLY=()
  _runhistory
  printf '%s\n' "${COMPREPLY[@]}"
}

verbs=$("$command" --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z]*\) .*/\1/p')
[[ $(wc -w <<<"$verbs") -eq 16 ]] || fail "the help names these verbs: $verbs"
[[ $(completes '' | grep -v '^--' | sort) == $(printf '%s\n' help version "$verbs" | sort) ]] || fail "bash completes other verbs"
for verb in $verbs; do
  grep -qE "^\.BI? $verb( |\$)" <<<"$manual" || fail "the man page has no $verb"
  options=$("$command" "$verb" --help | grep -oE '^ +(-.,)?--[a-z-]+' | grep -oE -- '--[a-z-]+')
  [[ $(wc -l <<<"$options") -ge 11 ]] || fail "the help of $verb names these options: $options"
  for option in $options; do
    grep -qF -- "$option" <<<"$manual" || fail "the man page has no $option"
    completes "$verb" "$option" | grep -qxF -- "$option" || fail "bash does not complete $verb $option"
  done
  # The summary's row has the options that are the verb's own.
  own=$(grep -vxF -e -- -f <(tr -s ' \n' '\n' <<<"$_runhistory_shared") <<<"$options" | sort || true)
  row=$(awk -F'|' -v verb="$verb" '/^\.TS/ { table = 1 } /^\.TE/ { table = 0 }
    table && /^[a-z]+\|/ { current = $1 } table && current == verb' <<<"$manual" | grep -oE -- '--[a-z-]+' | sort || true)
  [[ $row == "$own" ]] || fail "the man page's summary of $verb has these options: $row"
done

[[ $(completes show --detector B) == Birch ]] || fail "bash does not complete a detector"
for quantity in $("$command" map --help | sed -n 's/.*QUANTITY:{\([^}]*\)}.*/\1/p' | tr , ' '); do
  completes map "$quantity" | grep -qxF "$quantity" || fail "bash does not complete map $quantity"
done
[[ $(completes map ga) == gain ]] || fail "bash does not complete a quantity"
[[ $(completes schema --only s) == slowcontrol ]] || fail "bash does not complete a database"
[[ $(completes show --color al) == always ]] || fail "bash does not complete when to use colours"
[[ $(completes snapshot v) == verify ]] || fail "bash does not complete an action"
for view in $("$command" map --help | sed -n 's/.*--view VIEW:{\([^}]*\)}.*/\1/p' | tr , ' '); do
  completes map --view "$view" | grep -qxF "$view" || fail "bash does not complete map --view $view"
done
for palette in $("$command" map --help | sed -n 's/.*--palette PALETTE:{\([^}]*\)}.*/\1/p' | tr , ' '); do
  completes map --palette "$palette" | grep -qxF "$palette" || fail "bash does not complete map --palette $palette"
done
[[ $(completes map --view g) == geometry ]] || fail "bash does not complete a view"
[[ $(completes map --palette v) == viridis ]] || fail "bash does not complete a palette"
[[ $(completes map gain --format s) == svg ]] || fail "bash does not complete a format"

[[ $(completes export ch) == channels ]] || fail "bash does not complete what is exported"

exit $((failures > 0))
