#!/usr/bin/env bash
# The sandbox command from up to down, in a folder of its own.
set -euo pipefail
unset -v "${!PG@}"  # the caller's may lead psql elsewhere
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
repository=$(cd "$here/../.." && pwd)
scratch=$(mktemp -d /tmp/brio-sandbox-test-XXXXXX)
chmod 0755 "$scratch"
dir=$scratch/server
trap '"$repository/sandbox/sandbox" --dir "$dir" down >/dev/null 2>&1; rm -rf "$scratch"' EXIT

sandbox() { "$repository/sandbox/sandbox" --dir "$dir" "$@"; }
fail() { echo "FAILED: $*" >&2; exit 1; }
equal() { [[ $2 == "$3" ]] || fail "$1: '$2' instead of '$3'"; }
contains() { [[ $2 == *"$3"* ]] || fail "$1: '$2' does not contain '$3'"; }

# exits CODE TEXT COMMAND...: the command ends with the code and says the text.
exits() {
  local code=0 output
  output=$("${@:3}" 2>&1) || code=$?
  equal "exit code of ${*:3} ($output)" "$code" "$1"
  contains "output of ${*:3}" "$output" "$2"
}

# value DATABASE STATEMENT [USER]
value() { psql -X -At -h "$dir/socket" -U "${3:-postgres}" -d "$1" -c "$2"; }

# Everything a detector's database holds, whatever the order of the rows.
checksum() {
  local table
  value "$1" "SELECT format('%I.%I', schemaname, tablename) FROM pg_tables
              WHERE schemaname NOT IN ('pg_catalog', 'information_schema') ORDER BY 1" |
    while read -r table; do
      PGTZ=UTC value "$1" "SELECT '$table', count(*), md5(string_agg(row::text, '|' ORDER BY row::text))
                           FROM $table AS row"
    done
}

echo "wrong usage"
exits 2 'no command' sandbox
exits 2 'unknown command' sandbox dance
exits 2 'unknown option' sandbox --fast up
exits 2 'unknown size' sandbox load --size huge
exits 2 'needs a value' sandbox load --size
exits 2 'cannot begin' sandbox env --prefix 'a;b'
exits 2 'unknown detector' sandbox psql --detector oak
exits 2 'must not contain' "$repository/sandbox/sandbox" --dir "$scratch/\$HOME" env
exits 0 'Usage: sandbox' sandbox --help
exits 0 'Usage: sandbox' sandbox load --help

echo "no server yet"
exits 1 'not running' sandbox status
exits 1 'no server runs' sandbox load --size empty
exits 0 'no sandbox' sandbox down
exits 0 "no server runs in $dir: these lines lead there once 'sandbox up' has started one" sandbox env
equal 'lines of env without a server' "$(sandbox env 2>/dev/null | wc -l)" 2
long=$scratch/$(printf 'x%.0s' {1..90})
exits 1 'too long' "$repository/sandbox/sandbox" --dir "$long" up
[[ ! -e $long ]] || fail 'a folder was made for a socket path that is too long'

echo "folders of others are left alone"
mkdir "$dir"
touch "$dir/precious"
exits 1 'is not a sandbox' sandbox up
exits 1 'is not a sandbox' sandbox down
[[ -f $dir/precious ]] || fail 'a foreign file is gone'
[[ ! -e $dir.lock ]] || fail 'a lock file is left beside a foreign folder'
rm -r "$dir"

echo "two at once"
sandbox up 2>"$scratch/first" &
first=$!
sandbox up 2>"$scratch/second" || fail "the second: $(<"$scratch/second")"
wait "$first" || fail "the first: $(<"$scratch/first")"
equal 'what the two did' "$(grep -h -o -e 'already runs' -e 'the server runs' "$scratch"/first "$scratch"/second | sort)" \
  $'already runs\nthe server runs'
value postgres "SELECT 'brio_reader'::regrole" >/dev/null || fail 'the roles are not there'
exits 0 'removed' sandbox down

echo "a command waits for the one before it, but not for one that was killed"
flock "$dir.lock" sleep 1000 &
holder=$!
while flock -n "$dir.lock" true; do sleep 0.02; done
sandbox up 2>"$scratch/waiting" &
waiting=$!
until grep -q 'waiting for another command' "$scratch/waiting"; do
  kill -0 "$waiting" || fail "it does not wait: $(<"$scratch/waiting")"
  sleep 0.02
done
[[ ! -e $dir ]] || fail 'it did not wait'
kill "$(pgrep -P "$holder")"
wait "$holder" || true
wait "$waiting" || fail "after waiting: $(<"$scratch/waiting")"
exits 0 'removed' sandbox down
[[ ! -e $dir.lock ]] || fail 'the lock file is left'

echo "up"
exits 0 'the server runs' sandbox up
exits 0 'already runs' sandbox up
exits 0 'running in' sandbox status
process=$(head -n 1 "$dir/data/postmaster.pid")
equal 'addresses listened to' "$(value postgres 'SHOW listen_addresses')" ''
equal 'time zone' "$(value postgres 'SHOW timezone')" 'America/Chicago'
equal 'date style' "$(value postgres 'SHOW datestyle')" 'SQL, DMY'

