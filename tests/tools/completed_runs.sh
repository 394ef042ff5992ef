#!/usr/bin/env bash
# Checks that bash completes the runs there are, and nothing, in silence, when they cannot be had. Needs the sample.
#
#   completed_runs.sh COMMAND REPOSITORY
set -uo pipefail
command=$1
repository=$2
failures=0

# shellcheck source=tools/runhistory.bash-completion
source "$repository/tools/runhistory.bash-completion"

# expect ANSWER WORDS...: what the last of the words is completed to, in one line, with what is said beside it.
expect() {
  local expected=$1 completed
  shift
  completed=$(
    COMP_WORDS=("$command" "$@")
    COMP_CWORD=$#
    COMPREPLY=()
    _runhistory 2>&1
    printf '%s ' "${COMPREPLY[@]}"
  )
  if [[ ${completed% } != "$expected" ]]; then
    printf '%s: completed to "%s" in place of "%s"\n' "$*" "${completed% }" "$expected" >&2
    failures=$((failures + 1))
  fi
}

expect '11000 11001 11002 11003' show --detector Alder --run ''
expect '13040' show -d Birch -r 1304
expect '13000-13040' pot -d Birch -r 13000-1304
expect '13040' show --detector = Birch --run = 1304
expect '13040' diff -d Birch 13000 1304
expect '' show --run 1304
expect '' show -d Nonsense -r 1304
expect '13040' show --database "'$BRIO_DATABASE'" -d Birch -r 1304
expect '' show --database 'host=/nonexistent' -d Birch -r 1304

# A host that takes connections and never says a word.
exec {silent}< <(exec python3 -c '
import socket, sys, time
listener = socket.create_server(("127.0.0.1", 0))
print(listener.getsockname()[1], flush=True)
time.sleep(600)')
listener=$!
read -r -u "$silent" port
start=$SECONDS
expect '' show --database "host=127.0.0.1 port=$port" -d Birch -r 1304
((SECONDS - start < 60)) || { echo "a silent host is waited for" >&2; failures=$((failures + 1)); }
kill "$listener"

exit $((failures > 0))
