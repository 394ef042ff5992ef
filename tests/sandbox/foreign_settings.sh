#!/usr/bin/env bash
# Whatever the caller's variables say to libpq, the sandbox stays with its own server: another one, which they lead
# to, keeps its database brio_birch.
set -euo pipefail
unset -v "${!PG@}"
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
sandbox=$here/../../sandbox/sandbox
scratch=$(mktemp -d /tmp/brio-foreign-XXXXXX)
chmod 0755 "$scratch"
own=$scratch/own
foreign=$scratch/foreign
clean_up() {
  for server in "$own" "$foreign"; do "$sandbox" --dir "$server" down || true; done
  rm -rf "$scratch"
} >/dev/null 2>&1
trap clean_up EXIT

fail() { echo "FAILED: $*" >&2; exit 1; }
equal() { [[ $2 == "$3" ]] || fail "$1: '$2' instead of '$3'"; }
as_server_user() { if [[ $EUID -eq 0 ]]; then (cd / && exec runuser -u postgres -- "$@"); else "$@"; fi; }
on_foreign() { psql -X -At -h "$foreign/socket" -U postgres "$@"; }
survives() {
  equal "the foreign database after: $*" "$(on_foreign -d brio_birch -c 'SELECT count(*) FROM precious')" 3
  equal "databases of the foreign server after: $*" \
    "$(on_foreign -c "SELECT count(*) FROM pg_database WHERE datname LIKE 'brio%'")" 1
}

echo "a foreign server with a database of the same name, on the port that the sandbox asks for"
"$sandbox" --dir "$foreign" up 2>/dev/null
address=127.$((RANDOM % 200 + 20)).$((RANDOM % 250)).$((RANDOM % 250 + 2))
on_foreign -q -c 'CREATE DATABASE brio_birch' -c "ALTER SYSTEM SET listen_addresses = '$address'"
on_foreign -q -d brio_birch -c 'CREATE TABLE precious AS SELECT generate_series(1, 3)'
as_server_user tee -a "$foreign/data/pg_hba.conf" >/dev/null <<<'host all all 127.0.0.0/8 trust'
programs=$(find /usr/lib/postgresql -mindepth 2 -maxdepth 2 -name bin | sort -V | tail -n 1)
as_server_user "$programs/pg_ctl" -D "$foreign/data" -l "$foreign/log" -w -s restart
equal 'the foreign server by its address' "$(PGHOSTADDR=$address psql -X -At -U postgres -d brio_birch \
  -h "$own/socket" -p 5432 -c 'SELECT count(*) FROM precious')" 3
cat >"$scratch/services" <<END
[foreign]
hostaddr=$address
port=5432
dbname=brio_birch
user=postgres
END

settings=("PGHOSTADDR=$address" "PGSERVICE=foreign PGSERVICEFILE=$scratch/services" "PGSERVICE=nonsense"
  "PGHOST=$foreign/socket PGPORT=5432 PGDATABASE=brio_birch PGUSER=postgres" "PGHOST=$address PGPORT=1"
  "PGOPTIONS=--search_path=nowhere PGCLIENTENCODING=LATIN1 PGTZ=Asia/Tokyo PGDATESTYLE=German"
  "PGTARGETSESSIONATTRS=standby" "PGSSLMODE=verify-full PGREQUIRESSL=1" "PGGSSENCMODE=require"
  "PGPASSFILE=/nonexistent PGSYSCONFDIR=/nonexistent PGAPPNAME=x PGDATA=$foreign/data PGPASSWORD=wrong")
for setting in "${settings[@]}"; do
  read -ra variables <<<"$setting"
  echo "$setting"
  env "${variables[@]}" "$sandbox" --dir "$own" up 2>"$scratch/said" || fail "up with $setting: $(<"$scratch/said")"
  equal "the database that psql reaches with $setting" "$(env "${variables[@]}" "$sandbox" --dir "$own" \
    psql -X -At -d postgres -c "SELECT current_setting('data_directory')")" "$own/data"
done
# Only these lead a connection with a host and a port of its own elsewhere.
for setting in "${settings[@]:0:2}"; do
  read -ra variables <<<"$setting"
  echo "load with $setting"
  env "${variables[@]}" "$sandbox" --dir "$own" load --size empty 2>"$scratch/said" \
    || fail "load with $setting: $(<"$scratch/said")"
  survives "$setting"
  equal "own databases" \
    "$("$sandbox" --dir "$own" psql -X -At -c "SELECT count(*) FROM pg_database WHERE datname LIKE 'brio%'")" 3
  "$sandbox" --dir "$own" psql -q -d postgres -X -c 'DROP DATABASE brio_birch' -c 'DROP DATABASE brio_alder' \
    -c 'DROP DATABASE brio_cedar'
done
"$sandbox" --dir "$own" load --size empty 2>/dev/null

echo "the lines of env"
eval "$("$sandbox" --dir "$own" env)"
for setting in "PGHOSTADDR=$address" "PGPORT=1" "PGSERVICE=foreign PGSERVICEFILE=$scratch/services"; do
  read -ra variables <<<"$setting"
  equal "runs by way of env with $setting" \
    "$(env "${variables[@]}" psql -X -At "${BRIO_DATABASE/\{detector\}/birch}" -c 'SELECT count(*) FROM daq.runs')" 0
done

echo "the scripts"
equal "variables left to demo and bench" \
  "$(env PGHOSTADDR="$address" PGPORT=1 bash -c "source '$here/../../scripts/common.bash'; env" | grep -c ^PG || true)" 0

echo "another server behind the socket is left alone"
mv "$own/socket/.s.PGSQL.5432" "$own/socket/kept"
ln -s "$foreign/socket/.s.PGSQL.5432" "$own/socket/.s.PGSQL.5432"
for command in up 'load --size empty' 'psql -c "DROP DATABASE brio_birch"'; do
  eval "$sandbox --dir $own $command" >"$scratch/said" 2>&1 || true
  if [[ $command != up ]]; then
    grep -q "is not the one that 'sandbox up' made there: nothing was done" "$scratch/said" \
      || fail "$command said: $(<"$scratch/said")"
  fi
  survives "$command behind the socket"
done
mv "$own/socket/kept" "$own/socket/.s.PGSQL.5432"
echo "passed"