echo "load"
sandbox load --size small --prefix one 2>"$scratch/progress"
contains 'progress' "$(<"$scratch/progress")" 'small sample loaded'
for detector in birch alder cedar; do checksum "one_$detector"; done >"$scratch/first"
[[ $(wc -l <"$scratch/first") -gt 60 ]] || fail 'too few tables'
value one_birch 'DELETE FROM daq.runs' >/dev/null
value postgres "ALTER SYSTEM SET timezone = 'Asia/Tokyo'" >/dev/null
value postgres 'SELECT pg_reload_conf()' >/dev/null
sandbox load --size small --prefix one 2>/dev/null
for detector in birch alder cedar; do checksum "one_$detector"; done >"$scratch/second"
value postgres 'ALTER SYSTEM RESET timezone' >/dev/null
value postgres 'SELECT pg_reload_conf()' >/dev/null
diff "$scratch/first" "$scratch/second" || fail 'two loads differ'
"$here/check_sample.sh" "$dir" small one

sandbox load --size empty --prefix bare 2>/dev/null
if checksum bare_birch | grep -v '|0|'; then fail 'the empty sample has rows'; fi
indexes="SELECT count(*) FROM pg_indexes WHERE schemaname !~ '^pg_'"
equal 'indexes of the empty sample' "$(value bare_birch "$indexes")" "$(value one_birch "$indexes")"

echo "a load that fails says so"
mkdir "$scratch/bin"
printf '#!/bin/sh\nexit 3\n' >"$scratch/bin/python3"
chmod +x "$scratch/bin/python3"
PATH=$scratch/bin:$PATH exits 1 'failed' sandbox load --size empty --prefix bare

echo "run tables are those of the definition files"
for file in "$repository"/RunHistory/tables/*.xml; do
  table=$(sed -n 's/.*<table schema="\([^"]*\)" name="\([^"]*\)".*/\1.\2/p' "$file")
  defined=$(sed -n 's/.*<column name="\([^"]*\)" type="\([^"]*\)".*/\1 \2/p' "$file" |
    sed 's/ timestamp$/& without time zone/')
  [[ -n $defined ]] || fail "no columns in $file"
  equal "columns of $table" "$(value one_birch "SELECT attname || ' ' || format_type(atttypid, atttypmod)
    FROM pg_attribute WHERE attrelid = '$table'::regclass AND attnum > 0 ORDER BY attnum")" "$defined"
done

echo "env"
environment=$(sandbox env --prefix one)
equal 'what env says of a server that runs' "$(sandbox env 2>&1 >/dev/null)" ''
equal 'lines of env' "$environment" "export BRIO_DATABASE=\"host=$dir/socket port=5432 hostaddr='' dbname=one_{detector} user=brio_reader\"
export BRIO_SEARCH_PATH='$repository'"
eval "$environment"
equal 'runs by way of env' \
  "$(psql -X -At "${BRIO_DATABASE/\{detector\}/alder}" -c 'SELECT count(*) FROM daq.runs')" 4

echo "psql"
equal 'runs by way of psql' \
  "$(sandbox psql --prefix one --detector cedar -X -At -c 'SELECT run FROM daq.runs')" 12000

echo "roles"
for table in $(value one_birch "SELECT format('%I.%I', schemaname, tablename) FROM pg_tables
                                WHERE schemaname NOT IN ('pg_catalog', 'information_schema')"); do
  value one_birch "SELECT count(*) FROM $table" brio_reader >/dev/null || fail "brio_reader may not read $table"
  exits 1 'permission denied' value one_birch "SELECT count(*) FROM $table" brio_nobody
  exits 1 'permission denied' value one_birch "DELETE FROM $table" brio_reader
done
exits 1 'permission denied' value one_birch 'CREATE TABLE public.mine ()' brio_reader
exits 2 'too many connections for role' value one_birch 'SELECT 1' brio_limited
PGPASSWORD=wrong exits 2 'password authentication failed' value one_birch 'SELECT 1' brio_password
equal 'with the password' \
  "$(PGPASSWORD=sandbox-secret value one_birch 'SELECT count(*) > 0 FROM daq.runs' brio_password)" t

echo "the operator's guide shows the rights that are given"
while read -r line; do
  [[ -z $line || $line == --* ]] || grep -qF -- "$line" "$repository/docs/operators.md" \
    || fail "not in the guide: $line"
done <"$repository/sandbox/sql/grants.sql"

echo "down"
exits 0 'removed' sandbox down
[[ ! -e $dir ]] || fail 'the folder is left'
if [[ $(ps -o stat= -p "$process") == [^Z]* ]]; then fail "process $process is left"; fi
if pgrep -f -- "$dir/data" >/dev/null; then fail 'processes are left'; fi
exits 0 'no sandbox' sandbox down
echo "passed"
