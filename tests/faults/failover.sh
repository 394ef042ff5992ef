#!/usr/bin/env bash
# Loads through a pooler, on a standby, on one that removes what they read, and while the primary goes away:
# failover.sh <series_of_loads> <conflicting_loads>.
# Makes a primary with a streaming standby and a PgBouncer in a folder of its own, all on Unix sockets only.
set -euo pipefail
unset -v "${!PG@}"  # the caller's may lead psql, or a load, elsewhere
series_of_loads=$1
conflicting_loads=$2
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
repository=$(cd "$here/../.." && pwd)
programs=$(find /usr/lib/postgresql -mindepth 2 -maxdepth 2 -name bin | sort -V | tail -n 1)
scratch=$(mktemp -d /tmp/brio-failover-XXXXXX)
chmod 0755 "$scratch"
primary=$scratch/primary
standby=$scratch/standby
pooler=$scratch/pooler
export BRIO_SEARCH_PATH=$repository

as_server_user() {
  if [[ $EUID -eq 0 ]]; then (cd / && exec runuser -u postgres -- "$@"); else (cd / && exec "$@"); fi
}

clean_up() {
  touch "$scratch/loaded"
  for process in $(jobs -p); do wait "$process"; done
  if [[ -f $pooler/pid ]]; then kill "$(<"$pooler/pid")" || true; fi
  as_server_user "$programs/pg_ctl" -D "$standby/data" -m immediate -s stop || true
  "$repository/sandbox/sandbox" --dir "$primary" down || true
  rm -rf "$scratch"
} >/dev/null 2>&1
trap clean_up EXIT

fail() {
  echo "FAILED: $*" >&2
  tail -n 5 "$scratch"/*/log >&2 || true
  exit 1
}
equal() { [[ $2 == "$3" ]] || fail "$1: '$2' instead of '$3'"; }
database() { echo "host=$1 port=$2 dbname=small_{detector} user=brio_reader connect_timeout=5"; }
make_folder() {
  mkdir -m 0700 "$@"
  if [[ $EUID -eq 0 ]]; then chown postgres: "$@"; fi
}

echo "a primary"
"$repository/sandbox/sandbox" --dir "$primary" up 2>/dev/null
"$repository/sandbox/sandbox" --dir "$primary" load --size small --prefix small 2>/dev/null
as_server_user tee -a "$primary/data/postgresql.conf" >/dev/null <<'END'
wal_level = replica
max_wal_senders = 4
END
as_server_user tee -a "$primary/data/pg_hba.conf" >/dev/null <<<'local replication postgres trust'
as_server_user "$programs/pg_ctl" -D "$primary/data" -l "$primary/log" -w -s restart

echo "a standby that follows it"
make_folder "$standby" "$standby/socket"
as_server_user "$programs/pg_basebackup" -h "$primary/socket" -U postgres -D "$standby/data" -R -c fast -X stream
as_server_user tee -a "$standby/data/postgresql.conf" >/dev/null <<<"unix_socket_directories = '$standby/socket'"
as_server_user "$programs/pg_ctl" -D "$standby/data" -l "$standby/log" -w -s start
value() { psql -X -At -h "$1" -p "${4:-5432}" -U "${3:-postgres}" -d small_birch -c "$2"; }
equal 'the standby is in recovery' "$(value "$standby/socket" 'SELECT pg_is_in_recovery()')" t
for _ in {1..600}; do
  following=$(value "$primary/socket" "SELECT count(*) FROM pg_stat_replication WHERE state = 'streaming'")
  [[ $following == 1 ]] && break
  sleep 0.1
done
equal 'standbys that follow the primary' "$following" 1
for server in "$primary" "$standby"; do
  equal 'addresses listened to' "$(value "$server/socket" 'SHOW listen_addresses')" ''
done

echo "through a pooler in transaction mode, 500 at a time"
make_folder "$pooler"
as_server_user tee "$pooler/ini" >/dev/null <<END
[databases]
* = host=$primary/socket port=5432
[pgbouncer]
listen_port = 6432
listen_addr =
unix_socket_dir = $pooler
auth_type = trust
auth_file = $pooler/users
pool_mode = transaction
default_pool_size = 20
max_client_conn = 600
listen_backlog = 600
logfile = $pooler/log
pidfile = $pooler/pid
admin_users = postgres
END
as_server_user tee "$pooler/users" >/dev/null <<<'"brio_reader" ""
"postgres" ""'
as_server_user /usr/sbin/pgbouncer -d -q "$pooler/ini"
for _ in {1..300}; do [[ -S $pooler/.s.PGSQL.6432 ]] && break; sleep 0.1; done
equal 'a statement through the pooler' "$(value "$pooler" 'SELECT count(*) > 0 FROM daq.runs' brio_reader 6432)" t

settings='SHOW timezone; SHOW datestyle; SHOW statement_timeout; SHOW transaction_isolation;
          SHOW transaction_read_only; SELECT count(*) FROM pg_prepared_statements'
defaults=$(value "$primary/socket" "$settings" brio_reader)
[[ $defaults == $'America/Chicago\nSQL, DMY\n0\nread committed\noff\n0' ]] || fail "odd defaults: $defaults"
# Another client, all the while.
(
  while [[ ! -e $scratch/loaded ]]; do
    [[ $(value "$pooler" "$settings" brio_reader 6432) == "$defaults" ]] || touch "$scratch/leaked"
  done
) &
other=$!
ulimit -n 4096 2>/dev/null || true
BRIO_DATABASE="host=$pooler port=6432 dbname=small_{detector} user=brio_reader connect_timeout=60" \
  "$series_of_loads" parallel 500 >"$scratch/answers" || fail "$(sort "$scratch/answers" | uniq -c)"
touch "$scratch/loaded"
wait "$other"
[[ ! -e $scratch/leaked ]] || fail 'a setting leaked to another client'
equal 'loads' "$(sort "$scratch/answers" | uniq -c | xargs)" '500 whole'
# And every server connection of the pool afterwards.
for _ in {1..20}; do
  value "$pooler" "BEGIN; SELECT pg_sleep(0.5); COMMIT; $settings" brio_reader 6432 >>"$scratch/after.$_" &
done
BRIO_DATABASE="host=$pooler port=6432 dbname=small_{detector} user=brio_reader" \
  "$series_of_loads" series 3 >"$scratch/answers" || fail "whole loads: $(<"$scratch/answers")"
for process in $(jobs -p); do wait "$process"; done
for answer in "$scratch"/after.*; do
  equal 'settings afterwards' "$(grep -v -e '^BEGIN$' -e '^COMMIT$' -e '^$' "$answer")" "$defaults"
done
pooled=$(value "$primary/socket" "SELECT count(*) FROM pg_stat_activity WHERE usename = 'brio_reader'")
[[ $pooled -le 20 ]] || fail "$pooled server connections instead of 20 at the most"
if grep -E ' S-0x[^ ]+: .* closing because: ' "$pooler/log" >&2; then fail 'the pooler dropped a connection'; fi

echo "on the standby alone"
BRIO_DATABASE="$(database "$standby/socket" 5432) target_session_attrs=standby" \
  "$series_of_loads" series 3 >"$scratch/answers" || fail "$(<"$scratch/answers")"
equal 'loads' "$(sort "$scratch/answers" | uniq -c | xargs)" '3 whole'

echo "on the standby, which removes what a load reads"
for setting in 'max_standby_streaming_delay = 0' 'hot_standby_feedback = off'; do
  value "$standby/socket" "ALTER SYSTEM SET $setting" >/dev/null
done
value "$standby/socket" 'SELECT pg_reload_conf()' >/dev/null
conflicts() {
  BRIO_DATABASE=$(database "$standby/socket" 5432) \
    "$conflicting_loads" "$primary/socket" "$1" >"$scratch/answers" || fail "conflicting loads: $(<"$scratch/answers")"
  sort "$scratch/answers" | uniq -c | xargs
}
equal 'loads with one conflict' "$(conflicts 1)" '3 true, whole, fresh tries 1'
equal 'loads with two conflicts' "$(conflicts 2)" '3 RunHistory::Incomplete, not whole, fresh tries 1'

echo "while the primary goes away"
BRIO_DATABASE=$(database "$primary/socket,$standby/socket" 5432,5432) \
  "$series_of_loads" series 100 >"$scratch/answers" &
loads=$!
while [[ $(wc -l <"$scratch/answers") -lt 10 ]]; do
  kill -0 "$loads" 2>/dev/null || fail "the loads ended early: $(<"$scratch/answers")"
  sleep 0.01
done
as_server_user "$programs/pg_ctl" -D "$primary/data" -m immediate -w -s stop
before=$(wc -l <"$scratch/answers")
wait "$loads" || fail "$(<"$scratch/answers")"
equal 'loads' "$(wc -l <"$scratch/answers")" 100
[[ $before -lt 100 ]] || fail 'the primary went away after the last load'
sort "$scratch/answers" | uniq -c
echo "passed"
